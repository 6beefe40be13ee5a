#include "DisplayTest.hpp"

#include "OVRoot/Exception.hpp"

#include <limits>

using NewDisplay::NativeContext;

TEST(NativeContextTest, ChangesOneOfTheCopiesAndOnlyWhenReleased)
{
    auto image = Uniform(2, 2, 0xFF000000);
    const auto copy = image;
    EXPECT_EQ(copy.GetPixels().data(), image.GetPixels().data());
    {
        NativeContext context(image);
        context.FillRectangle({0, 0, 2, 1}, {10, 20, 30, 255});
        EXPECT_EQ(image, copy);
    }
    EXPECT_EQ(image,
              NativeImage::FromPixels(2, 2, {0xFF0A141E, 0xFF0A141E, 0xFF000000, 0xFF000000}));
    EXPECT_EQ(copy, Uniform(2, 2, 0xFF000000));
}

TEST(NativeContextTest, PaintsPixelsByWhatOfThemIsCovered)
{
    auto image = NativeImage::Create(4, 3);
    NativeContext context(image);
    context.FillRectangle({0.5, 0, 3.25, 1}, {255, 0, 0, 255});
    // An enlarged picture must not fade out into its surroundings.
    context.DrawImage(Uniform(1, 1, 0xFF00FF00), 0, 1.5, 3, 1);
    context.DrawImageWithin({1, 0, 2, 9}, Uniform(9, 9, 0xFF0000FF), -4, 2.5);
    context.Release();
    const Pixel expected[] = {0x80800000, 0xFFFF0000, 0xFFFF0000, 0x40400000,
                              0x80008000, 0x80008000, 0x80008000, 0,
                              0x80008000, 0xBF004080, 0x80008000, 0};
    for (std::size_t i = 0; i < std::size(expected); ++i)
        EXPECT_TRUE(Near(image.GetPixels()[i], expected[i], 1))
            << i << ' ' << std::hex << image.GetPixels()[i];
}

TEST(NativeContextTest, RefusesWhatCannotBeDrawnAndStaysUsable)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const auto source = Uniform(1, 1, 0xFFFFFFFF);
    auto image = NativeImage::Create(2, 1);
    NativeContext context(image);
    for (const double scale : {0.0, -1.0, nan, HUGE_VAL})
        EXPECT_THROW(context.DrawImage(source, 0, 0, scale, 1), OV::IllegalArgumentException);
    EXPECT_THROW(context.DrawImage(source, nan, 0), OV::IllegalArgumentException);
    EXPECT_THROW(context.FillRectangle({0, nan, 1, 1}, {}), OV::IllegalArgumentException);
    context.FillRectangle({1, 1, 0, 0}, {});
    context.DrawImage({}, 0, 0);
    context.DrawImage(source, 1e300, -1e300, 1e-300, 1e300);
    context.DrawImage(source, 1, 0);
    context.Release();
    EXPECT_EQ(image, NativeImage::FromPixels(2, 1, {0, 0xFFFFFFFF}));
    EXPECT_THROW(context.DrawImage(source, 0, 0), OV::NullReferenceException);
    NativeImage empty;
    EXPECT_THROW(NativeContext{empty}, OV::NullReferenceException);
}

TEST(NativeImageTest, HasALargestSize)
{
    EXPECT_EQ(NativeImage::Create(NativeImage::MaxSide, 1).GetWidth(), NativeImage::MaxSide);
    for (const auto& [width, height] : {std::pair{0, 1},
                                        {1, -1},
                                        {NativeImage::MaxSide + 1, 1},
                                        {4097, 4096},
                                        {1 << 30, 1 << 30}})
        EXPECT_THROW((void)NativeImage::Create(width, height), OV::IllegalArgumentException);
    EXPECT_THROW((void)NativeImage::FromPixels(2, 2, {1, 2, 3}), OV::IllegalArgumentException);
    EXPECT_THROW((void)Uniform(2, 2, 0).GetPixel(2, 0), OV::IllegalArgumentException);
    EXPECT_THROW((void)NativeImage().GetPixel(0, 0), OV::IllegalArgumentException);
}
