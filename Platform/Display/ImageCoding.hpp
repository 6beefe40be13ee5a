#pragma once

#include "Display/ImageException.hpp"
#include "Display/NativeImage.hpp"
#include "OVRoot/Export.hpp"

/// Pictures as the bytes of PNG and JPEG files. Safe on any thread.
namespace NewDisplay {

/// Numbers that files and hosts use.
enum class ImageFormat { Png = 1, Jpeg = 2 };

/// 16 MiB: a longer file is neither read nor written.
inline constexpr std::size_t MaxEncodedBytes = 16 * 1024 * 1024;

/// The picture in `bytes`, of media type "image/png" or "image/jpeg". Its first bytes tell which it
/// is, and `mediaType` serves the message alone when they do not: servers hand out what users
/// labelled.
///
/// Every colour type and depth of PNG (16 bits are cut to 8) and grey, colour and four-colour JPEG
/// are read, orientation marks and colour profiles are not regarded. The declared size is held
/// against NativeImage::MaxPixels before memory is taken, and decoding takes less than 400 MiB
/// whatever the bytes say. A file that is too large, cut off or damaged throws ImageException and
/// gives no part.
[[nodiscard]] SYC_API NativeImage DecodeImage(OV::StringView bytes, OV::UniStringView mediaType);

/// PNG is lossless, equal images give equal bytes. JPEG has no transparency: the image is put on
/// white. Throws ImageException for the empty image and for a file above MaxEncodedBytes.
[[nodiscard]] SYC_API OV::String EncodeImage(const NativeImage& image, ImageFormat format);

}  // namespace NewDisplay
