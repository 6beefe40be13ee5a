#include "Messaging/ClientMail.hpp"

#include "Messaging/Detail/DiskReader.hpp"
#include "Messaging/Detail/RecipientList.hpp"
#include "Messaging/MailConversionException.hpp"

#include <charconv>
#include <limits>
#include <optional>
#include <tuple>

namespace SYC {

using Syncra::Protocol::Message;

namespace {

using OV::IBinaryChannelUtilities::ReadUniStringFromUTF8;
using OV::OBinaryChannelUtilities::WriteUniStringAsUTF8;

/// Writes the form that mails have in files.
class DiskWriter : public OV::FieldWriter {
public:
    /// `instead` of the mail's own actions, unless it is null.
    explicit DiskWriter(OV::OChannel& channel, const MailFields::CarriedActions* instead = nullptr)
        : FieldWriter(channel), instead_(instead)
    {}

    using FieldWriter::operator();
    void operator()(const MailFields::Flag& flag) { (*this)(static_cast<bool>(flag)); }
    void operator()(const ClientMail::NameList& names) { Elements(names, OV::TransferFields); }
    void operator()(const MailFields::CarriedActions& own)
    {
        const auto& actions = instead_ == nullptr ? own : *instead_;
        (*this)(MailActions::Count(actions));
        Then([&](OV::OChannel& channel) { return MailActions::Write(actions, channel); });
    }
    template <class Field>
    void Optional(const Field& field)
    {
        (*this)(field);
    }
    void Trailing(const OV::UniString& text) { (*this)(text); }

private:
    const MailFields::CarriedActions* const instead_;
};

class CompactWriter {
public:
    explicit CompactWriter(OV::OChannelX& channel) : channel_(channel) {}

    void operator()(const OV::UniString& text) { WriteUniStringAsUTF8(channel_, text); }
    void operator()(bool flag) { channel_.WriteBool(flag); }
    void operator()(std::int32_t number) { channel_.WriteInt(number); }
    void operator()(Importance value) { channel_.WriteInt(static_cast<std::int32_t>(value)); }
    void operator()(MailType value) { channel_.WriteInt(static_cast<std::int32_t>(value)); }
    void operator()(const ClientMail::NameList& names) { (*this)(JoinRecipients(names)); }

    void Optional(const OV::UniString& text)
    {
        channel_.WriteBool(!text.empty());
        if (!text.empty())
            (*this)(text);
    }
    void Optional(const MailFields::CarriedActions& actions)
    {
        const auto count = MailActions::Count(actions);
        channel_.WriteBool(count > 0);
        if (count == 0)
            return;
        channel_.WriteUInt(count);
        MailActions::Serialize(actions, channel_);
    }
    /// Nothing at all for an empty text, not even a flag: records are stored this way, and the
    /// reader takes the end of the data for a false flag.
    void Trailing(const OV::UniString& text)
    {
        if (!text.empty())
            Optional(text);
    }

private:
    OV::OChannelX& channel_;
};

class CompactReader {
public:
    explicit CompactReader(OV::IChannelX& channel) : channel_(channel) {}

    void operator()(OV::UniString& text) { text = ReadUniStringFromUTF8(channel_); }
    void operator()(bool& flag)
    {
        // Only the last flag of a record may be missing; elsewhere the end means a record cut off.
        if (channel_.AtEnd())
            throw OV::ChannelException("The mail record ends before its data.");
        flag = channel_.ReadBool();
    }
    void operator()(MailFields::Flag& flag) { flag = ReadFlag(); }
    void operator()(std::int32_t& number) { number = channel_.ReadInt(); }
    void operator()(Importance& value) { value = ImportanceFromNumber(channel_.ReadInt()); }
    void operator()(MailType& value) { value = MailTypeFromNumber(channel_.ReadInt()); }
    void operator()(ClientMail::NameList& names)
    {
        names = SplitRecipients(ReadUniStringFromUTF8(channel_));
    }

    void Optional(OV::UniString& text)
    {
        if (ReadFlag())
            (*this)(text);
    }
    void Optional(MailFields::CarriedActions& actions)
    {
        if (ReadFlag())
            MailActions::Deserialize(actions, channel_.ReadUInt(), channel_);
    }
    void Trailing(OV::UniString& text)
    {
        if (channel_.ReadBool())
            (*this)(text);
    }

private:
    bool ReadFlag()
    {
        bool flag = false;
        (*this)(flag);
        return flag;
    }

    OV::IChannelX& channel_;
};

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

bool operator==(const ClientMail& left, const ClientMail& right)
{
    const auto fields = [](const ClientMail& m) {
        return std::tie(m.id_, m.parentMailId_, m.importance_, m.type_, m.read_, m.sender_,
                        m.senderFullName_, m.recipientsLoginName_, m.recipientsFullName_,
                        m.sendingTime_, m.repositoryTime_, m.bodyText_, m.copy_, m.out_,
                        m.historical_, m.modify_);
    };
    return fields(left) == fields(right) && MailActions::AreEqual(left.actions_, right.actions_);
}

bool ClientMail::MarkDoneCopyHistorical() noexcept
{
    const bool isDone = copy_ && type_ != MailType::Request;
    historical_ = historical_ || isDone;
    return isDone;
}

ClientMail::ClientMail(OV::IChannelX& channel)
{
    CompactReader stream(channel);
    MailFields::Transfer(*this, stream);
}

void ClientMail::Serialize(OV::OChannelX& channel)
{
    MarkDoneCopyHistorical();
    CompactWriter stream(channel);
    MailFields::Transfer(*this, stream);
}

OV::ChannelStatus ClientMail::Read(OV::IChannel& channel)
{
    const OV::FieldReader frame(channel, ClassInformation);
    return frame.IsGood() ? ReadVersion1(channel) : frame.Status();
}

OV::ChannelStatus ClientMail::Write(OV::OChannel& channel) const
{
    return WriteWith(actions_, channel);
}

OV::ChannelStatus ClientMail::WriteWith(const CarriedActions& actions, OV::OChannel& channel) const
{
    const OV::FieldWriter frame(channel, ClassInformation);
    if (!frame.IsGood())
        return frame.Status();
    DiskWriter stream(channel, &actions);
    MailFields::Transfer(*this, stream);
    return stream.Status();
}

OV::ChannelStatus ClientMail::ReadVersion1(OV::IChannel& channel)
{
    DiskReader stream(channel);
    MailFields::Transfer(*this, stream);
    return stream.Status();
}

OV::ChannelStatus ClientMail::WriteVersion1(OV::OChannel& channel) const
{
    DiskWriter stream(channel);
    MailFields::Transfer(*this, stream);
    return stream.Status();
}

OV::UniStringView ClientMail::GetSubject() const noexcept
{
    constexpr OV::UniStringView blanks = u" \t\r\n";
    const OV::UniStringView text = bodyText_;
    const auto begin = text.find_first_not_of(blanks);
    if (begin == OV::UniStringView::npos)
        return {};
    const auto line = text.substr(begin, text.find_first_of(u"\r\n", begin) - begin);
    return line.substr(0, line.find_last_not_of(blanks) + 1);
}

bool ClientMail::IsCurrentFormat(const Message& message)
{
    return message.header.contains(Keys().version);
}

void ClientMail::TakeFlagsAndTime(const Message& message)
{
    id_ = message.mailId;
    read_ = message.read;
    copy_ = message.copy;
    historical_ = message.historical;
    repositoryTime_ = message.timeStamp;
}

OV::ChannelStatus ClientMail::SyncraMessageConvertTo(const Message& message)
{
    const Header& header = message.header;
    const HeaderKeys& keys = Keys();
    *this = ClientMail();
    TakeFlagsAndTime(message);
    sender_ = Require(header, keys.sender);
    senderFullName_ = Require(header, keys.senderFullName);
    recipientsLoginName_ = SplitRecipients(Require(header, keys.recipient));
    recipientsFullName_ = Require(header, keys.recipientsFullName);
    sendingTime_ =
        RequireDecimal<std::int32_t>(keys.sendingTime, Require(header, keys.sendingTime));
    parentMailId_ = FindOr(header, keys.parentMailGuid, u"");
    importance_ = ImportanceFromWireWord(Require(header, keys.importance));
    type_ = TypeOf(header);
    if (MarkDoneCopyHistorical())
        modify_ = true;
    if (const auto& text = Require(header, keys.textBody); text != Empty)
        bodyText_ = text;
    return ReadActions(message, actions_);
}

ClientMail::ClientMail(const Message& message)
{
    const Header& header = message.header;
    const HeaderKeys& keys = Keys();
    TakeFlagsAndTime(message);
    sender_ = FindOr(header, keys.sender, u"");
    senderFullName_ = FindOr(header, keys.senderFullName, sender_);
    const auto recipients = FindOr(header, keys.recipient, u"");
    recipientsLoginName_ = SplitOlderRecipients(recipients);
    recipientsFullName_ = FindOr(header, keys.recipientsFullName, recipients);
    sendingTime_ = ParseDecimal<std::int32_t>(FindOr(header, keys.sendingTime, u""))
                       .value_or(message.timeStamp);
    parentMailId_ = FindOr(header, keys.parentMailGuid, u"");
    importance_ = ImportanceFromWireWord(FindOr(header, keys.importance, u""));
    type_ = TypeOf(header);
    if (MarkDoneCopyHistorical())
        modify_ = true;
    const auto* text = Find(header, keys.textBody);
    bodyText_ = text ? *text : OV::FromUtf8(message.bodyData);
    if (bodyText_ == Empty)
        bodyText_.clear();
}

void ClientMail::PutHeader(Message& message) const
{
    const HeaderKeys& keys = Keys();
    const auto actionCount = MailActions::Count(actions_);
    Header& header = message.header;
    header[keys.sender] = sender_;
    header[keys.senderFullName] = senderFullName_;
    header[keys.recipient] = JoinRecipients(recipientsLoginName_);
    header[keys.recipientsFullName] = recipientsFullName_;
    header[keys.sendingTime] = OV::ToText(sendingTime_);
    header[keys.parentMailGuid] = parentMailId_;
    header[keys.version] = CurrentVersion;
    header[keys.importance] = ToWireWord(importance_);
    header[keys.type] = ToWireWord(type_);
    header[keys.textBody] = bodyText_.empty() ? OV::UniString(Empty) : bodyText_;
    header[keys.actionList] = actionCount == 0 ? OV::UniString(Empty) : OV::ToText(actionCount);
}

OV::ChannelStatus ClientMail::SyncraMessageConvertFrom(Message& message)
{
    message.mailId = id_;
    message.read = read_;
    message.copy = copy_;
    MarkDoneCopyHistorical();
    message.historical = historical_;
    message.timeStamp = repositoryTime_;
    PutHeader(message);
    OV::MemoryOChannel body;
    const auto status = MailActions::Write(actions_, body);
    message.bodyData = body.TakeBytes();
    // Whoever does not know what he would send leaves it to a process that does.
    return HasUnknownActions() ? OV::ChannelFailed : status;
}

Message ClientMail::ConvertToSyncraMessage()
{
    Message message;
    if (SyncraMessageConvertFrom(message) != OV::ChannelOk)
        throw MailConversionException("An action of the mail cannot be written.");
    return message;
}

}  // namespace SYC
