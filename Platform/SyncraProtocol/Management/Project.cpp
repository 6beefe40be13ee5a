#include "SyncraProtocol/Management/V2/ProjectV2.hpp"

#include <algorithm>

namespace Syncra::Server::Management {

namespace {

bool AreContentsEqual(const OV::HashSet<V1::ProjectBackupSchedule>& left,
                      const OV::HashSet<V1::ProjectBackupSchedule>& right)
{
    return left.size() == right.size() &&
           std::is_permutation(
               left.begin(), left.end(), right.begin(),
               [](const V1::ProjectBackupSchedule& a, const V1::ProjectBackupSchedule& b) {
                   return a.IsContentEqual(b);
               });
}

}  // namespace

bool V1::Project::IsContentEqual(const Project& other) const
{
    return name == other.name && description == other.description && password == other.password &&
           status == other.status && members == other.members &&
           maxBackupCounter == other.maxBackupCounter && location == other.location &&
           AreContentsEqual(backupSchedules, other.backupSchedules);
}

bool V2::Project::IsContentEqual(const Project& other) const
{
    return version == other.version && V1::Project::IsContentEqual(other);
}

}  // namespace Syncra::Server::Management

std::size_t std::hash<Syncra::Server::Management::V1::Project>::operator()(
    const Syncra::Server::Management::V1::Project& project) const noexcept
{
    // Projects that were not sent yet share the empty identifier.
    return std::hash<OV::UniString>()(project.id) * 31 + std::hash<OV::UniString>()(project.name);
}

std::size_t std::hash<Syncra::Server::Management::V2::Project>::operator()(
    const Syncra::Server::Management::V2::Project& project) const noexcept
{
    return std::hash<Syncra::Server::Management::V1::Project>()(project);
}
