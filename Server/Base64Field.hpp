#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace Nexar {

/// The bytes of the base64 text under `key`. Throws Refusal: code 1 when it is missing or no
/// base64, code 4 when it holds more than `maximumSize` bytes.
[[nodiscard]] std::string ReadBase64(const nlohmann::json& object, const char* key,
                                     std::size_t maximumSize);

}  // namespace Nexar
