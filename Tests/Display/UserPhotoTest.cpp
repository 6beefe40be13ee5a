#include "DisplayTest.hpp"

#include "Display/ImageCoding.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Resources.hpp"
#include "UserInterface/UserPhoto.hpp"

#include <algorithm>

namespace {

using SYC::GetUserPhoto;

NativeImage Resource(int number)
{
    return NewDisplay::DecodeImage(OV::GetPictureResource(number), u"image/png");
}

/// Red grows from left to right, green downwards, and blue changes from pixel to pixel.
NativeImage Slope(int width, int height)
{
    std::vector<Pixel> pixels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixels.push_back(0xFF000000 | Pixel(255 * (x + 0.5) / width) << 16 |
                             Pixel(255 * (y + 0.5) / height) << 8 | ((x + y) % 2 == 0 ? 0xFF : 0));
    return NativeImage::FromPixels(width, height, std::move(pixels));
}

constexpr Pixel Red = 0xFFFF0000;
constexpr Pixel Veil = 0xB4B4B4B4;
constexpr int BadgeSide = 9;

}  // namespace

TEST(UserPhotoTest, CentresThePhotoAndDimsItAndNothingElse)
{
    const auto badge = Resource(SYC::Picture::DimmedBadge);
    ASSERT_EQ(std::pair(badge.GetWidth(), badge.GetHeight()), std::pair(BadgeSide, BadgeSide));
    // A photo, its place, and where it ends there.
    const struct {
        int photoWidth, photoHeight, width, height, right, bottom;
    } places[] = {{100, 100, 50, 60, 50, 55},   {100, 120, 50, 60, 50, 60},
                  {30, 100, 50, 60, 34, 60},    {1, 1, 50, 60, 50, 55},
                  {4000, 4000, 60, 50, 55, 50}, {7, 49, 1, 7, 1, 7}};
    for (const auto& [photoWidth, photoHeight, width, height, right, bottom] : places) {
        const auto photo = Uniform(photoWidth, photoHeight, Red);
        const auto plain = GetUserPhoto(photo, width, height, false, false);
        const auto dimmed = GetUserPhoto(photo, width, height, true, true);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                SCOPED_TRACE(testing::Message() << photoWidth << ": " << x << ' ' << y);
                const bool isInside =
                    x >= width - right && x < right && y >= height - bottom && y < bottom;
                const int badgeX = x - (right - BadgeSide), badgeY = y - (bottom - BadgeSide);
                Pixel expected = isInside ? Red : 0;
                ASSERT_TRUE(Near(plain.GetPixel(x, y), expected, 1)) << plain.GetPixel(x, y);
                if (isInside)
                    expected = Over(Veil, expected);
                if (isInside && badgeX >= 0 && badgeY >= 0)
                    expected = Over(badge.GetPixel(badgeX, badgeY), expected);
                ASSERT_TRUE(Near(dimmed.GetPixel(x, y), expected, 2)) << dimmed.GetPixel(x, y);
            }
    }
}

TEST(UserPhotoTest, APixelIsTheMeanOfTheAreaThatItCovers)
{
    const struct {
        int photoWidth, photoHeight, width, height;
    } sizes[] = {{100, 120, 50, 60},  {333, 517, 50, 60}, {1000, 1000, 33, 20},
                 {1500, 990, 50, 60}, {101, 97, 50, 60},  {10, 10, 50, 60},
                 {5, 3, 1000, 30},    {1, 1, 50, 60},     {20000, 1, 100, 100},
                 {20000, 40, 1, 1},   {3, 2, 1, 20000}};
    for (const auto& [photoWidth, photoHeight, width, height] : sizes) {
        SCOPED_TRACE(testing::Message() << photoWidth << 'x' << photoHeight << ' ' << width);
        const auto image =
            GetUserPhoto(Slope(photoWidth, photoHeight), width, height, false, false);
        const double scale = std::min(double(width) / photoWidth, double(height) / photoHeight);
        const double across = scale * photoWidth, down = scale * photoHeight;
        // Not where an edge cuts a pixel, or where a photo that is enlarged has no neighbour.
        const double besideX = std::max(1 / across, 0.5 / photoWidth),
                     besideY = std::max(1 / down, 0.5 / photoHeight);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const double u = (x + 0.5 - (width - across) / 2) / across,
                             v = (y + 0.5 - (height - down) / 2) / down;
                if (std::abs(u - 0.5) > 0.5 - besideX || std::abs(v - 0.5) > 0.5 - besideY)
                    continue;
                const auto pixel = image.GetPixel(x, y);
                ASSERT_NEAR(pixel >> 16 & 0xFF, 255 * u, 5) << x << ' ' << y;
                ASSERT_NEAR(pixel >> 8 & 0xFF, 255 * v, 5) << x << ' ' << y;
                if (scale <= 0.5) {
                    ASSERT_NEAR(pixel & 0xFF, 127, 10) << x << ' ' << y;
                }
            }
    }
    const auto large = GetUserPhoto(Uniform(30, 1, Red), 20000, 800, false, true);
    EXPECT_EQ(large.GetPixel(19999, 65), 0u) << "the band above";
    EXPECT_NE(large.GetPixel(19999, 400), 0u);
    EXPECT_EQ(large.GetPixel(0, 799), 0u) << "the band below";
}

TEST(UserPhotoTest, StandsInForAMissingPhotoWhenAsked)
{
    EXPECT_TRUE(GetUserPhoto({}, 50, 60, false, true).IsEmpty());
    const auto portrait = Resource(SYC::Picture::StandInPhoto);
    const auto image = GetUserPhoto({}, 50, 60, true, false);
    ASSERT_EQ(image.GetWidth(), 50);
    ASSERT_EQ(image.GetHeight(), 60);
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 50; ++x)
            EXPECT_EQ(image.GetPixel(x, y) >> 24, 255u) << x << ' ' << y;
    // Whole pixels of the portrait at its own size, means of four at half.
    EXPECT_EQ(GetUserPhoto({}, 100, 120, true, false), portrait);
    EXPECT_TRUE(Near(image.GetPixel(25, 25), portrait.GetPixel(50, 50), 2));
}

TEST(UserPhotoTest, RefusesAPlaceOfNoPossibleSizeWhateverThePhoto)
{
    for (const auto& photo : {NativeImage(), Uniform(1, 1, Red)})
        for (const auto& [width, height] : {std::pair{0, 60}, {50, 0}, {-1, 60}, {50000, 50000}})
            EXPECT_THROW((void)GetUserPhoto(photo, width, height, false, false),
                         OV::IllegalArgumentException);
    EXPECT_THROW((void)OV::GetPictureResource(1000), OV::IllegalReferenceException);
}
