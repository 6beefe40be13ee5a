#include "Display/Detail/Cairo.hpp"
#include "Display/Detail/Codecs.hpp"
#include "Display/ImageException.hpp"

#include <cstring>

namespace NewDisplay::Detail {

namespace {

/// Behind the signature: length and name of the first chunk, then width and height.
constexpr OV::StringView FirstChunk{"\0\0\0\x0dIHDR", 8};
constexpr std::size_t WidthAt = 16;
constexpr std::size_t HeightAt = 20;
constexpr std::size_t HeaderEnd = 24;

std::uint32_t BigEndian(OV::StringView bytes, std::size_t at)
{
    std::uint32_t number = 0;
    for (const char byte : bytes.substr(at, 4))
        number = number << 8 | static_cast<unsigned char>(byte);
    return number;
}

/// cairo reports a damaged file as out of memory, and takes memory for any size.
void RequireDecodableHeader(OV::StringView bytes)
{
    if (bytes.size() < HeaderEnd || bytes.substr(PngSignature.size(), 8) != FirstChunk)
        throw ImageException("A PNG picture cannot be decoded: it has no header.");
    RequireDecodableSize(BigEndian(bytes, WidthAt), BigEndian(bytes, HeightAt));
}

cairo_status_t ReadPiece(void* closure, unsigned char* target, unsigned int count)
{
    auto& rest = *static_cast<OV::StringView*>(closure);
    if (rest.size() < count)
        return CAIRO_STATUS_READ_ERROR;
    std::memcpy(target, rest.data(), count);
    rest.remove_prefix(count);
    return CAIRO_STATUS_SUCCESS;
}

cairo_status_t WritePiece(void* closure, const unsigned char* source, unsigned int count)
{
    return AppendEncoded(*static_cast<OV::String*>(closure), source, count)
               ? CAIRO_STATUS_SUCCESS
               : CAIRO_STATUS_WRITE_ERROR;
}

NativeImage TakePixels(cairo_surface_t* surface)
{
    const auto format = cairo_image_surface_get_format(surface);
    if (format != CAIRO_FORMAT_ARGB32 && format != CAIRO_FORMAT_RGB24)
        throw ImageException("A PNG picture has pixels of an unknown form.");
    const NativeImage::Pixel opaque = format == CAIRO_FORMAT_RGB24 ? 0xFF000000 : 0;
    const auto width = static_cast<std::size_t>(cairo_image_surface_get_width(surface));
    const auto height = static_cast<std::size_t>(cairo_image_surface_get_height(surface));
    std::vector<NativeImage::Pixel> pixels(width * height);
    const unsigned char* row = cairo_image_surface_get_data(surface);
    for (std::size_t y = 0; y < height; ++y, row += cairo_image_surface_get_stride(surface))
        std::memcpy(&pixels[y * width], row, width * sizeof(NativeImage::Pixel));
    for (auto& pixel : pixels)
        pixel |= opaque;
    return NativeImage::FromPixels(static_cast<int>(width), static_cast<int>(height),
                                   std::move(pixels));
}

}  // namespace

NativeImage DecodePng(OV::StringView bytes)
{
    RequireDecodableHeader(bytes);
    const Surface surface(cairo_image_surface_create_from_png_stream(ReadPiece, &bytes));
    const auto status = cairo_surface_status(surface.get());
    if (status == CAIRO_STATUS_READ_ERROR)
        throw ImageException("A PNG picture cannot be decoded: it is cut off.");
    if (status != CAIRO_STATUS_SUCCESS)
        throw ImageException("A PNG picture cannot be decoded: it is damaged, or memory is out.");
    return TakePixels(surface.get());
}

OV::String EncodePng(const NativeImage& image)
{
    OV::String file;
    const auto surface = MakeSurface(image);
    if (cairo_surface_write_to_png_stream(surface.get(), WritePiece, &file) != CAIRO_STATUS_SUCCESS)
        throw ImageException(OV::StringView(
            "A picture cannot be encoded as PNG: the file gets too long, or memory is out."));
    return file;
}

}  // namespace NewDisplay::Detail
