#pragma once

#include "Display/NativeImage.hpp"
#include "OVRoot/UniString.hpp"

/// The two kinds of files, each in a source of its own. What they say in Decode... and Encode... is
/// that of ImageCoding.hpp; the signature was looked at before.
namespace NewDisplay::Detail {

inline constexpr OV::StringView PngSignature{"\x89PNG\r\n\x1a\n", 8};
inline constexpr OV::StringView JpegSignature{"\xff\xd8\xff", 3};

[[nodiscard]] NativeImage DecodePng(OV::StringView bytes);
[[nodiscard]] OV::String EncodePng(const NativeImage& image);
[[nodiscard]] NativeImage DecodeJpeg(OV::StringView bytes);
[[nodiscard]] OV::String EncodeJpeg(const NativeImage& image);

/// Throws ImageException for a declared size that is not possible.
void RequireDecodableSize(std::int64_t width, std::int64_t height);
/// Appends to an encoded file unless that makes it longer than MaxEncodedBytes or memory is out.
/// False then: it is called by C code, which nothing may be thrown through.
[[nodiscard]] bool AppendEncoded(OV::String& file, const void* bytes, std::size_t count) noexcept;

}  // namespace NewDisplay::Detail
