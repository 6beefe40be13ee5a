#include "Files/TextChannel.hpp"

#include <algorithm>
#include <array>

namespace SYC::TextChannel {

OV::ChannelStatus Read(OV::IChannel& channel, OV::String& text)
{
    text.clear();
    std::uint32_t rest = 0;
    if (const auto status = channel.Read(rest); status != OV::ChannelOk)
        return status;
    std::array<std::byte, 4096> piece{};
    while (rest > 0) {
        const auto wanted = std::span(piece).first(std::min<std::size_t>(rest, piece.size()));
        const std::size_t arrived = channel.ReadSome(wanted);
        if (arrived == 0)
            return OV::ChannelFailed;
        text.append(reinterpret_cast<const char*>(piece.data()), arrived);
        rest -= static_cast<std::uint32_t>(arrived);
    }
    return OV::ChannelOk;
}

OV::ChannelStatus Read(OV::IChannel& channel, OV::UniString& text)
{
    OV::String bytes;
    const auto status = Read(channel, bytes);
    text = OV::FromUtf8(bytes);
    return status;
}

OV::ChannelStatus Write(OV::OChannel& channel, OV::UniStringView text)
{
    const OV::String bytes = OV::ToUtf8(text);
    if (const auto status = channel.Write(static_cast<std::uint32_t>(bytes.size()));
        status != OV::ChannelOk)
        return status;
    return channel.WriteBytes(std::as_bytes(std::span(bytes.data(), bytes.size())));
}

}  // namespace SYC::TextChannel
