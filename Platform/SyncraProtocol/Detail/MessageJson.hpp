#pragma once

#include "SyncraProtocol/Detail/Json.hpp"
#include "SyncraProtocol/Message.hpp"

namespace Syncra::Protocol {

/// `{"id", "read", "copy", "historical", "timeStamp", "header": {key: text}, "body": base64}`
[[nodiscard]] nlohmann::json ToJson(const Message& message);
/// A body that is no base64 or longer than Message::MaximumBodySize is refused as well.
template <>
Message FromJson<Message>(const nlohmann::json& value);

}  // namespace Syncra::Protocol
