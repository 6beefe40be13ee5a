#include "Display/ImageCoding.hpp"

#include "Display/Detail/Codecs.hpp"

namespace NewDisplay {

namespace {

constexpr std::size_t MaxQuotedType = 64;

OV::String Quoted(OV::UniStringView mediaType)
{
    return '"' + OV::ToUtf8(OV::EscapeForCarrier(mediaType.substr(0, MaxQuotedType))) + '"';
}

}  // namespace

NativeImage DecodeImage(OV::StringView bytes, OV::UniStringView mediaType)
{
    if (bytes.size() > MaxEncodedBytes)
        throw ImageException("A picture of " + std::to_string(bytes.size()) +
                             " bytes is too long; at most " + std::to_string(MaxEncodedBytes) +
                             " are read.");
    if (bytes.starts_with(Detail::PngSignature))
        return Detail::DecodePng(bytes);
    if (bytes.starts_with(Detail::JpegSignature))
        return Detail::DecodeJpeg(bytes);
    throw ImageException("A picture of the type " + Quoted(mediaType) +
                         " cannot be decoded: its bytes are neither PNG nor JPEG.");
}

OV::String EncodeImage(const NativeImage& image, ImageFormat format)
{
    if (image.IsEmpty())
        throw ImageException("An empty image cannot be encoded.");
    switch (format) {
    case ImageFormat::Png:
        return Detail::EncodePng(image);
    case ImageFormat::Jpeg:
        return Detail::EncodeJpeg(image);
    }
    throw ImageException("There is no picture format " + std::to_string(static_cast<int>(format)) +
                         ".");
}

namespace Detail {

void RequireDecodableSize(std::int64_t width, std::int64_t height)
{
    if (!NativeImage::IsPossibleSize(width, height))
        throw ImageException("A picture of " + std::to_string(width) + " x " +
                             std::to_string(height) + " pixels cannot be decoded.");
}

bool AppendEncoded(OV::String& file, const void* bytes, std::size_t count) noexcept
{
    if (count > MaxEncodedBytes - file.size())
        return false;
    try {
        file.append(static_cast<const char*>(bytes), count);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace Detail

}  // namespace NewDisplay
