#include "Messaging/Detail/MailSnapshot.hpp"

#include "Messaging/Detail/MailPlaces.hpp"

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

OV::String MailSnapshot::Encode(const MailFile::UnknownRecords& unknown, MailPlaces& places) const
{
    if (mails_->size() > std::numeric_limits<std::uint32_t>::max() - unknown.count)
        throw OV::ChannelException("The mails are too many for one file.");
    // A box of many megabytes that grows by doubling is copied and held twice on the way.
    ByteCounter counter;
    Write(0, counter, [](const ClientMail&, const MailActions::Carried&) {});
    OV::MemoryOChannel channel;
    channel.Reserve(sizeof(std::uint32_t) + counter.Count() + unknown.bytes.size());
    RequireOk(channel.Write(static_cast<std::uint32_t>(mails_->size() + unknown.count)));
    places = MailPlaces();
    Write(0, channel, places);
    RequireOk(channel.WriteBytes(std::as_bytes(std::span(unknown.bytes))));
    return channel.TakeBytes();
}

OV::String MailSnapshot::EncodeFrom(std::size_t first, MailPlaces& places) const
{
    OV::MemoryOChannel channel;
    Write(first, channel, places);
    return channel.TakeBytes();
}

void MailSnapshot::Write(std::size_t first, OV::MemoryOChannel& channel, MailPlaces& places) const
{
    std::size_t begin = channel.Bytes().size();
    Write(first, channel, [&](const ClientMail& mail, const MailActions::Carried& actions) {
        places.Add(mail, OV::StringView(channel.Bytes()).substr(begin),
                   actions.unknown ? OV::StringView(actions.unknown->bytes) : OV::StringView());
        begin = channel.Bytes().size();
    });
}

template <class Channel, class Written>
void MailSnapshot::Write(std::size_t first, Channel& channel, Written written) const
{
    static const auto& none = *new MailActions::Carried;
    auto carried = actions_.begin();
    while (carried != actions_.end() && carried->place < first)
        ++carried;
    for (std::size_t place = first; place < mails_->size(); ++place) {
        const bool isCarrier = carried != actions_.end() && carried->place == place;
        const auto& actions = isCarrier ? carried++->sealed : none;
        RequireOk((*mails_)[place]->WriteWith(actions, channel));
        written(*(*mails_)[place], actions);
    }
}

}  // namespace SYC
