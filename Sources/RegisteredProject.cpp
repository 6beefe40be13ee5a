#include "RegisteredProject.hpp"

#include "OVRoot/Exception.hpp"
#include "SyncraURL.hpp"

namespace SYC {

RegisteredProject::RegisteredProject(std::shared_ptr<const CachedProjectInfo> info)
    : info_(std::move(info))
{
    if (!info_)
        throw OV::NullReferenceException();
}

IO::Location RegisteredProject::GetSyncraLocation() const
{
    Inner::ProjectConnectionInfo connection;
    info_->GetProjectConnectionInfo(connection);
    connection.password = {};
    return ToSyncraLocation(connection);
}

}  // namespace SYC
