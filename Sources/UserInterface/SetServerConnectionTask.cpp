#include "UserInterface/SetServerConnectionTask.hpp"

#include "ManagementTool/UserGroups.hpp"
#include "OVRoot/Logger.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

namespace Syncra::Server::ManagementTool::GUI {

SetServerConnectionTask::SetServerConnectionTask(OV::UniString hostName, short port,
                                                 OV::UniString userName, OV::Secret password,
                                                 Core::UserGroupType::Value group,
                                                 bool withoutVersionCheck)
    : hostName_(std::move(hostName)), port_(port), userName_(std::move(userName)),
      password_(std::move(password)), group_(group), withoutVersionCheck_(withoutVersionCheck)
{}

bool SetServerConnectionTask::RunTask()
{
    try {
        SignIn();
        isAuthenticated_ = Core::IsUserInGroup(hostName_, port_, userName_, password_, group_,
                                               withoutVersionCheck_);
        return isAuthenticated_;
    } catch (const SYCB::IncopatibleServerVersionException&) {
        isCompatible_ = false;
    } catch (const std::exception& error) {
        OV::Logger::Info(OV::Logger::Library, u"SetServerConnectionTask: %", {error.what()});
    } catch (...) {
        OV::Logger::Info(OV::Logger::Library,
                         u"SetServerConnectionTask: something unknown was thrown");
    }
    return false;
}

/// Connecting and signing in are one request, so an answer of any kind says that the server is
/// there.
void SetServerConnectionTask::SignIn()
{
    try {
        (void)SYCB::CreateSyncraClient({hostName_, static_cast<std::uint16_t>(port_), userName_,
                                        password_, withoutVersionCheck_});
        isConnected_ = true;
    } catch (const Communication::ResponseContentException&) {
        isConnected_ = true;
        throw;
    } catch (const SYCB::IncopatibleServerVersionException&) {
        isConnected_ = true;
        throw;
    }
}

}  // namespace Syncra::Server::ManagementTool::GUI
