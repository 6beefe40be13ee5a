#pragma once

#include "IO/Location.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "OVRoot/XMLOChannel.hpp"

#include <optional>

namespace SYC {

/// Where the local project data stands, and how the host cleans it up. The units of the times are
/// the host's.
struct DataOptions {
    /// Empty when the file names none that this system can use.
    IO::Location dataFolder;
    bool enableAutoClean = false;
    std::int32_t periodTime = 0;
    std::int32_t lastUsedDays = 0;
    std::int32_t lastRunTime = 0;
};

/// What a file holds for others. It is kept as it stands there.
struct DataOptionAdditions {
    /// A path of another system, or one that means another folder to each process.
    OV::UniString foreignPath;
    /// 0 unless the file is a newer client's.
    std::uint16_t dataVersion = 0;
    /// Behind the known values of the schedule, and of the whole.
    OV::String ofSchedule;
    OV::String ofRoot;
};

/// Those that were set and are not in the file yet.
struct DataOptionChanges {
    std::optional<IO::Location> dataFolder;
    std::optional<bool> enableAutoClean;
    std::optional<std::int32_t> periodTime;
    std::optional<std::int32_t> lastUsedDays;
    std::optional<std::int32_t> lastRunTime;

    [[nodiscard]] bool Any() const noexcept;
    void ApplyTo(DataOptions& options) const;
    /// Takes over what `former` has and this one has not.
    void Complete(const DataOptionChanges& former);
};

/// The layout of "SYDataOptions.xml"; see Docs/Formats.md.
namespace DataOptionsFormat {

inline constexpr OV::UniStringView FileName = u"SYDataOptions.xml";
inline constexpr std::uint16_t DataVersion = 1;

struct Content {
    DataOptions options;
    DataOptionAdditions additions;
};

/// Throws OV::XMLChannelException.
[[nodiscard]] Content Read(OV::XMLIChannel& channel);
[[nodiscard]] OV::XMLOChannel Write(const Content& content);

/// Whether each process finds the same folder there.
[[nodiscard]] bool IsUsable(const IO::Location& dataFolder);

}  // namespace DataOptionsFormat
}  // namespace SYC
