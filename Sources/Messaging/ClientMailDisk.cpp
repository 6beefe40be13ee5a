#include "Messaging/ClientMail.hpp"
#include "Messaging/Detail/MailActions.hpp"
#include "Messaging/Detail/MailFields.hpp"
#include "Messaging/Detail/MailRecord.hpp"
#include "Messaging/Detail/MailWords.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <optional>

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
    ChannelStatus operator()(const MailFields::CarriedActions& actions)
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
    /// Notes where the actions stand as well.
    explicit DiskReader(OV::MemoryIChannel& channel) : channel_(channel), memory_(&channel) {}

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
    ChannelStatus operator()(MailFields::CarriedActions& actions)
    {
        const auto status = channel_.Read(actionCount_);
        if (status != ChannelOk)
            return status;
        if (memory_ != nullptr)
            restAtActions_ = memory_->Rest();
        actions_ = MailActions::Read(actions, actionCount_, channel_);
        return actions_.status;
    }

    [[nodiscard]] std::uint32_t ActionCount() const noexcept { return actionCount_; }
    [[nodiscard]] const MailActions::Reading& Actions() const noexcept { return actions_; }
    /// What stood behind the count of actions when they were read.
    [[nodiscard]] OV::StringView RestAtActions() const noexcept { return restAtActions_; }

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
    const OV::MemoryIChannel* memory_ = nullptr;
    std::uint32_t actionCount_ = 0;
    OV::StringView restAtActions_;
    MailActions::Reading actions_;
};

/// The historical flag and the parent mail's id, which end a mail.
struct Tail {
    std::size_t at = 0;
    bool historical = false;
    OV::UniString parentMailId;
};

/// Ids are shorter than this, in bytes.
constexpr std::size_t MaximumTailText = 4096;

/// The shortest tail that `bytes` can end with; nothing when it ends with none.
std::optional<Tail> FindTail(OV::StringView bytes)
{
    constexpr std::size_t fixed = sizeof(char) + sizeof(std::uint32_t);
    for (std::size_t text = 0; text <= MaximumTailText && text + fixed <= bytes.size(); text += 2) {
        Tail tail{bytes.size() - text - fixed, false, {}};
        OV::MemoryIChannel channel(bytes.substr(tail.at));
        std::uint32_t count = 0;
        if (OV::ReadInOrder(channel, tail.historical, count) != ChannelOk || count != text)
            continue;
        OV::MemoryIChannel last(bytes.substr(tail.at + sizeof(char)));
        if (last.Read(tail.parentMailId) == ChannelOk)
            return tail;
    }
    return std::nullopt;
}

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

MailRecord MailRecord::Read(OV::StringView bytes)
{
    MailRecord record;
    OV::MemoryIChannel channel(bytes);
    const OV::InputClassFrame frame(channel, ClientMail::ClassInformation);
    record.status = frame.Status();
    if (record.status == ChannelOk && frame.MainVersion() != 1) {
        record.status = OV::ChannelFailed;
        record.state = frame.MainVersion() > 1 ? State::UnknownVersion : State::Damaged;
    } else if (record.status == ChannelOk) {
        record.mail = OV::MakeRef<ClientMail>();
        DiskReader reader(channel);
        record.status = MailFields::WalkDisk(*record.mail, reader);
        record.actionsAt = bytes.size() - reader.RestAtActions().size();
        record.actionCount = reader.ActionCount();
        record.isCutOff = !reader.Actions().isUnknown;
        if (record.status == ChannelOk)
            record.state = State::Complete;
        else if (reader.Actions().status != ChannelOk)
            record.state = State::UnreadActions;
    }
    record.size = bytes.size() - channel.Rest().size();
    return record;
}

bool MailRecord::Finish(OV::StringView record)
{
    if (record.size() < actionsAt)
        return false;
    const auto behindCount = record.substr(actionsAt);
    auto tail = FindTail(behindCount);
    if (!tail)
        return false;
    MailFields::SetBehindText(*mail, actionCount, OV::String(behindCount.substr(0, tail->at)),
                              tail->historical, std::move(tail->parentMailId));
    return true;
}

}  // namespace SYC
