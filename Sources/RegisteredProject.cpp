#include "RegisteredProject.hpp"

#include "SyncraURL.hpp"

namespace SYC {

IO::Location RegisteredProject::GetSyncraLocation() const
{
    Inner::ProjectConnectionInfo connection;
    info_->GetProjectConnectionInfo(connection);
    connection.password.clear();
    return ToSyncraLocation(connection);
}

}  // namespace SYC
