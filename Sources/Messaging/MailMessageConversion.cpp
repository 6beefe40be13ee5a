#include "Messaging/MailMessageConversion.hpp"
#include "Messaging/Detail/MailWords.hpp"

#include "Messaging/Detail/MailActions.hpp"
#include "Messaging/Detail/RecipientList.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <charconv>
#include <limits>
#include <optional>

namespace SYC {

using Syncra::Protocol::Message;

namespace {

using Header = decltype(Message::header);

/// Made once, since a look-up needs whole strings.
struct HeaderKeys {
    const OV::UniString sender = u"Sender";
    const OV::UniString senderFullName = u"SenderFullName";
    const OV::UniString recipient = u"Recipient";
    const OV::UniString recipientsFullName = u"RecipientsFullName";
    const OV::UniString sendingTime = u"SendingTime";
    const OV::UniString parentMailGuid = u"ParentMailGuid";
    const OV::UniString version = u"Version";
    const OV::UniString importance = u"Importance";
    const OV::UniString type = u"Type";
    const OV::UniString textBody = u"TextBody";
    const OV::UniString actionList = u"ActionList";
};

const HeaderKeys& Keys()
{
    static const auto& keys = *new HeaderKeys;
    return keys;
}

constexpr OV::UniStringView CurrentVersion = u"1.0";
/// Stands for an empty body and an empty action list.
constexpr OV::UniStringView Empty = u"EMPTY";

const OV::UniString* Find(const Header& header, const OV::UniString& key)
{
    const auto found = header.find(key);
    return found == header.end() ? nullptr : &found->second;
}

const OV::UniString& Require(const Header& header, const OV::UniString& key)
{
    if (const auto* value = Find(header, key))
        return *value;
    throw OV::IllegalReferenceException(u"The header of the mail has no \"" + key + u"\".");
}

OV::UniString FindOr(const Header& header, const OV::UniString& key, OV::UniStringView fallback)
{
    const auto* value = Find(header, key);
    return value ? *value : OV::UniString(fallback);
}

/// A whole number of any length, as near to it as a Number gets: a time beyond 2038 is no reason to
/// lose a mail. Nothing for anything else.
template <class Number>
std::optional<Number> ParseDecimal(OV::UniStringView text)
{
    // Cast away what is no ASCII first, or a code unit could be cut down to a digit.
    for (const char16_t unit : text)
        if (unit > 0x7F)
            return std::nullopt;
    const OV::String digits(text.begin(), text.end());
    using Limits = std::numeric_limits<Number>;
    Number number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error == std::errc::invalid_argument || end != digits.data() + digits.size())
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return digits.front() == '-' ? Limits::min() : Limits::max();
    return number;
}

template <class Number>
Number RequireDecimal(const OV::UniString& key, OV::UniStringView text)
{
    if (const auto number = ParseDecimal<Number>(text))
        return *number;
    throw MailConversionException(u"\"" + key + u"\" in the header of the mail is no number.");
}

/// Actions that are only unknown here stay with the mail, whose other fields are readable.
OV::ChannelStatus ReadActions(const Message& message, MailActions::Carried& actions)
{
    const auto* text = Find(message.header, Keys().actionList);
    if (!text || *text == Empty)
        return OV::ChannelOk;
    const auto count = RequireDecimal<std::uint32_t>(Keys().actionList, *text);
    OV::MemoryIChannel channel(message.bodyData);
    const auto reading = MailActions::Read(actions, count, channel);
    if (reading.isUnknown)
        MailActions::Keep(actions, count, message.bodyData);
    return reading.status;
}

/// Older writers did not always end the list with a comma.
ClientMail::NameList SplitOlderRecipients(OV::UniString text)
{
    if (!text.empty() && text.back() != u',')
        text += u',';
    return SplitRecipients(text);
}

MailType TypeOf(const Header& header)
{
    return MailTypeFromWireWord(FindOr(header, Keys().type, u""));
}

}  // namespace

bool MailMessageConversion::IsCurrentFormat(const Message& message)
{
    return message.header.contains(Keys().version);
}

void MailMessageConversion::TakeFlagsAndTime(const Message& message, ClientMail& mail)
{
    mail.id_ = message.mailId;
    mail.read_ = message.read;
    mail.copy_ = message.copy;
    mail.historical_ = message.historical;
    mail.repositoryTime_ = message.timeStamp;
}

OV::ChannelStatus MailMessageConversion::ToMail(const Message& message, ClientMail& mail)
{
    const Header& header = message.header;
    const HeaderKeys& keys = Keys();
    mail = ClientMail();
    TakeFlagsAndTime(message, mail);
    mail.sender_ = Require(header, keys.sender);
    mail.senderFullName_ = Require(header, keys.senderFullName);
    mail.recipientsLoginName_ = SplitRecipients(Require(header, keys.recipient));
    mail.recipientsFullName_ = Require(header, keys.recipientsFullName);
    mail.sendingTime_ =
        RequireDecimal<std::int32_t>(keys.sendingTime, Require(header, keys.sendingTime));
    mail.parentMailId_ = FindOr(header, keys.parentMailGuid, u"");
    mail.importance_ = ImportanceFromWireWord(Require(header, keys.importance));
    mail.type_ = TypeOf(header);
    if (mail.MarkDoneCopyHistorical())
        mail.modify_ = true;
    if (const auto& text = Require(header, keys.textBody); text != Empty)
        mail.bodyText_ = text;
    return ReadActions(message, mail.actions_);
}

void MailMessageConversion::ToMailFromOlderFormat(const Message& message, ClientMail& mail)
{
    const Header& header = message.header;
    const HeaderKeys& keys = Keys();
    TakeFlagsAndTime(message, mail);
    mail.sender_ = FindOr(header, keys.sender, u"");
    mail.senderFullName_ = FindOr(header, keys.senderFullName, mail.sender_);
    const auto recipients = FindOr(header, keys.recipient, u"");
    mail.recipientsLoginName_ = SplitOlderRecipients(recipients);
    mail.recipientsFullName_ = FindOr(header, keys.recipientsFullName, recipients);
    mail.sendingTime_ = ParseDecimal<std::int32_t>(FindOr(header, keys.sendingTime, u""))
                            .value_or(message.timeStamp);
    mail.parentMailId_ = FindOr(header, keys.parentMailGuid, u"");
    mail.importance_ = ImportanceFromWireWord(FindOr(header, keys.importance, u""));
    mail.type_ = TypeOf(header);
    if (mail.MarkDoneCopyHistorical())
        mail.modify_ = true;
    const auto* text = Find(header, keys.textBody);
    mail.bodyText_ = text ? *text : OV::FromUtf8(message.bodyData);
    if (mail.bodyText_ == Empty)
        mail.bodyText_.clear();
}

void MailMessageConversion::PutHeader(const ClientMail& mail, Message& message)
{
    const HeaderKeys& keys = Keys();
    const auto actionCount = MailActions::Count(mail.actions_);
    Header& header = message.header;
    header[keys.sender] = mail.sender_;
    header[keys.senderFullName] = mail.senderFullName_;
    header[keys.recipient] = JoinRecipients(mail.recipientsLoginName_);
    header[keys.recipientsFullName] = mail.recipientsFullName_;
    header[keys.sendingTime] = OV::ToText(mail.sendingTime_);
    header[keys.parentMailGuid] = mail.parentMailId_;
    header[keys.version] = CurrentVersion;
    header[keys.importance] = ToWireWord(mail.importance_);
    header[keys.type] = ToWireWord(mail.type_);
    header[keys.textBody] = mail.bodyText_.empty() ? OV::UniString(Empty) : mail.bodyText_;
    header[keys.actionList] = actionCount == 0 ? OV::UniString(Empty) : OV::ToText(actionCount);
}

OV::ChannelStatus MailMessageConversion::ToMessage(ClientMail& mail, Message& message)
{
    message.mailId = mail.id_;
    message.read = mail.read_;
    message.copy = mail.copy_;
    mail.MarkDoneCopyHistorical();
    message.historical = mail.historical_;
    message.timeStamp = mail.repositoryTime_;
    PutHeader(mail, message);
    OV::MemoryOChannel body;
    const auto status = MailActions::Write(mail.actions_, body);
    message.bodyData = body.TakeBytes();
    // Whoever does not know what he would send leaves it to a process that does.
    return mail.HasUnknownActions() ? OV::ChannelFailed : status;
}

ClientMail::ClientMail(const Message& message)
{
    MailMessageConversion::ToMailFromOlderFormat(message, *this);
}

OV::ChannelStatus ClientMail::SyncraMessageConvertTo(const Message& message)
{
    return MailMessageConversion::ToMail(message, *this);
}

OV::ChannelStatus ClientMail::SyncraMessageConvertFrom(Message& message)
{
    return MailMessageConversion::ToMessage(*this, message);
}

Message ClientMail::ConvertToSyncraMessage()
{
    Message message;
    if (SyncraMessageConvertFrom(message) != OV::ChannelOk)
        throw MailConversionException(OV::StringView("An action of the mail cannot be written."));
    return message;
}

}  // namespace SYC
