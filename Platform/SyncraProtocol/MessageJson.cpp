#include "SyncraProtocol/Detail/MessageJson.hpp"

#include "OVRoot/Base64.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>

namespace Syncra::Protocol {

using nlohmann::json;

namespace {

using Header = decltype(Message::header);

json HeaderToJson(const Header& header)
{
    json object = json::object();
    for (const auto& [key, text] : header)
        object[OV::ToUtf8(OV::EscapeForCarrier(key))] = TextToJson(text);
    return object;
}

Header ReadHeader(const json& value)
{
    const auto found = value.find("header");
    if (found == value.end() || !found->is_object())
        throw MalformedRecordException(OV::StringView("Field \"header\" is not an object."));
    Header header;
    for (const auto& [key, text] : found->items())
        header.insert_or_assign(OV::UnescapeFromCarrier(OV::FromUtf8(key)), TextFromJson(text));
    return header;
}

}  // namespace

json ToJson(const Message& message)
{
    return {{"id", TextToJson(message.mailId)},
            {"read", message.read},
            {"copy", message.copy},
            {"historical", message.historical},
            {"timeStamp", message.timeStamp},
            {"header", HeaderToJson(message.header)},
            {"body", OV::EncodeBase64(message.bodyData)}};
}

template <>
Message FromJson<Message>(const json& value)
{
    using Seconds = std::numeric_limits<std::int32_t>;
    Message message;
    message.mailId = ReadText(value, "id");
    message.read = ReadBool(value, "read");
    message.copy = ReadBool(value, "copy");
    message.historical = ReadBool(value, "historical");
    // A server with longer times goes on beyond 2038; its mails do not get lost for that.
    using Number = std::numeric_limits<std::int64_t>;
    message.timeStamp = static_cast<std::int32_t>(
        std::clamp<std::int64_t>(ReadInteger(value, "timeStamp", Number::min(), Number::max()),
                                 Seconds::min(), Seconds::max()));
    message.header = ReadHeader(value);
    message.bodyData = ReadBytes(value, "body", Message::MaximumBodySize);
    return message;
}

}  // namespace Syncra::Protocol
