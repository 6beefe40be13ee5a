#pragma once

#include "BinCacheHandler/BinCacheHandlerException.hpp"
#include "IO/ExclusiveFile.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Array.hpp"
#include "PerformanceData.hpp"

#include <optional>

/// The folder of a log cache. Failures are BinCacheHandlerExceptions with the message of their
/// step.
namespace SYC::Detail::LogCacheFiles {

inline constexpr OV::UniStringView Extension = u".che";
inline constexpr OV::UniStringView StatisticsName = u"performance.che";

/// The place `name` in `folder`; throws `message` when it would be none, or another than that.
[[nodiscard]] IO::Location Form(const IO::Location& folder, OV::UniStringView name,
                                OV::StringView message, int line = __builtin_LINE());

/// Runs `step`; its failures become `message`.
template <class Step>
auto Try(OV::StringView message, Step&& step, int line = __builtin_LINE())
{
    try {
        return step();
    } catch (const IO::IOException& cause) {
        throw BinCacheHandlerException(message, cause.Clone(), line);
    }
}

/// Makes the folder of the cache `name`.
[[nodiscard]] IO::Location MakeFolder(const OV::UniString& name);
/// The names of the files, sorted.
[[nodiscard]] OV::Array<OV::UniString> Names(const IO::Location& folder);
/// Waits for as long as another process, or another thread, holds the marker; throws
/// OV::InterruptedException when the calling thread is asked to stop.
[[nodiscard]] IO::ExclusiveFile HoldMarker(const IO::Location& folder);
void DeleteMarker(IO::ExclusiveFile marker);

/// Nothing when the file cannot be read, which is logged; of a damaged one what stands before the
/// damage. Throws OV::Exception for another version.
[[nodiscard]] std::optional<PerformanceData> ReadStatistics(const IO::Location& folder);
/// Leaves the file of a newer version as it is. Without `isChanged`, one that is there already,
/// too.
void WriteStatistics(const IO::Location& folder, const PerformanceData& data, bool isChanged);

}  // namespace SYC::Detail::LogCacheFiles
