#include "Messaging/Detail/MailSnapshot.hpp"

#include "OVRoot/MemoryChannels.hpp"

#include <limits>

namespace SYC {

namespace {

void RequireOk(OV::ChannelStatus status)
{
    if (status != OV::ChannelOk)
        throw OV::ChannelException("A mail cannot be written.");
}

/// Takes bytes and keeps their number alone.
class ByteCounter final : public OV::OChannel {
public:
    [[nodiscard]] OV::ChannelStatus WriteBytes(std::span<const std::byte> source) override
    {
        count_ += source.size();
        return OV::ChannelOk;
    }
    [[nodiscard]] std::size_t Count() const noexcept { return count_; }

private:
    std::size_t count_ = 0;
};

}  // namespace

MailSnapshot::MailSnapshot(const MailFile::MailList& mails, std::uint64_t change)
    : mails_(std::make_shared<const MailFile::MailList>(mails)), change_(change)
{
    for (std::size_t place = 0; place < mails.size(); ++place)
        if (const auto& actions = mails[place]->actions_; MailActions::Count(actions) != 0)
            actions_.push_back({place, MailActions::Sealed(actions)});
}

OV::String MailSnapshot::Encode(const MailFile::UnknownRecords& unknown) const
{
    if (mails_->size() > std::numeric_limits<std::uint32_t>::max() - unknown.count)
        throw OV::ChannelException("The mails are too many for one file.");
    // A box of many megabytes that grows by doubling is copied and held twice on the way.
    ByteCounter counter;
    Write(unknown, counter);
    OV::MemoryOChannel channel;
    channel.Reserve(counter.Count());
    Write(unknown, channel);
    return channel.TakeBytes();
}

void MailSnapshot::Write(const MailFile::UnknownRecords& unknown, OV::OChannel& channel) const
{
    static const auto& none = *new MailActions::Carried;
    RequireOk(channel.Write(static_cast<std::uint32_t>(mails_->size() + unknown.count)));
    auto carried = actions_.begin();
    for (std::size_t place = 0; place < mails_->size(); ++place) {
        const bool isCarrier = carried != actions_.end() && carried->place == place;
        RequireOk((*mails_)[place]->WriteWith(isCarrier ? carried++->sealed : none, channel));
    }
    RequireOk(channel.WriteBytes(std::as_bytes(std::span(unknown.bytes))));
}

}  // namespace SYC
