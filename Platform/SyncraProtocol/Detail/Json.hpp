#pragma once

#include "OVRoot/Exception.hpp"
#include "SyncraProtocol/EventLogPage.hpp"
#include "SyncraProtocol/Member.hpp"
#include "SyncraProtocol/Project.hpp"
#include "SyncraProtocol/ServicePort.hpp"
#include "SyncraProtocol/Session.hpp"
#include "SyncraProtocol/SignIn.hpp"
#include "SyncraProtocol/Signal.hpp"

#include <nlohmann/json_fwd.hpp>

/// JSON form of the records. FromJson throws MalformedRecordException for whatever a peer may send
/// (missing field, other type, number out of range); unknown fields are ignored.
namespace Syncra::Protocol {

class MalformedRecordException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(MalformedRecordException)
};

/// Parses a body: valid UTF-8, one value, at most 64 levels deep and of 4,000,000 values. Throws
/// MalformedRecordException.
[[nodiscard]] nlohmann::json ParseJson(OV::StringView body);
/// One line of JSON. Never throws for records of ours.
[[nodiscard]] OV::String DumpJson(const nlohmann::json& value);

/// Text of the wire: UTF-8 with OV::EscapeForCarrier applied, so that any string of ours survives.
[[nodiscard]] nlohmann::json TextToJson(OV::UniStringView text);
[[nodiscard]] OV::UniString TextFromJson(const nlohmann::json& value);

/// Field readers; `key` missing or of another type throws MalformedRecordException naming the key.
[[nodiscard]] OV::UniString ReadText(const nlohmann::json& object, const char* key);
[[nodiscard]] std::int64_t ReadInteger(const nlohmann::json& object, const char* key,
                                       std::int64_t minimum, std::int64_t maximum);
[[nodiscard]] bool ReadBool(const nlohmann::json& object, const char* key);
/// The array under `key`.
[[nodiscard]] const nlohmann::json& ReadArray(const nlohmann::json& object, const char* key);
/// The bytes that the text under `key` holds in base64; no base64 and more than `maximumSize` bytes
/// are refused, the latter before anything is decoded.
[[nodiscard]] OV::String ReadBytes(const nlohmann::json& object, const char* key,
                                   std::size_t maximumSize);
/// A number of the whole unsigned range, as sequences are.
[[nodiscard]] std::uint64_t ReadSequence(const nlohmann::json& object, const char* key);
/// The array of texts under `key`.
[[nodiscard]] OV::Array<OV::UniString> ReadTexts(const nlohmann::json& object, const char* key);
/// An array of such texts.
template <class Texts>
[[nodiscard]] nlohmann::json TextsToJson(const Texts& texts);

[[nodiscard]] nlohmann::json ToJson(const Project& project);
[[nodiscard]] nlohmann::json ToJson(const Session& session);
[[nodiscard]] nlohmann::json ToJson(const Member& member);
[[nodiscard]] nlohmann::json ToJson(const Photo& photo);
[[nodiscard]] nlohmann::json ToJson(const ServicePort& port);
[[nodiscard]] nlohmann::json ToJson(const Signal& signal);
[[nodiscard]] nlohmann::json ToJson(const SignalBatch& batch);
[[nodiscard]] nlohmann::json ToJson(const SignInRequest& request);
[[nodiscard]] nlohmann::json ToJson(const SignInAnswer& answer);

[[nodiscard]] nlohmann::json ToJson(const EventLogPage& page);
[[nodiscard]] nlohmann::json ToJson(const LoggedEvent& event);

template <class Record>
[[nodiscard]] Record FromJson(const nlohmann::json& value);
template <>
Project FromJson<Project>(const nlohmann::json& value);
template <>
Session FromJson<Session>(const nlohmann::json& value);
template <>
Member FromJson<Member>(const nlohmann::json& value);
/// Data that is no base64 or longer than Photo::MaximumSize is refused as well.
template <>
Photo FromJson<Photo>(const nlohmann::json& value);
template <>
ServicePort FromJson<ServicePort>(const nlohmann::json& value);
template <>
Signal FromJson<Signal>(const nlohmann::json& value);
template <>
SignalBatch FromJson<SignalBatch>(const nlohmann::json& value);
template <>
SignInRequest FromJson<SignInRequest>(const nlohmann::json& value);
template <>
SignInAnswer FromJson<SignInAnswer>(const nlohmann::json& value);
/// The text is UTF-8 as it is: a log has no need to carry every string of ours.
template <>
EventLogPage FromJson<EventLogPage>(const nlohmann::json& value);
template <>
LoggedEvent FromJson<LoggedEvent>(const nlohmann::json& value);

}  // namespace Syncra::Protocol
