#include "DisplayTest.hpp"

#include "Display/ImageCoding.hpp"
#include "Support/Thrown.hpp"

#include <gmock/gmock.h>

#include <array>

namespace {

using NewDisplay::DecodeImage;
using NewDisplay::EncodeImage;
using NewDisplay::ImageException;
using NewDisplay::ImageFormat;
using namespace std::string_literals;

constexpr Pixel Opaque[] = {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFF102030, 0xFFC86432, 0xFFFFFFFF};
constexpr Pixel Translucent[] = {0xFFFF0000, 0x80008000, 0x00000000,
                                 0xFF102030, 0x4032190D, 0xFFFFFFFF};
constexpr Pixel Greys[] = {0xFF000000, 0xFF555555, 0xFFAAAAAA, 0xFFFFFFFF, 0xFF333333, 0xFFCCCCCC};

struct PngKind {
    const char* file;
    std::array<Pixel, 6> pixels;
};

const PngKind PngKinds[] = {
    {"grey1.png", {0xFF000000, 0xFFFFFFFF, 0xFF000000, 0xFFFFFFFF, 0xFF000000, 0xFFFFFFFF}},
    {"grey8.png", std::to_array(Greys)},
    {"grey16.png", std::to_array(Greys)},
    {"grey_alpha8.png", {0xFF000000, 0x802B2B2B, 0, 0xFFFFFFFF, 0x400D0D0D, 0xFFCCCCCC}},
    {"rgb8.png", std::to_array(Opaque)},
    {"rgb16.png", std::to_array(Opaque)},
    {"rgb8_key.png", {0xFFFF0000, 0, 0xFF0000FF, 0xFF102030, 0xFFC86432, 0xFFFFFFFF}},
    {"palette4.png", std::to_array(Translucent)},
    {"rgba8.png", std::to_array(Translucent)},
    {"rgba16.png", std::to_array(Translucent)},
    {"interlaced.png", std::to_array(Translucent)},
};

struct JpegKind {
    const char* file;
    Pixel left;
    Pixel right;
};

constexpr JpegKind JpegKinds[] = {
    {"grey.jpg", 0xFF282828, 0xFFC8C8C8}, {"ycbcr.jpg", 0xFFFE0000, 0xFFC8C8C8},
    {"rgb.jpg", 0xFFFA0A14, 0xFF0A14FA},  {"cmyk_adobe.jpg", 0xFF803200, 0xFFFFFFFF},
    {"cmyk.jpg", 0xFF803200, 0xFFFFFFFF}, {"progressive.jpg", 0xFF282828, 0xFFC8C8C8},
};

OV::String Patched(OV::String bytes, std::size_t at, const OV::String& patch)
{
    return bytes.replace(at, patch.size(), patch);
}

}  // namespace

TEST(ImageCodingTest, DecodesEveryKindOfPngWhateverItsLabelSays)
{
    for (const auto& kind : PngKinds) {
        const auto image = DecodeImage(Golden(kind.file), u"image/jpeg");
        EXPECT_EQ(image, NativeImage::FromPixels(3, 2, {kind.pixels.begin(), kind.pixels.end()}))
            << kind.file;
    }
}

TEST(ImageCodingTest, DecodesEveryKindOfJpegWhateverItsLabelSays)
{
    for (const auto& kind : JpegKinds) {
        const auto image = DecodeImage(Golden(kind.file), u"image/png");
        ASSERT_EQ(image.GetWidth(), 16) << kind.file;
        ASSERT_EQ(image.GetHeight(), 8) << kind.file;
        for (int x = 0; x < 16; ++x)
            EXPECT_TRUE(Near(image.GetPixel(x, 7), x < 8 ? kind.left : kind.right, 1))
                << kind.file << ' ' << x << std::hex << ' ' << image.GetPixel(x, 7);
    }
}

TEST(ImageCodingTest, RefusesAFileThatIsCutOffAnywhere)
{
    for (const char* name : {"rgba8.png", "interlaced.png", "ycbcr.jpg", "progressive.jpg"}) {
        const auto bytes = Golden(name);
        for (std::size_t size = 0; size < bytes.size(); ++size)
            EXPECT_THROW((void)DecodeImage(bytes.substr(0, size), u""), ImageException)
                << name << ' ' << size;
    }
}

TEST(ImageCodingTest, RefusesAPngWithAnyBitChanged)
{
    const auto bytes = Golden("rgba8.png");
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
        auto changed = bytes;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
        EXPECT_THROW((void)DecodeImage(changed, u""), ImageException) << bit;
    }
}

TEST(ImageCodingTest, SaysWhyItRefuses)
{
    const auto png = Golden("rgba8.png");
    const auto jpeg = Golden("grey.jpg");
    const auto frame = jpeg.find("\xff\xc0"s) + 5;
    const struct {
        OV::String bytes;
        const char* reason;
    } cases[] = {
        {"", R"("image/x-\u000D" cannot be decoded: its bytes are neither PNG nor JPEG)"},
        {"GIF89a", "neither PNG nor JPEG"},
        {OV::String(NewDisplay::MaxEncodedBytes + 1, '\xff'), "16777217 bytes is too long"},
        {Patched(png, 16, "\x7f\xff\xff\xff"s), "2147483647 x 2 pixels"},
        {Patched(png, 16, "\xff\xff\xff\xff\xff\xff\xff\xff"s), "4294967295 x 4294967295 pixels"},
        {Patched(png, 16, "\0\0\0\0"s), "0 x 2 pixels"},
        {Patched(png, 16, "\0\0\x10\x01\0\0\x10\0"s), "4097 x 4096 pixels"},
        {Patched(png, 12, "IDAT"), "no header"},
        {Patched(png, 45, "junk"), "damaged"},
        {png.substr(0, png.size() - 1), "cut off"},
        {Patched(jpeg, frame, "\xff\xdc\xff\xdc"s), "65500 x 65500 pixels"},
        {Patched(jpeg, frame, "\x10\x01\x10\0"s), "4096 x 4097 pixels"},
        {jpeg.substr(0, jpeg.size() - 2), "remature end of"},
        {jpeg.substr(0, 20), "JPEG picture cannot be decoded"},
        {Golden("scan_bomb.jpg"), "JPEG picture cannot be decoded"},
    };
    for (const auto& test : cases)
        EXPECT_THAT(Thrown([&] { (void)DecodeImage(test.bytes, u"image/x-\r"); }).message,
                    testing::HasSubstr(test.reason));
}

TEST(ImageCodingTest, BringsEveryPremultipliedPixelThroughPng)
{
    std::vector<Pixel> pixels;
    for (Pixel alpha = 0; alpha < 256; ++alpha)
        for (Pixel value = 0; value < 256; ++value)
            pixels.push_back(alpha << 24 | std::min(value, alpha) * 0x00010101);
    const auto image = NativeImage::FromPixels(256, 256, pixels);
    EXPECT_EQ(DecodeImage(EncodeImage(image, ImageFormat::Png), u"image/png"), image);
}

TEST(ImageCodingTest, PutsTransparencyOnWhiteInAJpeg)
{
    const auto bytes = EncodeImage(Uniform(9, 5, 0x80400000), ImageFormat::Jpeg);
    const auto image = DecodeImage(bytes, u"image/jpeg");
    ASSERT_EQ(image.GetWidth(), 9);
    EXPECT_TRUE(Near(image.GetPixel(8, 4), 0xFFBF7F7F, 2)) << std::hex << image.GetPixel(8, 4);
}

TEST(ImageCodingTest, EncodesNoEmptyImageAndNoUnknownFormat)
{
    EXPECT_THROW((void)EncodeImage({}, ImageFormat::Png), ImageException);
    EXPECT_THROW((void)EncodeImage(Uniform(1, 1, 0), ImageFormat(3)), ImageException);
}
