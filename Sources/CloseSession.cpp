#include "CloseSession.hpp"

#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraURL.hpp"

namespace SYC {

namespace {

void LogOutcome(OV::UniStringView format, const char16_t* outcome,
                const Inner::ProjectConnectionInfo& info)
{
    OV::Logger::Info(OV::Logger::Library, format,
                     {outcome, info.serverName, info.port, info.userName});
}

bool CloseOnServer(SYCB::ProjectConnectionManagerInterface& manager)
{
    Inner::ProjectConnectionInfo info;
    // The formats differ on purpose; both placeholders stand for the outcome.
    try {
        info = ToConnectionInfo(manager.GetProjectLocation());
        SYCB::CreateSyncraClientOnOpenedProject(manager, info.serverName, info.port, info.userName,
                                                info.password)
            ->CloseSession(manager.GetSessionId());
        LogOutcome(u"SYC::CloseSession %s, Host: %, Port: %, User: %", u"Succeeded", info);
        return true;
    } catch (...) {
        LogOutcome(u"SYC::CloseSession %, Host: %, Port: %, User: %", u"Failed", info);
        OV::LogCurrentException(OV::Logger::Library, u"%: %", u"SYC::CloseSession");
        return false;
    }
}

}  // namespace

bool CloseSession(SYCB::ProjectConnectionManagerInterface& manager)
{
    if (!CloseOnServer(manager))
        return false;
    // The server's session is gone, whatever becomes of the cache.
    try {
        if (const auto cache = manager.GetCachedProjectInfo())
            cache->SetSessionId({});
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library, u"%: %", u"SYC::CloseSession");
    }
    return true;
}

}  // namespace SYC
