#pragma once

#include "Display/NativeImage.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// Pictures of the library, by the numbers of its resources.
namespace Picture {
/// For who has no photo.
inline constexpr int StandInPhoto = 1001;
/// Laid over the photo of who is not at work.
inline constexpr int DimmedBadge = 1002;
}  // namespace Picture

/// A member's photo for a place of `width` by `height` pixels: scaled to fit without distortion,
/// centred, with transparent bands where it is narrower or lower. A missing photo is replaced by
/// the stand-in portrait when `useDefault` is true and gives the empty image otherwise. `dimmed`
/// lays a white veil over the photo and a badge into its lower right corner; the bands stay clear
/// of both.
///
/// Throws OV::IllegalArgumentException, whatever the photo, unless
/// NewDisplay::NativeImage::IsPossibleSize(width, height). Safe on any thread.
[[nodiscard]] SYC_API NewDisplay::NativeImage GetUserPhoto(const NewDisplay::NativeImage& photo,
                                                           int width, int height, bool useDefault,
                                                           bool dimmed);

}  // namespace SYC
