#pragma once

#include "Cache/CacheInfoValues.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"

/// The layout of "CacheInfo.xml"; see Docs/Formats.md.
namespace SYC::CacheInfoFormat {

inline constexpr OV::UniStringView FileName = u"CacheInfo.xml";
/// The version whose values are known. It is written, unless the file is a newer client's.
inline constexpr std::uint16_t DataVersion = 6;

struct Content {
    std::uint16_t dataVersion = 0;
    CacheInfoValues values;
    CacheInfoAdditions additions;

    /// Written by a newer client, which may have added what is unknown here.
    [[nodiscard]] bool IsNewer() const noexcept { return dataVersion > DataVersion; }
};

/// Reads a whole document. Values that its version does not have yet keep their defaults, apart
/// from the project version, which old files imply. Throws OV::XMLChannelException.
[[nodiscard]] Content Read(OV::XMLIChannel& channel);

/// Every value, in the form of DataVersion, and behind them what a newer client added.
[[nodiscard]] OV::XMLOChannel Write(const CacheInfoValues& values,
                                    const CacheInfoAdditions& additions);

/// `theirs` with each value that differs between `former` and `own` as `own` has it.
[[nodiscard]] CacheInfoValues Merge(const CacheInfoValues& former, const CacheInfoValues& own,
                                    CacheInfoValues theirs);

}  // namespace SYC::CacheInfoFormat
