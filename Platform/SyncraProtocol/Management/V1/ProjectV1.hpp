#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraProtocol/Management/V1/ProjectBackupSchedule.hpp"
#include "SyncraProtocol/Management/V1/ProjectMember.hpp"
#include "SyncraProtocol/Management/V1/ProjectStatus.hpp"

namespace Syncra::Server::Management::V1 {

/// A project as servers of the first generation administer it.
struct SYC_API Project {
    /// The server's identifier; empty for a project that the server has not seen yet.
    OV::UniString id;
    OV::UniString name;         ///< unique on the server
    OV::UniString description;  ///< for people; may be empty
    /// Clear text in memory only.
    OV::UniString password;
    /// Where it stands on its server.
    ProjectStatus status;
    /// One element each, by its identifier.
    /// @{
    OV::HashSet<ProjectMember> members;
    OV::HashSet<ProjectBackupSchedule> backupSchedules;
    /// @}
    /// How many automatic backups the server keeps.
    std::uint32_t maxBackupCounter = 0;
    /// Server-side location of the project's data.
    OV::UniString location;

    friend bool operator==(const Project&, const Project&) = default;
    /// Equal apart from the identifiers that the server gives: those of the project and of its
    /// backup schedules. A member's identifier names the user, so it belongs to the content.
    [[nodiscard]] bool IsContentEqual(const Project& other) const;
};

}  // namespace Syncra::Server::Management::V1

template <>
struct std::hash<Syncra::Server::Management::V1::Project> {
    std::size_t operator()(const Syncra::Server::Management::V1::Project& project) const noexcept;
};
