#include "Base64Field.hpp"

#include "Refusal.hpp"

#include "OVRoot/Base64.hpp"

#include <nlohmann/json.hpp>

namespace Nexar {

using Syncra::Protocol::ErrorCode;

std::string ReadBase64(const nlohmann::json& object, const char* key, std::size_t maximumSize)
{
    const std::string name = "Field \"" + std::string(key) + '"';
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        throw Refusal(ErrorCode::BadRequest, name + " is missing or no text.");
    auto bytes = OV::DecodeBase64(found->get_ref<const std::string&>());
    if (!bytes)
        throw Refusal(ErrorCode::BadRequest, name + " is no base64.");
    if (bytes->size() > maximumSize)
        throw Refusal(ErrorCode::TooLarge,
                      name + " holds more than " + std::to_string(maximumSize >> 20) + " MiB.");
    return *std::move(bytes);
}

}  // namespace Nexar
