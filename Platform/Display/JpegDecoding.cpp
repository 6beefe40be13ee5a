#include "Display/Detail/Codecs.hpp"
#include "Display/Detail/Jpeg.hpp"

#include <jerror.h>

#include <algorithm>
#include <array>

namespace NewDisplay::Detail {

namespace {

/// A progressive picture is kept whole as coefficients: 2 bytes each, 4 colours of 4096 x 4096, and
/// room.
constexpr long MaxWorkingBytes = 192L * 1024 * 1024;
/// A few bytes make a further scan, which costs a pass over the whole picture. Cameras write about
/// ten.
constexpr int MaxScans = 100;

/// Warnings that mean lost or made-up pixels; others, such as stray bytes between marks, are
/// harmless.
constexpr std::array LosingWarnings{JWRN_HIT_MARKER, JWRN_JPEG_EOF, JWRN_HUFF_BAD_CODE,
                                    JWRN_ARITH_BAD_CODE, JWRN_MUST_RESYNC};

void RefuseLosses(j_common_ptr info, int level)
{
    constexpr int warning = -1;
    if (level == warning && std::ranges::count(LosingWarnings, info->err->msg_code) > 0)
        info->err->error_exit(info);
}

void RefuseManyScans(j_common_ptr info)
{
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > MaxScans)
        ERREXIT(info, JERR_BAD_PROGRESSION);
}

class Decoder {
public:
    Decoder()
    {
        info_.err = errors_.Manager();
        errors_.Manager()->emit_message = RefuseLosses;
        progress_.progress_monitor = RefuseManyScans;
        errors_.Guard([this] { jpeg_create_decompress(&info_); });
        info_.mem->max_memory_to_use = MaxWorkingBytes;
        info_.progress = &progress_;
    }
    ~Decoder() { jpeg_destroy_decompress(&info_); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    NativeImage Decode(OV::StringView bytes)
    {
        errors_.Guard([&] { ReadHeader(bytes); });
        RequireDecodableSize(info_.image_width, info_.image_height);
        const std::size_t width = info_.image_width;
        std::vector<NativeImage::Pixel> pixels(width * info_.image_height);
        errors_.Guard([&] { ReadPixels(pixels.data()); });
        if (info_.out_color_space == JCS_CMYK)
            std::ranges::transform(pixels, pixels.begin(), [this](auto p) { return FromCmyk(p); });
        return NativeImage::FromPixels(static_cast<int>(width),
                                       static_cast<int>(info_.image_height), std::move(pixels));
    }

private:
    void ReadHeader(OV::StringView bytes)
    {
        jpeg_mem_src(&info_, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
        jpeg_read_header(&info_, TRUE);
        const bool isCmyk =
            info_.jpeg_color_space == JCS_CMYK || info_.jpeg_color_space == JCS_YCCK;
        info_.out_color_space = isCmyk ? JCS_CMYK : PixelOrder;
    }

    void ReadPixels(NativeImage::Pixel* pixels)
    {
        jpeg_start_decompress(&info_);
        while (info_.output_scanline < info_.output_height) {
            auto* row = reinterpret_cast<JSAMPROW>(pixels + std::size_t{info_.output_scanline} *
                                                                info_.output_width);
            jpeg_read_scanlines(&info_, &row, 1);
        }
        // Looks for the end mark: a file that is cut off behind its pixels is one too.
        jpeg_finish_decompress(&info_);
    }

    /// Programs that leave an Adobe mark store the four inks as their complements.
    [[nodiscard]] NativeImage::Pixel FromCmyk(NativeImage::Pixel inks) const
    {
        const unsigned char flip = info_.saw_Adobe_marker ? 0 : 0xFF;
        std::array<unsigned char, 4> bytes{};
        std::memcpy(bytes.data(), &inks, sizeof inks);
        const NativeImage::Pixel black = bytes[3] ^ flip;
        NativeImage::Pixel pixel = 0xFF;
        for (std::size_t i = 0; i < 3; ++i)
            pixel = pixel << 8 | ((bytes[i] ^ flip) * black + 127) / 255;
        return pixel;
    }

    JpegErrors errors_{"A JPEG picture cannot be decoded: "};
    jpeg_progress_mgr progress_{};
    jpeg_decompress_struct info_{};
};

}  // namespace

NativeImage DecodeJpeg(OV::StringView bytes)
{
    return Decoder().Decode(bytes);
}

}  // namespace NewDisplay::Detail
