#pragma once

#include "CacheInfoValues.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"

/// The layout of "CacheInfo.xml"; see Docs/Formats.md.
namespace SYC::CacheInfoFormat {

inline constexpr OV::UniStringView FileName = u"CacheInfo.xml";
/// The version that is written, and the last one whose values are known.
inline constexpr std::uint16_t DataVersion = 6;

struct Content {
    std::uint16_t dataVersion = 0;
    CacheInfoValues values;

    /// Written by a newer client; what that client added was left unread.
    [[nodiscard]] bool IsNewer() const noexcept { return dataVersion > DataVersion; }
};

/// Reads a whole document. Values that its version does not have yet keep their defaults, apart
/// from the project version, which old files imply. Throws OV::XMLChannelException.
[[nodiscard]] Content Read(OV::XMLIChannel& channel);

/// Every value, in the form of DataVersion.
[[nodiscard]] OV::XMLOChannel Write(const CacheInfoValues& values);

}  // namespace SYC::CacheInfoFormat
