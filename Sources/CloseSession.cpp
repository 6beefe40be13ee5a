#include "CloseSession.hpp"

#include "Failure.hpp"
#include "Files/ResourceNumbers.hpp"
#include "Flow/Detail/Doubt.hpp"
#include "Flow/Detail/QuickClient.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Resources.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraProtocol/ErrorCode.hpp"
#include "SyncraProtocol/Session.hpp"
#include "SyncraURL.hpp"

namespace SYC {

namespace {

constexpr int NoSessionToClose = 3;

void LogOutcome(OV::UniStringView format, const char16_t* outcome,
                const Inner::ProjectConnectionInfo& info)
{
    OV::Logger::Info(OV::Logger::Library, format,
                     {outcome, info.serverName, info.port, info.userName});
}

/// One that ended elsewhere is closed as well.
bool HasEnded(const Failure& failure)
{
    return failure.code == static_cast<std::int32_t>(Syncra::Protocol::ErrorCode::NotFound);
}

/// Asks the server; nobody is told of the end of a session that its owner ended.
bool HasEnded(const Inner::ProjectConnectionInfo& info, const OV::UniString& session)
{
    try {
        (void)ConnectQuickly({info.serverName, info.port, info.userName, info.password})
            ->GetSessionAttribute(session, Syncra::Protocol::SessionAttributeNames::ComputerName);
        return false;
    } catch (const Communication::ResponseContentException&) {
        if (HasEnded(DescribeException()))
            return true;
        throw;
    }
}

Failure CloseOnServer(SYCB::ProjectConnectionManagerInterface& manager)
{
    Inner::ProjectConnectionInfo info;
    bool wasSent = false;
    OV::UniString session;
    // The formats differ on purpose; both placeholders stand for the outcome.
    try {
        info = ToConnectionInfo(manager.GetProjectLocation());
        session = manager.GetSessionId();
        if (session.empty())
            throw OV::IllegalArgumentException(
                OV::GetStringListItem(TextLists::CheckWords, NoSessionToClose));
        const auto client = SYCB::CreateSyncraClientOnOpenedProject(
            manager, info.serverName, info.port, info.userName, info.password);
        wasSent = true;
        client->CloseSession(session);
        LogOutcome(u"SYC::CloseSession %s, Host: %, Port: %, User: %", u"Succeeded", info);
        return {};
    } catch (...) {
        Failure failure = DescribeException();
        if (wasSent)
            failure = Settle(std::move(failure), [&] { return HasEnded(info, session); });
        LogOutcome(u"SYC::CloseSession %, Host: %, Port: %, User: %",
                   failure ? u"Failed" : u"Succeeded", info);
        OV::LogCurrentException(OV::Logger::Library, u"%: %", u"SYC::CloseSession");
        return failure;
    }
}

}  // namespace

bool CloseSession(SYCB::ProjectConnectionManagerInterface& manager)
{
    Failure failure;
    return CloseSession(manager, failure);
}

bool CloseSession(SYCB::ProjectConnectionManagerInterface& manager, Failure& failure)
{
    failure = CloseOnServer(manager);
    if (HasEnded(failure))
        failure = {};
    if (failure)
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
