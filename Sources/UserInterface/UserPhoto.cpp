#include "UserInterface/UserPhoto.hpp"

#include "Display/ImageCoding.hpp"
#include "Display/NativeContext.hpp"
#include "UserInterface/LibResModule.hpp"

#include <algorithm>

namespace SYC {

namespace {

using NewDisplay::NativeContext;
using NewDisplay::NativeImage;

constexpr NewDisplay::Colour Veil{255, 255, 255, 180};

NativeImage Load(int number)
{
    return NewDisplay::DecodeImage(GetLibResModule().GetPicture(number), u"image/png");
}

const NativeImage& StandInPhoto()
{
    static const auto& picture = *new NativeImage(Load(Picture::StandInPhoto));
    return picture;
}

const NativeImage& DimmedBadge()
{
    static const auto& picture = *new NativeImage(Load(Picture::DimmedBadge));
    return picture;
}

struct Placement {
    float scale;
    double x;
    double y;
};

/// In single precision: it decides at which of two nearly equal ratios bands appear.
Placement Fit(const NativeImage& image, int width, int height)
{
    const auto across = static_cast<float>(width);
    const auto down = static_cast<float>(height);
    const auto imageWidth = static_cast<float>(image.GetWidth());
    const auto imageHeight = static_cast<float>(image.GetHeight());
    const float rx = across / imageWidth;
    const float ry = down / imageHeight;
    const float scale = std::min(rx, ry);
    if (ry > rx)
        return {scale, 0, (down - scale * imageHeight) * 0.5};
    return {scale, (across - scale * imageWidth) * 0.5, 0};
}

void Dim(NativeContext& context, const NewDisplay::Rectangle& photo)
{
    context.FillRectangle(photo, Veil);
    const NativeImage& badge = DimmedBadge();
    // A photo can be smaller than its badge.
    context.DrawImageWithin(photo, badge, photo.right - badge.GetWidth(),
                            photo.bottom - badge.GetHeight());
}

}  // namespace

NativeImage GetUserPhoto(const NativeImage& photo, int width, int height, bool useDefault,
                         bool dimmed)
{
    NativeImage result = NativeImage::Create(width, height);
    const NativeImage image = photo.IsEmpty() && useDefault ? StandInPhoto() : photo;
    if (image.IsEmpty())
        return {};
    const auto [scale, x, y] = Fit(image, width, height);
    NativeContext context(result);
    context.DrawImage(image, x, y, scale, scale);
    if (dimmed)
        Dim(context, {x, y, width - x, height - y});
    context.Release();
    return result;
}

}  // namespace SYC
