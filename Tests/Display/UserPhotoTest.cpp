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

/// How much of the unit interval at `at` lies between two edges.
double Covered(int at, double from, double to)
{
    return std::max(0.0, std::min(at + 1.0, to) - std::max<double>(at, from));
}

constexpr Pixel Red = 0xFFFF0000;
constexpr Pixel Veil = 0xB4B4B4B4;
constexpr int BadgeSide = 9;

/// A red photo and where it lands.
struct Geometry {
    int photoWidth, photoHeight;
    int width, height;
    double left, top, right, bottom;
};

constexpr Geometry Geometries[] = {
    {100, 100, 50, 60, 0, 5, 50, 55},     {200, 100, 50, 60, 0, 17.5, 50, 42.5},
    {100, 120, 50, 60, 0, 0, 50, 60},     {30, 100, 50, 60, 16, 0, 34, 60},
    {1, 1, 50, 60, 0, 5, 50, 55},         {4000, 4000, 60, 50, 5, 0, 55, 50},
    {100, 10, 50, 60, 0, 27.5, 50, 32.5}, {7, 49, 1, 7, 0, 0, 1, 7},
};

/// Whether a pixel is what it has to be under the veil and the badge. Those that an edge cuts are
/// only bound to show something.
bool IsDimmed(const Geometry& g, const NativeImage& badge, int x, int y, Pixel pixel)
{
    const double covered = Covered(x, g.left, g.right) * Covered(y, g.top, g.bottom);
    const double badgeX = x - (g.right - BadgeSide);
    const double badgeY = y - (g.bottom - BadgeSide);
    if (covered < 1)
        return (pixel == 0) == (covered == 0);
    const auto veiled = Over(Veil, Red);
    if (badgeX < 0 || badgeY <= -1)
        return Near(pixel, veiled, 2);
    if (badgeY != std::floor(badgeY))
        return true;
    return badgeY < 0 ? Near(pixel, veiled, 2)
                      : Near(pixel, Over(badge.GetPixel(int(badgeX), int(badgeY)), veiled), 2);
}

}  // namespace

TEST(UserPhotoTest, CentresThePhotoAndDimsItAndNothingElse)
{
    const auto badge = Resource(SYC::Picture::DimmedBadge);
    ASSERT_EQ(std::pair(badge.GetWidth(), badge.GetHeight()), std::pair(BadgeSide, BadgeSide));
    for (const auto& g : Geometries) {
        const auto photo = Uniform(g.photoWidth, g.photoHeight, Red);
        const auto plain = GetUserPhoto(photo, g.width, g.height, false, false);
        const auto dimmed = GetUserPhoto(photo, g.width, g.height, true, true);
        ASSERT_EQ(plain.GetWidth(), g.width);
        ASSERT_EQ(plain.GetHeight(), g.height);
        for (int y = 0; y < g.height; ++y)
            for (int x = 0; x < g.width; ++x) {
                const double covered = Covered(x, g.left, g.right) * Covered(y, g.top, g.bottom);
                const auto alpha = static_cast<Pixel>(std::lround(255 * covered));
                EXPECT_TRUE(Near(plain.GetPixel(x, y), alpha << 24 | alpha << 16, 1))
                    << x << ' ' << y << ' ' << std::hex << plain.GetPixel(x, y);
                EXPECT_TRUE(IsDimmed(g, badge, x, y, dimmed.GetPixel(x, y)))
                    << g.photoWidth << ": " << x << ' ' << y << std::hex << ' '
                    << dimmed.GetPixel(x, y);
            }
    }
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
