#include "Targets.hpp"

#include "Messaging/ClientMail.hpp"
#include "OVRoot/MemoryChannels.hpp"

#include <optional>

namespace {

std::optional<SYC::ClientMail> Read(OV::StringView bytes)
{
    try {
        OV::MemoryIChannelX channel(bytes);
        return SYC::ClientMail(channel);
    } catch (const OV::ChannelException&) {
        return std::nullopt;
    }
}

OV::String Write(SYC::ClientMail& mail)
{
    OV::MemoryOChannelX channel;
    mail.Serialize(channel);
    return channel.TakeBytes();
}

}  // namespace

void Fuzz::MailCompact(OV::StringView bytes)
{
    auto mail = Read(bytes);
    if (!mail)
        return;
    const auto written = Write(*mail);
    auto again = Read(written);
    Promise(again.has_value(), "what was read can be written and read");
    Promise(*again == *mail, "a mail comes back as it was written");
    Promise(Write(*again) == written, "equal mails are equal bytes");
}
