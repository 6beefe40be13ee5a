#include "Messaging/PhotoStream.hpp"

#include "Display/ImageCoding.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <array>

namespace SYC {

namespace {

using NewDisplay::NativeImage;

/// What stands for "the image library's format" in the stream.
constexpr auto StreamFormat = NewDisplay::ImageFormat::Png;

OV::String Encode(const NativeImage& image)
{
    try {
        return image.IsEmpty() ? OV::String() : NewDisplay::EncodeImage(image, StreamFormat);
    } catch (const NewDisplay::ImageException& error) {
        OV::Logger::Info("SYClient", u"SYC::WritePhoto : %", {error.GetMessage()});
        return {};
    }
}

NativeImage Decode(const OV::String& bytes)
{
    try {
        return NewDisplay::DecodeImage(bytes, u"image/png");
    } catch (const NewDisplay::ImageException& error) {
        OV::Logger::Info("SYClient", u"SYC::ReadPhoto : %", {error.GetMessage()});
        return {};
    }
}

void PassOver(OV::IChannel& channel, std::uint32_t count)
{
    std::array<std::byte, 4096> piece;
    auto status = OV::ChannelOk;
    while (count > 0 && status == OV::ChannelOk) {
        const auto size = std::min<std::size_t>(count, piece.size());
        status = channel.ReadBytes(std::span(piece).first(size));
        count -= static_cast<std::uint32_t>(size);
    }
}

}  // namespace

std::int32_t WritePhoto(OV::OChannel& channel, const NativeImage& image)
{
    const OV::String bytes = Encode(image);
    if (channel.Write(static_cast<std::uint32_t>(bytes.size())) == OV::ChannelOk && !bytes.empty())
        (void)channel.WriteBytes(std::as_bytes(std::span(bytes.data(), bytes.size())));
    return OV::ChannelOk;
}

std::int32_t ReadPhoto(OV::IChannel& channel, NativeImage& image)
{
    image = {};
    std::uint32_t count = 0;
    if (channel.Read(count) != OV::ChannelOk || count == 0)
        return OV::ChannelOk;
    OV::String bytes;
    if (count > NewDisplay::MaxEncodedBytes)
        PassOver(channel, count);
    else if (channel.ReadBlock(bytes, count) == OV::ChannelOk)
        image = Decode(bytes);
    return OV::ChannelOk;
}

}  // namespace SYC
