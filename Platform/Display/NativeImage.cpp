#include "Display/NativeImage.hpp"

#include "OVRoot/Exception.hpp"

#include <algorithm>

namespace NewDisplay {

namespace {

void RequirePossibleSize(int width, int height)
{
    if (!NativeImage::IsPossibleSize(width, height))
        throw OV::IllegalArgumentException("An image cannot have " + std::to_string(width) + " x " +
                                           std::to_string(height) + " pixels.");
}

}  // namespace

bool NativeImage::IsPossibleSize(std::int64_t width, std::int64_t height) noexcept
{
    return width > 0 && height > 0 && width <= MaxSide && height <= MaxSide &&
           width * height <= MaxPixels;
}

NativeImage NativeImage::Create(int width, int height)
{
    RequirePossibleSize(width, height);
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return FromPixels(width, height, std::vector<Pixel>(count));
}

NativeImage NativeImage::FromPixels(int width, int height, std::vector<Pixel> pixels)
{
    RequirePossibleSize(width, height);
    if (pixels.size() != static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        throw OV::IllegalArgumentException(
            "The number of pixels does not fit the size of the image.");
    NativeImage image;
    image.content_ = std::make_shared<const Content>(Content{width, height, std::move(pixels)});
    return image;
}

NativeImage::Pixel NativeImage::GetPixel(int x, int y) const
{
    if (x < 0 || y < 0 || x >= GetWidth() || y >= GetHeight())
        throw OV::IllegalArgumentException("There is no such pixel in the image.");
    return content_->pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(GetWidth()) +
                            static_cast<std::size_t>(x)];
}

std::span<const NativeImage::Pixel> NativeImage::GetPixels() const noexcept
{
    return content_ ? std::span<const Pixel>(content_->pixels) : std::span<const Pixel>();
}

bool NativeImage::operator==(const NativeImage& other) const noexcept
{
    if (content_ == other.content_)
        return true;
    return GetWidth() == other.GetWidth() && GetHeight() == other.GetHeight() &&
           std::ranges::equal(GetPixels(), other.GetPixels());
}

}  // namespace NewDisplay
