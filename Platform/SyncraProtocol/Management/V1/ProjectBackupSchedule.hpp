#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <functional>

namespace Syncra::Server::Management::V1 {

/// When the server backs a project up by itself.
struct SYC_API ProjectBackupSchedule {
    /// How often; the numbers are those of the protocol.
    enum class Frequency : std::int32_t { Once = 0, Daily = 1, Weekly = 2, Monthly = 3 };

    /// The server's identifier; empty for a schedule that the server has not seen yet.
    OV::UniString id;
    Frequency frequency = Frequency::Daily;  ///< counted from startTime
    /// The first run, seconds since 1970-01-01 UTC; the later ones follow at the same time of day.
    std::int32_t startTime = 0;
    bool enabled = true;  ///< whether the server runs it

    friend bool operator==(const ProjectBackupSchedule&, const ProjectBackupSchedule&) = default;
    /// Equal apart from the identifier.
    [[nodiscard]] bool IsContentEqual(const ProjectBackupSchedule& other) const noexcept
    {
        return frequency == other.frequency && startTime == other.startTime &&
               enabled == other.enabled;
    }
};

}  // namespace Syncra::Server::Management::V1

template <>
struct std::hash<Syncra::Server::Management::V1::ProjectBackupSchedule> {
    std::size_t
    operator()(const Syncra::Server::Management::V1::ProjectBackupSchedule& schedule) const noexcept
    {
        // Schedules that were not sent yet share the empty identifier.
        return std::hash<OV::UniString>()(schedule.id) * 31 +
               static_cast<std::size_t>(schedule.startTime);
    }
};
