#include "MailService.hpp"

#include "ProjectAccess.hpp"

#include "OVRoot/Base64.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

namespace Nexar {

using namespace Syncra::Protocol;

namespace {

constexpr std::size_t MaximumKeyUnits = 64;
constexpr std::size_t MaximumRecipients = 1000;
const std::string MailsPath = "/syncra/v1/projects/{}/mails";

[[noreturn]] void Malformed(const std::string& message)
{
    throw Refusal(ErrorCode::BadRequest, message);
}

std::string CheckedKey(const OV::UniString& key)
{
    if (key.empty())
        Malformed("The key is empty. Make a new one for each mail.");
    if (key.size() > MaximumKeyUnits)
        throw Refusal(ErrorCode::TooLarge, "A key holds at most 64 characters.");
    return OV::ToUtf8(key);
}

std::vector<std::string> ToUtf8(const OV::Array<OV::UniString>& texts)
{
    std::vector<std::string> utf8(texts.size());
    std::transform(texts.begin(), texts.end(), utf8.begin(), OV::ToUtf8);
    return utf8;
}

std::vector<std::string> CheckedRecipients(const OV::Array<OV::UniString>& recipients)
{
    if (recipients.empty())
        Malformed("A mail needs at least one recipient.");
    if (recipients.size() > MaximumRecipients)
        throw Refusal(ErrorCode::TooLarge, "A mail goes to at most 1000 recipients.");
    return ToUtf8(recipients);
}

/// What counts of a mail on its way in. Its texts stay as they came, escapes and all.
struct MailContents {
    OV::HashTable<std::string, std::string> header;
    std::string bodyData;
};

template <class Visitor>
void Describe(Visitor& v, MailContents& contents)
{
    DescribeContents(v, contents);
}

/// As it came, but for who sent it: that is what the token says, whatever the client wrote.
std::string SignedHeader(MailContents& contents, const StoredUser& sender)
{
    contents.header["Sender"] = sender.login;
    contents.header["SenderFullName"] = sender.fullName;
    return WriteJson(contents.header);
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
        "POST", MailsPath, [this](const Call& call) { return Send(call); }, Router::Body::Large);
    router.Add("GET", MailsPath, [this](const Call& call) {
        return mails_.PageJson(BoxOf(call), ReadPlace(call), call.QueryNumber("after", 0));
    });
    AddFlagRoutes(router, "/status", MailFlag::Read);
    AddFlagRoutes(router, "/historical", MailFlag::Historical);
    router.Add("POST", MailsPath + "/delete", [this](const Call& call) {
        const auto box = BoxOf(call);
        const auto ids = call.Read<MailIds>().value;
        RequireFew(ids.size());
        mails_.Delete(box, ToUtf8(ids));
    });
    router.AddAsync(
        "POST", MailsPath + "/deleted",
        [this](Call& call) {
            const auto box = BoxOf(call);
            const auto ids = call.Read<MailIds>().value;
            RequireFew(ids.size());
            call.findings = mails_.Deleted(box, ids);
        },
        [](const Call& call, const Reply& reply) {
            reply(JsonResponse(
                Syncra::Protocol::Single<"ids", std::vector<std::string>>{call.findings}));
        });
}

void MailService::AddFlagRoutes(Router& router, const std::string& name, MailFlag flag)
{
    router.Add("GET", MailsPath + name, [this, flag](const Call& call) {
        const auto box = BoxOf(call);
        return mails_.Flags(box, flag, call.QueryNumber("after", 0));
    });
    router.Add("PUT", MailsPath + name, [this, flag](const Call& call) {
        const auto box = BoxOf(call);
        const auto entries = call.Read<FlagUpdateOf<std::string>>().value;
        RequireFew(entries.size());
        mails_.SetFlags(box, flag, entries);
    });
}

void MailService::RequireFew(std::size_t count) const
{
    if (count > limits_.idsOfRequest)
        throw Refusal(ErrorCode::TooLarge, "A request names at most " +
                                               std::to_string(limits_.idsOfRequest) +
                                               " mails. Send them in parts.");
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

MailReceipt MailService::Send(const Call& call)
{
    const auto box = BoxOf(call);
    auto sent = call.Read<MailDelivery<MailContents>>();
    const auto delivery = mails_.Deliver(
        {box.projectId, box.userId, CheckedKey(sent.key), CheckedRecipients(sent.recipients),
         SignedHeader(sent.message, SenderOf(call)), OV::EncodeBase64(sent.message.bodyData)});
    if (!delivery.duplicate)
        signals_.RaiseFor(box.projectId, SignalId::NewMail, delivery.concerned);
    return {OV::FromUtf8(delivery.id), delivery.duplicate};
}

}  // namespace Nexar
