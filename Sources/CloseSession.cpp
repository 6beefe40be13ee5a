#include "CloseSession.hpp"

#include "OVRoot/Logger.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraURL.hpp"

namespace SYC {

namespace {

constexpr OV::StringView LogCategory = "SYClient";

void CloseOnServer(SYCB::ProjectConnectionManagerInterface& manager,
                   const Inner::ProjectConnectionInfo& info)
{
    SYCB::CreateSyncraClientOnOpenedProject(manager, info.serverName, info.port, info.userName,
                                            info.password)
        ->CloseSession(manager.GetSessionId());
    if (const auto cache = manager.GetCachedProjectInfo())
        cache->SetSessionId({});
}

}  // namespace

bool CloseSession(SYCB::ProjectConnectionManagerInterface& manager)
{
    Inner::ProjectConnectionInfo info;
    try {
        info = ToConnectionInfo(manager.GetProjectLocation());
        CloseOnServer(manager, info);
        OV::Logger::Info(LogCategory, u"SYC::CloseSession %s, Host: %, Port: %, User: %",
                         {u"Succeeded", info.serverName, info.port, info.userName});
        return true;
    } catch (const std::exception& error) {
        // The two lines differ by one letter; support tools look for each as it stands.
        OV::Logger::Info(LogCategory, u"SYC::CloseSession %, Host: %, Port: %, User: %",
                         {u"Failed", info.serverName, info.port, info.userName});
        OV::Logger::Warning(LogCategory, u"SYC::CloseSession: %", {error.what()});
        return false;
    }
}

}  // namespace SYC
