#include "MailService.hpp"

#include "Base64Field.hpp"
#include "ProjectAccess.hpp"

#include "SyncraProtocol/Detail/Json.hpp"
#include "SyncraProtocol/Message.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

namespace Nexar {

using namespace Syncra::Protocol;
using nlohmann::json;

namespace {

constexpr std::size_t MaximumKeyUnits = 64;
constexpr std::size_t MaximumRecipients = 1000;
/// Of one request: everybody who writes waits until all of them are done.
constexpr std::size_t MaximumIds = 1000;
const std::string MailsPath = "/syncra/v1/projects/{}/mails";

[[noreturn]] void Malformed(const std::string& message)
{
    throw Refusal(ErrorCode::BadRequest, message);
}

std::string ReadKey(const json& body)
{
    const auto key = ReadText(body, "key");
    if (key.empty())
        Malformed("The key is empty. Make a new one for each mail.");
    if (key.size() > MaximumKeyUnits)
        throw Refusal(ErrorCode::TooLarge, "A key holds at most 64 characters.");
    return OV::ToUtf8(key);
}

std::vector<std::string> ReadRecipients(const json& body)
{
    std::vector<std::string> recipients;
    for (const auto& login : ReadTexts(body, "recipients"))
        recipients.push_back(OV::ToUtf8(login));
    if (recipients.empty())
        Malformed("A mail needs at least one recipient.");
    if (recipients.size() > MaximumRecipients)
        throw Refusal(ErrorCode::TooLarge, "A mail goes to at most 1000 recipients.");
    return recipients;
}

/// As it came, but for who sent it: that is what the token says, whatever the client wrote. Its
/// form is checked, for a wrong one would spoil the recipients' whole page.
std::string ReadHeader(const json& message, const StoredUser& sender)
{
    const auto header = message.find("header");
    if (header == message.end() || !header->is_object() ||
        !std::all_of(header->begin(), header->end(),
                     [](const json& text) { return text.is_string(); }))
        Malformed("The header of the message is no object of texts.");
    json signedHeader = *header;
    signedHeader["Sender"] = sender.login;
    signedHeader["SenderFullName"] = sender.fullName;
    return DumpJson(signedHeader);
}

std::string ReadBody(const json& message)
{
    (void)ReadBase64(message, "body", Message::MaximumBodySize);
    return message.at("body").get<std::string>();
}

void RequireFew(std::size_t count)
{
    if (count > MaximumIds)
        throw Refusal(ErrorCode::TooLarge,
                      "A request names at most 1000 mails. Send them in parts.");
}

FlagEntries ReadFlagEntries(const json& body)
{
    FlagEntries entries;
    const auto& list = ReadArray(body, "entries");
    RequireFew(list.size());
    for (const json& entry : list) {
        if (!entry.is_array() || entry.size() != 2 || !entry[0].is_string() ||
            !entry[1].is_boolean())
            Malformed("A flag entry is a mail's id and true or false.");
        entries.emplace_back(entry[0].get<std::string>(), entry[1].get<bool>());
    }
    return entries;
}

/// A whole number from the front of `text`, which loses it; nothing when there is none.
std::optional<std::int64_t> TakeNumber(std::string_view& text)
{
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

MailPlace ReadCursor(std::string_view text)
{
    const auto time = TakeNumber(text);
    const bool isParted = text.starts_with('-');
    text.remove_prefix(isParted ? 1 : 0);
    const auto number = TakeNumber(text);
    if (!time || !isParted || !number || !text.empty())
        Malformed("The cursor is none that this server gave. Ask without one first.");
    return {*time, *number};
}

MailPlace ReadPlace(const Call& call)
{
    const auto cursor = call.request.query.find("cursor");
    if (cursor != call.request.query.end() && !cursor->second.empty())
        return ReadCursor(cursor->second);
    const auto since = std::min<std::uint64_t>(call.QueryNumber("since", 0),
                                               std::numeric_limits<std::int64_t>::max());
    return {static_cast<std::int64_t>(since), 0};
}

}  // namespace

void MailService::AddRoutes(Router& router)
{
    router.Add(
        "POST", MailsPath, [this](const Call& call) { return Send(call); }, Router::LargeBody);
    router.AddText("GET", MailsPath, [this](const Call& call) {
        return mails_.PageJson(BoxOf(call), ReadPlace(call));
    });
    AddFlagRoutes(router, "/status", MailFlag::Read);
    AddFlagRoutes(router, "/historical", MailFlag::Historical);
    router.Add("POST", MailsPath + "/delete", [this](const Call& call) {
        const auto box = BoxOf(call);
        const auto named = ReadTexts(call.Body(), "ids");
        RequireFew(named.size());
        std::vector<std::string> ids;
        for (const auto& id : named)
            ids.push_back(OV::ToUtf8(id));
        mails_.Delete(box, ids);
        return json::object();
    });
}

void MailService::AddFlagRoutes(Router& router, const std::string& name, MailFlag flag)
{
    router.AddText("GET", MailsPath + name, [this, flag](const Call& call) {
        return mails_.FlagsJson(BoxOf(call), flag, call.QueryNumber("after", 0));
    });
    router.Add("PUT", MailsPath + name, [this, flag](const Call& call) {
        const auto box = BoxOf(call);
        mails_.SetFlags(box, flag, ReadFlagEntries(call.Body()));
        return json::object();
    });
}

MailBox MailService::BoxOf(const Call& call)
{
    RequireMembership(projects_, call, call.parameters[0]);
    return {call.parameters[0], call.user.userId};
}

StoredUser MailService::SenderOf(const Call& call)
{
    auto sender = users_.FindByLogin(call.user.userLogin);
    if (!sender)
        throw Refusal(ErrorCode::TokenExpired, "The token is void: its user was deleted.");
    return *std::move(sender);
}

json MailService::Send(const Call& call)
{
    const auto box = BoxOf(call);
    const auto body = call.Body();
    const auto message = body.find("message");
    if (message == body.end() || !message->is_object())
        Malformed("Field \"message\" is missing or no object.");
    const auto delivery =
        mails_.Deliver({box.projectId, box.userId, ReadKey(body), ReadRecipients(body),
                        ReadHeader(*message, SenderOf(call)), ReadBody(*message)});
    if (!delivery.duplicate)
        signals_.Raise(box.projectId, SignalId::NewMail, delivery.concerned);
    return {{"id", delivery.id}, {"duplicate", delivery.duplicate}};
}

}  // namespace Nexar
