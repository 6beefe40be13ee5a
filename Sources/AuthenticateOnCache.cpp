#include "AuthenticateOnCache.hpp"

#include "ManagementTool/SyncraInfo.hpp"
#include "SYClientBase/ProjectConnectionManagerInterface.hpp"
#include "SyncraURL.hpp"
#include "UserInterface/AuthenticationFailedDialog.hpp"

namespace SYC {

namespace {

using Syncra::Server::ManagementTool::GUI::AuthenticationFailedDialog;
using Syncra::Server::ManagementTool::GUI::SyncraInfo;

IO::Location LocationOf(SYCB::ProjectConnectionManagerInterface* manager)
{
    if (manager == nullptr)
        throw OV::NullReferenceException();
    return manager->GetProjectLocation();
}

bool IsToBeChecked(const SyncraInfo& info, SYCB::ProjectConnectionManagerInterface* manager)
{
    try {
        return info.UserToBeChecked(LocationOf(manager));
    } catch (...) {
        return true;
    }
}

/// True when the password of the connection, or else one that the user types, is the stored one.
bool ProvesHimself(const Inner::ProjectConnectionInfo& connection, const OV::Secret& stored)
{
    if (connection.password == stored)
        return true;
    AuthenticationFailedDialog dialog(connection.serverName, connection.projectName,
                                      connection.userName,
                                      static_cast<std::int16_t>(connection.port));
    while (dialog.Invoke())
        if (dialog.GetUserPasswd() == stored)
            return true;
    return false;
}

}  // namespace

bool AuthenticateOnCache(SYCB::ProjectConnectionManagerInterface* manager, bool silent)
{
    const SyncraInfo info;
    if (!IsToBeChecked(info, manager))
        return true;
    if (silent)
        return false;
    const Inner::ProjectConnectionInfo connection = ToCheckedConnectionInfo(LocationOf(manager));
    return ProvesHimself(connection,
                         info.GetUserPassword(connection.userName, connection.serverName));
}

}  // namespace SYC
