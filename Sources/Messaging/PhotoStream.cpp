#include "Messaging/PhotoStream.hpp"

#include "Display/ImageCoding.hpp"
#include "OVRoot/FieldStream.hpp"
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
        OV::Logger::Info(OV::Logger::Library, u"SYC::WritePhoto : %", {error.GetMessage()});
        return {};
    }
}

NativeImage Decode(const OV::String& bytes)
{
    try {
        return NewDisplay::DecodeImage(bytes, u"image/png");
    } catch (const NewDisplay::ImageException& error) {
        OV::Logger::Info(OV::Logger::Library, u"SYC::ReadPhoto : %", {error.GetMessage()});
        return {};
    }
}

void PassOver(OV::FieldReader& stream, std::uint32_t count)
{
    std::array<std::byte, 4096> piece;
    while (count > 0 && stream.IsGood()) {
        const auto size = std::min<std::size_t>(count, piece.size());
        stream.Bytes(std::span(piece).first(size));
        count -= static_cast<std::uint32_t>(size);
    }
}

}  // namespace

std::int32_t WritePhoto(OV::OChannel& channel, const NativeImage& image)
{
    const OV::String bytes = Encode(image);
    OV::FieldWriter stream(channel);
    stream(static_cast<std::uint32_t>(bytes.size()));
    stream.Bytes(std::as_bytes(std::span(bytes)));
    return OV::ChannelOk;
}

std::int32_t ReadPhoto(OV::IChannel& channel, NativeImage& image)
{
    image = {};
    OV::FieldReader stream(channel);
    std::uint32_t count = 0;
    stream(count);
    OV::String bytes;
    if (count > NewDisplay::MaxEncodedBytes)
        PassOver(stream, count);
    else
        stream.Block(bytes, count);
    if (stream.IsGood() && !bytes.empty())
        image = Decode(bytes);
    return OV::ChannelOk;
}

}  // namespace SYC
