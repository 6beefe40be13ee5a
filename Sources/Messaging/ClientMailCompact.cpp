#include "Messaging/ClientMail.hpp"
#include "Messaging/Detail/MailActions.hpp"
#include "Messaging/Detail/MailFields.hpp"
#include "Messaging/Detail/MailWords.hpp"
#include "Messaging/Detail/RecipientList.hpp"

namespace SYC {

namespace {

using OV::IBinaryChannelUtilities::ReadUniStringFromUTF8;
using OV::OBinaryChannelUtilities::WriteUniStringAsUTF8;

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
    void Historical(ClientMail& mail)
    {
        MailFields::MarkDoneCopyHistorical(mail);
        channel_.WriteBool(mail.IsHistorical());
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
            throw OV::ChannelException(OV::StringView("The mail record ends before its data."));
        flag = channel_.ReadBool();
    }
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
    void Historical(ClientMail& mail)
    {
        if (ReadFlag())
            mail.SetHistorical();
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

}  // namespace

ClientMail::ClientMail(OV::IChannelX& channel)
{
    MailFields::WalkCompact(*this, CompactReader(channel));
}

void ClientMail::Serialize(OV::OChannelX& channel)
{
    MailFields::WalkCompact(*this, CompactWriter(channel));
}

}  // namespace SYC
