#include "Display/Detail/Codecs.hpp"
#include "Display/Detail/Jpeg.hpp"

#include <jerror.h>

#include <algorithm>

namespace NewDisplay::Detail {

namespace {

constexpr int Quality = 90;

/// What a premultiplied pixel shows on white.
NativeImage::Pixel OnWhite(NativeImage::Pixel pixel)
{
    const NativeImage::Pixel white = 0xFF - (pixel >> 24);
    return (pixel + white * 0x00010101) | 0xFF000000;
}

/// Collects the file in a text; the library's own collector would lose its memory in a failure.
struct Target {
    jpeg_destination_mgr manager{};
    std::array<unsigned char, 16 * 1024> buffer{};
    OV::String file;

    Target()
    {
        manager.init_destination = [](j_compress_ptr info) { Of(info).Rewind(); };
        manager.empty_output_buffer = [](j_compress_ptr info) -> boolean {
            Of(info).Take(info, Of(info).buffer.size());
            return TRUE;
        };
        manager.term_destination = [](j_compress_ptr info) {
            Of(info).Take(info, Of(info).buffer.size() - Of(info).manager.free_in_buffer);
        };
    }

    static Target& Of(j_compress_ptr info) { return *static_cast<Target*>(info->client_data); }

    void Rewind()
    {
        manager.next_output_byte = buffer.data();
        manager.free_in_buffer = buffer.size();
    }

    void Take(j_compress_ptr info, std::size_t count)
    {
        if (!AppendEncoded(file, buffer.data(), count))
            ERREXIT(info, JERR_FILE_WRITE);
        Rewind();
    }
};

class Encoder {
public:
    Encoder()
    {
        info_.err = errors_.Manager();
        errors_.Guard([this] { jpeg_create_compress(&info_); });
        info_.client_data = &target_;
        info_.dest = &target_.manager;
    }
    ~Encoder() { jpeg_destroy_compress(&info_); }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    OV::String Encode(const NativeImage& image)
    {
        std::vector<NativeImage::Pixel> row(static_cast<std::size_t>(image.GetWidth()));
        errors_.Guard([&] { WriteFile(image, row.data()); });
        return std::move(target_.file);
    }

private:
    void WriteFile(const NativeImage& image, NativeImage::Pixel* row)
    {
        info_.image_width = static_cast<JDIMENSION>(image.GetWidth());
        info_.image_height = static_cast<JDIMENSION>(image.GetHeight());
        info_.input_components = 4;
        info_.in_color_space = PixelOrder;
        jpeg_set_defaults(&info_);
        jpeg_set_quality(&info_, Quality, TRUE);
        jpeg_start_compress(&info_, TRUE);
        const NativeImage::Pixel* source = image.GetPixels().data();
        for (; info_.next_scanline < info_.image_height; source += info_.image_width) {
            std::transform(source, source + info_.image_width, row, OnWhite);
            auto* bytes = reinterpret_cast<JSAMPROW>(row);
            jpeg_write_scanlines(&info_, &bytes, 1);
        }
        jpeg_finish_compress(&info_);
    }

    JpegErrors errors_{"A picture cannot be encoded as JPEG: "};
    Target target_;
    jpeg_compress_struct info_{};
};

}  // namespace

OV::String EncodeJpeg(const NativeImage& image)
{
    return Encoder().Encode(image);
}

}  // namespace NewDisplay::Detail
