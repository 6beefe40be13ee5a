#include "SyncraProtocol/Detail/Json.hpp"

#include "OVRoot/Base64.hpp"

#include <nlohmann/json.hpp>

#include <iterator>
#include <limits>

namespace Syncra::Protocol {

using nlohmann::json;

namespace {

constexpr int MaximumDepth = 64;
/// A value of two bytes takes some fifty when it is parsed.
constexpr std::size_t MaximumValues = 4'000'000;

/// Before the parser sees it: deep nesting costs it stack, and every value memory.
void RefuseExcess(OV::StringView body)
{
    int depth = 0;
    std::size_t values = 1;
    bool inString = false;
    for (std::size_t i = 0; i < body.size(); ++i) {
        const char byte = body[i];
        if (inString) {
            if (byte == '\\')
                ++i;
            else if (byte == '"')
                inString = false;
        } else if (byte == '"') {
            inString = true;
        } else if (byte == '[' || byte == '{') {
            ++values;
            if (++depth > MaximumDepth)
                throw MalformedRecordException(
                    OV::StringView("The JSON is nested more than 64 levels deep."));
        } else if (byte == ']' || byte == '}') {
            --depth;
        } else if (byte == ',') {
            ++values;
        }
    }
    if (values > MaximumValues)
        throw MalformedRecordException(
            OV::StringView("The JSON holds more than 4,000,000 values."));
}

[[noreturn]] void Fail(const char* key, const char* expected)
{
    throw MalformedRecordException("Field \"" + OV::String(key) + "\" is not " + expected + ".");
}

const json& Field(const json& object, const char* key)
{
    if (!object.is_object())
        throw MalformedRecordException(OV::StringView("An object is expected."));
    const auto found = object.find(key);
    if (found == object.end())
        throw MalformedRecordException("Field \"" + OV::String(key) + "\" is missing.");
    return *found;
}

template <class Number>
Number ReadNumber(const json& object, const char* key,
                  Number minimum = std::numeric_limits<Number>::min(),
                  Number maximum = std::numeric_limits<Number>::max())
{
    return static_cast<Number>(ReadInteger(object, key, minimum, maximum));
}

/// Permissions, whose order says nothing.
OV::HashSet<OV::UniString> ReadTextSet(const json& object, const char* key)
{
    auto texts = ReadTexts(object, key);
    return {std::make_move_iterator(texts.begin()), std::make_move_iterator(texts.end())};
}

}  // namespace

json ParseJson(OV::StringView body)
{
    // The parser takes one for the end and would let anything stand behind it.
    if (const auto zero = body.find('\0'); zero != body.npos)
        throw MalformedRecordException("The body is no JSON from byte " + std::to_string(zero + 1) +
                                       ".");
    RefuseExcess(body);
    try {
        return json::parse(body);
    } catch (const json::out_of_range&) {
        throw MalformedRecordException(OV::StringView("A number of the body is out of range."));
    } catch (const json::parse_error& error) {
        // The parser's own text quotes the body, which may hold a password.
        throw MalformedRecordException("The body is no JSON from byte " +
                                       std::to_string(error.byte) + ".");
    }
}

OV::String DumpJson(const json& value)
{
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

json TextToJson(OV::UniStringView text)
{
    return OV::ToUtf8(OV::EscapeForCarrier(text));
}

OV::UniString TextFromJson(const json& value)
{
    if (!value.is_string())
        throw MalformedRecordException(OV::StringView("A text is expected."));
    const auto& bytes = value.get_ref<const json::string_t&>();
    auto text = OV::FromUtf8(bytes);
    // Nearly every text of the wire holds no escape; looking is cheaper than a second copy.
    return bytes.find('\\') == OV::String::npos ? text : OV::UnescapeFromCarrier(text);
}

OV::UniString ReadText(const json& object, const char* key)
{
    const json& value = Field(object, key);
    if (!value.is_string())
        Fail(key, "a text");
    return TextFromJson(value);
}

std::int64_t ReadInteger(const json& object, const char* key, std::int64_t minimum,
                         std::int64_t maximum)
{
    const json& value = Field(object, key);
    if (!value.is_number_integer())
        Fail(key, "a whole number");
    const bool tooLarge = value.is_number_unsigned() &&
                          value.get<std::uint64_t>() >
                              static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const auto number = tooLarge ? 0 : value.get<std::int64_t>();
    if (tooLarge || number < minimum || number > maximum)
        Fail(key, "in range");
    return number;
}

bool ReadBool(const json& object, const char* key)
{
    const json& value = Field(object, key);
    if (!value.is_boolean())
        Fail(key, "true or false");
    return value.get<bool>();
}

const json& ReadArray(const json& object, const char* key)
{
    const json& value = Field(object, key);
    if (!value.is_array())
        Fail(key, "an array");
    return value;
}

OV::String ReadBytes(const json& object, const char* key, std::size_t maximumSize)
{
    const json& value = Field(object, key);
    if (!value.is_string())
        Fail(key, "a text");
    const auto& text = value.get_ref<const json::string_t&>();
    if (text.size() / 4 * 3 > maximumSize + 2)
        Fail(key, "within its size");
    auto bytes = OV::DecodeBase64(text);
    if (!bytes || bytes->size() > maximumSize)
        Fail(key, "base64 within its size");
    return *std::move(bytes);
}

std::uint64_t ReadSequence(const json& object, const char* key)
{
    const json& value = Field(object, key);
    if (!value.is_number_unsigned())
        Fail(key, "a whole number from 0");
    return value.get<std::uint64_t>();
}

OV::Array<OV::UniString> ReadTexts(const json& object, const char* key)
{
    OV::Array<OV::UniString> texts;
    for (const json& text : ReadArray(object, key)) {
        if (!text.is_string())
            Fail(key, "an array of texts");
        texts.push_back(TextFromJson(text));
    }
    return texts;
}

template <class Texts>
json TextsToJson(const Texts& texts)
{
    json array = json::array();
    for (const auto& text : texts)
        array.push_back(TextToJson(text));
    return array;
}
template json TextsToJson(const OV::Array<OV::UniString>& texts);
template json TextsToJson(const OV::HashSet<OV::UniString>& texts);

json ToJson(const Project& project)
{
    return {{"id", TextToJson(project.id)},
            {"name", TextToJson(project.name)},
            {"location", TextToJson(project.location)},
            {"category", TextToJson(project.category)},
            {"state", static_cast<std::int32_t>(project.state)},
            {"version", TextToJson(project.version)},
            {"build", project.build}};
}

template <>
Project FromJson<Project>(const json& value)
{
    Project project;
    project.id = ReadText(value, "id");
    project.name = ReadText(value, "name");
    project.location = ReadText(value, "location");
    project.category = ReadText(value, "category");
    project.state = static_cast<ProjectState>(ReadNumber<std::int32_t>(value, "state", 1, 3));
    project.version = ReadText(value, "version");
    project.build = ReadNumber<std::int32_t>(value, "build");
    return project;
}

json ToJson(const Session& session)
{
    return {{"id", TextToJson(session.id)},
            {"projectId", TextToJson(session.projectId)},
            {"userId", TextToJson(session.userId)},
            {"loginName", TextToJson(session.loginName)},
            {"userName", TextToJson(session.userName)},
            {"logonId", session.logonId},
            {"roleName", TextToJson(session.roleName)},
            {"permissions", TextsToJson(session.permissions)},
            {"startTime", session.startTime}};
}

template <>
Session FromJson<Session>(const json& value)
{
    Session session;
    session.id = ReadText(value, "id");
    session.projectId = ReadText(value, "projectId");
    session.userId = ReadText(value, "userId");
    session.loginName = ReadText(value, "loginName");
    session.userName = ReadText(value, "userName");
    session.logonId = ReadNumber<std::int32_t>(value, "logonId", 1, 32767);
    session.roleName = ReadText(value, "roleName");
    session.permissions = ReadTextSet(value, "permissions");
    session.startTime = ReadNumber<std::int32_t>(value, "startTime");
    return session;
}

json ToJson(const Member& member)
{
    return {{"id", member.id},
            {"loginName", TextToJson(member.loginName)},
            {"fullName", TextToJson(member.fullName)},
            {"guid", TextToJson(member.guid.ToText())},
            {"color", member.color},
            {"roleName", TextToJson(member.roleName)},
            {"permissions", TextsToJson(member.permissions)}};
}

template <>
Member FromJson<Member>(const json& value)
{
    Member member;
    member.id = ReadNumber<std::int16_t>(value, "id", 1, 32767);
    member.loginName = ReadText(value, "loginName");
    member.fullName = ReadText(value, "fullName");
    try {
        member.guid = OV::Guid::Parse(ReadText(value, "guid"));
    } catch (const OV::IllegalArgumentException&) {
        Fail("guid", "an identity");
    }
    member.color = ReadNumber<std::uint32_t>(value, "color", 0, 0xFFFFFF);
    member.roleName = ReadText(value, "roleName");
    member.permissions = ReadTextSet(value, "permissions");
    return member;
}

json ToJson(const Photo& photo)
{
    return {{"type", TextToJson(photo.type)}, {"data", OV::EncodeBase64(photo.data)}};
}

template <>
Photo FromJson<Photo>(const json& value)
{
    return {ReadText(value, "type"), ReadBytes(value, "data", Photo::MaximumSize)};
}

json ToJson(const EventLogPage& page)
{
    return {{"text", page.text},
            {"separator", page.separator},
            {"next", page.next},
            {"left", page.left}};
}

template <>
EventLogPage FromJson<EventLogPage>(const json& value)
{
    EventLogPage page;
    for (const auto& [key, text] :
         {std::pair("text", &page.text), {"separator", &page.separator}}) {
        const json& field = Field(value, key);
        if (!field.is_string())
            Fail(key, "a text");
        *text = field.get_ref<const json::string_t&>();
    }
    if (page.separator.empty())
        Fail("separator", "a text that is not empty");
    page.next = ReadSequence(value, "next");
    page.left = ReadSequence(value, "left");
    return page;
}

json ToJson(const LoggedEvent& event)
{
    return {{"action", TextToJson(event.action)},
            {"size", event.size},
            {"comment", TextToJson(event.comment)},
            {"seconds", event.seconds}};
}

template <>
LoggedEvent FromJson<LoggedEvent>(const json& value)
{
    constexpr std::int64_t highest = 0xFFFF'FFFF;
    return {ReadText(value, "action"), ReadNumber<std::uint32_t>(value, "size", 0, highest),
            ReadText(value, "comment"), ReadNumber<std::uint32_t>(value, "seconds", 0, highest)};
}

json ToJson(const ServicePort& port)
{
    return {{"service", TextToJson(port.service)}, {"port", port.port}};
}

template <>
ServicePort FromJson<ServicePort>(const json& value)
{
    return {ReadText(value, "service"), ReadNumber<std::uint16_t>(value, "port")};
}

json ToJson(const Signal& signal)
{
    return {{"sequence", signal.sequence},
            {"id", static_cast<std::int32_t>(signal.id)},
            {"projectId", TextToJson(signal.projectId)}};
}

template <>
Signal FromJson<Signal>(const json& value)
{
    Signal signal;
    signal.sequence = ReadSequence(value, "sequence");
    signal.id = static_cast<SignalId>(ReadNumber<std::int32_t>(value, "id"));
    signal.projectId = ReadText(value, "projectId");
    return signal;
}

json ToJson(const SignalBatch& batch)
{
    json signals = json::array();
    for (const auto& signal : batch.events)
        signals.push_back(ToJson(signal));
    return {{"signals", std::move(signals)}, {"next", batch.next}};
}

template <>
SignalBatch FromJson<SignalBatch>(const json& value)
{
    SignalBatch batch;
    for (const auto& signal : ReadArray(value, "signals"))
        batch.events.push_back(FromJson<Signal>(signal));
    batch.next = ReadSequence(value, "next");
    return batch;
}

json ToJson(const SignInRequest& request)
{
    return {{"userName", TextToJson(request.userName)},
            {"password", TextToJson(request.password)},
            {"protocol", request.protocol}};
}

template <>
SignInRequest FromJson<SignInRequest>(const json& value)
{
    SignInRequest request;
    request.userName = ReadText(value, "userName");
    request.password = ReadText(value, "password");
    request.protocol = ReadNumber<std::uint32_t>(value, "protocol");
    return request;
}

json ToJson(const SignInAnswer& answer)
{
    return {{"token", answer.token},
            {"userId", TextToJson(answer.userId)},
            {"userName", TextToJson(answer.userName)},
            {"protocol", answer.protocol},
            {"serverVersion", answer.serverVersion}};
}

template <>
SignInAnswer FromJson<SignInAnswer>(const json& value)
{
    SignInAnswer answer;
    answer.token = OV::ToUtf8(ReadText(value, "token"));
    answer.userId = ReadText(value, "userId");
    answer.userName = ReadText(value, "userName");
    answer.protocol = ReadNumber<std::uint32_t>(value, "protocol");
    answer.serverVersion = ReadNumber<std::uint32_t>(value, "serverVersion");
    return answer;
}

}  // namespace Syncra::Protocol
