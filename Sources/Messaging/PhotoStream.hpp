#pragma once

#include "Display/NativeImage.hpp"
#include "OVRoot/Channel.hpp"

/// Members' photos on binary channels: an unsigned 32-bit count of bytes and that many bytes of
/// PNG; a count of 0 for no photo. A photo is an ornament, so neither operation ever fails a
/// record: both return 0.
namespace SYC {

/// Writes an image that has no PNG file within NewDisplay::MaxEncodedBytes as none.
std::int32_t WritePhoto(OV::OChannel& channel, const NewDisplay::NativeImage& image);

/// Reads the form that WritePhoto writes; JPEG bytes are read as well. `image` becomes empty when
/// there is no photo, when it cannot be decoded, and when the channel ends before it; as long as
/// the channel gives them, all bytes of the count are consumed. Memory grows with the bytes that
/// arrive, and those of a photo beyond NewDisplay::MaxEncodedBytes are passed over.
std::int32_t ReadPhoto(OV::IChannel& channel, NewDisplay::NativeImage& image);

}  // namespace SYC
