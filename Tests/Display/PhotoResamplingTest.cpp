#include "DisplayTest.hpp"

#include "UserInterface/UserPhoto.hpp"

#include <algorithm>
#include <array>

namespace {

using SYC::GetUserPhoto;

/// Premultiplied, in parts of 255, from the highest byte to the lowest.
using Channels = std::array<double, 4>;

Channels Split(Pixel pixel)
{
    return {double(pixel >> 24), double(pixel >> 16 & 0xFF), double(pixel >> 8 & 0xFF),
            double(pixel & 0xFF)};
}

/// How a stretch of one axis is made of pixels: their numbers and weights, which add up to 1.
struct Part {
    int pixel;
    double weight;
};

/// Of a reduced picture: everything between two places, by how much of it lies there.
std::vector<Part> Between(double from, double to, int side)
{
    from = std::clamp(from, 0.0, double(side));
    to = std::clamp(to, 0.0, double(side));
    std::vector<Part> parts;
    for (int pixel = int(from); pixel < side && pixel < to; ++pixel)
        parts.push_back(
            {pixel, (std::min(pixel + 1.0, to) - std::max<double>(pixel, from)) / (to - from)});
    return parts;
}

/// Of an enlarged picture: the two pixels whose middles lie around a place.
std::vector<Part> Around(double place, int side)
{
    const double before = std::floor(place - 0.5);
    const auto inside = [side](double pixel) { return std::clamp(int(pixel), 0, side - 1); };
    const double second = place - 0.5 - before;
    return {{inside(before), 1 - second}, {inside(before + 1), second}};
}

/// What a photo fitted into a place has to look like: each pixel the mean of the area of the photo
/// that it covers (or, enlarged, a line between neighbours), as far as the photo covers it. Nothing
/// of the library's drawing is used.
class Expected {
public:
    Expected(const NativeImage& photo, int width, int height)
        : photo_(photo),
          scale_(std::min(double(width) / photo.GetWidth(), double(height) / photo.GetHeight())),
          left_((width - scale_ * photo.GetWidth()) / 2),
          top_((height - scale_ * photo.GetHeight()) / 2)
    {}

    [[nodiscard]] Channels At(int x, int y) const
    {
        const auto across = Axis(x, left_, photo_.GetWidth());
        const auto down = Axis(y, top_, photo_.GetHeight());
        Channels sum{};
        for (const auto& [row, rowWeight] : down)
            for (const auto& [column, weight] : across)
                Add(sum, Split(photo_.GetPixel(column, row)), rowWeight * weight);
        Channels result{};
        Add(result, sum, CoverageAt(x, y));
        return result;
    }

    [[nodiscard]] double CoverageAt(int x, int y) const
    {
        return Covered(x, left_, photo_.GetWidth()) * Covered(y, top_, photo_.GetHeight());
    }

private:
    [[nodiscard]] std::vector<Part> Axis(int at, double begin, int side) const
    {
        return scale_ < 1 ? Between((at - begin) / scale_, (at + 1 - begin) / scale_, side)
                          : Around((at + 0.5 - begin) / scale_, side);
    }
    static void Add(Channels& sum, const Channels& value, double weight)
    {
        for (std::size_t i = 0; i < sum.size(); ++i)
            sum[i] += value[i] * weight;
    }
    [[nodiscard]] double Covered(int at, double begin, int side) const
    {
        return std::max(0.0,
                        std::min(at + 1.0, begin + scale_ * side) - std::max<double>(at, begin));
    }

    const NativeImage& photo_;
    double scale_;
    double left_;
    double top_;
};

/// A portrait's kind of picture: soft, with a half-transparent corner.
NativeImage Soft(int width, int height)
{
    std::vector<Pixel> pixels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double u = (x + 0.5) / width, v = (y + 0.5) / height;
            const double alpha = u + v > 1.5 ? 0.5 : 1;
            const auto part = [&](double value) { return Pixel(std::lround(255 * alpha * value)); };
            pixels.push_back(part(1) << 24 | part(u) << 16 | part(v) << 8 |
                             part(0.5 + 0.5 * std::sin(9 * u) * std::cos(7 * v)));
        }
    return NativeImage::FromPixels(width, height, std::move(pixels));
}

struct Difference {
    double inside = 0;
    double edge = 0;
    double mean = 0;
};

Difference Compare(const NativeImage& photo, int width, int height)
{
    const auto rendered = GetUserPhoto(photo, width, height, false, false);
    const Expected expected(photo, width, height);
    Difference difference;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const auto got = Split(rendered.GetPixel(x, y));
            const auto wanted = expected.At(x, y);
            for (std::size_t i = 0; i < got.size(); ++i) {
                auto& largest =
                    expected.CoverageAt(x, y) < 0.999 ? difference.edge : difference.inside;
                largest = std::max(largest, std::abs(got[i] - wanted[i]));
                difference.mean += std::abs(got[i] - wanted[i]) / (4.0 * width * height);
            }
        }
    return difference;
}

}  // namespace

TEST(PhotoResamplingTest, EveryPixelIsWhatTheAreaOfThePhotoMakesIt)
{
    // Weights are rounded. To less than a sixteenth a picture is brought in two steps; along an
    // edge that cuts pixels, what lies a little beyond it counts too.
    constexpr double InsideTolerance = 4.5, InTwoSteps = 10, EdgeTolerance = 20, MeanTolerance = 1;
    const struct {
        int photoWidth, photoHeight, width, height;
    } sizes[] = {
        {100, 120, 50, 60},   {100, 100, 50, 60},   {200, 100, 50, 60},   {333, 517, 50, 60},
        {1000, 1000, 33, 20}, {1500, 990, 50, 60},  {101, 97, 50, 60},    {50, 60, 50, 60},
        {49, 60, 50, 60},     {10, 10, 50, 60},     {1, 1, 50, 60},       {5, 3, 1000, 30},
        {1200, 1200, 1, 1},   {20000, 1, 100, 100}, {1, 20000, 100, 100}, {20000, 40, 1, 1},
        {3, 2, 20000, 1},     {3, 2, 1, 20000},     {7, 1, 20000, 5},
    };
    for (const auto& [photoWidth, photoHeight, width, height] : sizes)
        for (const auto& photo : {Soft(photoWidth, photoHeight), Noise(photoWidth, photoHeight)}) {
            SCOPED_TRACE(testing::Message()
                         << photoWidth << 'x' << photoHeight << " into " << width << 'x' << height);
            const auto difference = Compare(photo, width, height);
            const bool twoSteps = photoWidth > 16 * width || photoHeight > 16 * height;
            EXPECT_LE(difference.inside, twoSteps ? InTwoSteps : InsideTolerance);
            EXPECT_LE(difference.edge, EdgeTolerance);
            EXPECT_LE(difference.mean, MeanTolerance);
        }
}

TEST(PhotoResamplingTest, ALargePlaceIsFilledAndDimmedToItsLastPixel)
{
    const auto photo = GetUserPhoto(Soft(30, 1), 20000, 800, false, true);
    EXPECT_EQ(photo.GetPixel(19999, 65), 0u) << "the band above";
    EXPECT_NE(photo.GetPixel(19999, 400), 0u);
    EXPECT_EQ(photo.GetPixel(0, 799), 0u) << "the band below";
}
