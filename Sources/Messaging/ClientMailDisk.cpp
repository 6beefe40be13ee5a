#include "Messaging/ClientMail.hpp"
#include "Messaging/Detail/MailActions.hpp"
#include "Messaging/Detail/MailFields.hpp"

namespace SYC {

namespace {

using OV::ChannelOk;
using OV::ChannelStatus;

class DiskWriter {
public:
    explicit DiskWriter(OV::OChannel& channel) : channel_(channel) {}

    ChannelStatus operator()(const OV::UniString& text) { return channel_.Write(text); }
    ChannelStatus operator()(bool flag) { return channel_.Write(flag); }
    ChannelStatus operator()(std::int32_t number) { return channel_.Write(number); }
    ChannelStatus operator()(Importance value) { return (*this)(static_cast<std::int32_t>(value)); }
    ChannelStatus operator()(MailType value) { return (*this)(static_cast<std::int32_t>(value)); }
    ChannelStatus operator()(const ClientMail::NameList& names)
    {
        auto status = channel_.Write(static_cast<std::uint32_t>(names.size()));
        for (auto name = names.begin(); name != names.end() && status == ChannelOk; ++name)
            status = channel_.Write(*name);
        return status;
    }
    ChannelStatus operator()(const OV::Ref<ClientMail::ActionList>& actions)
    {
        const auto status = channel_.Write(MailActions::Count(actions));
        return status == ChannelOk ? MailActions::Write(actions, channel_) : status;
    }

private:
    OV::OChannel& channel_;
};

class DiskReader {
public:
    explicit DiskReader(OV::IChannel& channel) : channel_(channel) {}

    ChannelStatus operator()(OV::UniString& text) { return channel_.Read(text); }
    ChannelStatus operator()(bool& flag) { return channel_.Read(flag); }
    ChannelStatus operator()(std::int32_t& number) { return channel_.Read(number); }
    ChannelStatus operator()(Importance& value) { return ReadEnum(value, ImportanceFromNumber); }
    ChannelStatus operator()(MailType& value) { return ReadEnum(value, MailTypeFromNumber); }
    ChannelStatus operator()(ClientMail::NameList& names)
    {
        names.clear();
        std::uint32_t count = 0;
        auto status = channel_.Read(count);
        for (; count > 0 && status == ChannelOk; --count)
            if (OV::UniString name; (status = channel_.Read(name)) == ChannelOk)
                names.push_back(std::move(name));
        return status;
    }
    ChannelStatus operator()(OV::Ref<ClientMail::ActionList>& actions)
    {
        std::uint32_t count = 0;
        const auto status = channel_.Read(count);
        return status == ChannelOk ? MailActions::Read(actions, count, channel_) : status;
    }

private:
    template <class Enum>
    ChannelStatus ReadEnum(Enum& value, Enum (*fromNumber)(std::int32_t) noexcept)
    {
        std::int32_t number = 0;
        const auto status = channel_.Read(number);
        if (status == ChannelOk)
            value = fromNumber(number);
        return status;
    }

    OV::IChannel& channel_;
};

}  // namespace

ChannelStatus ClientMail::Read(OV::IChannel& channel)
{
    const OV::InputClassFrame frame(channel, ClassInformation);
    if (frame.Status() != ChannelOk)
        return frame.Status();
    return frame.MainVersion() == 1 ? ReadVersion1(channel) : OV::ChannelFailed;
}

ChannelStatus ClientMail::Write(OV::OChannel& channel) const
{
    const OV::OutputClassFrame frame(channel, ClassInformation);
    return frame.Status() == ChannelOk ? WriteVersion1(channel) : frame.Status();
}

ChannelStatus ClientMail::ReadVersion1(OV::IChannel& channel)
{
    return MailFields::WalkDisk(*this, DiskReader(channel));
}

ChannelStatus ClientMail::WriteVersion1(OV::OChannel& channel) const
{
    return MailFields::WalkDisk(*this, DiskWriter(channel));
}

}  // namespace SYC
