#include "ClientProjectConnectionManager.hpp"

#include "Cache/Detail/CacheHold.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Logger.hpp"
#include "RegisteredProjects.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SyncraURL.hpp"

#include <utility>

namespace SYC {

ClientProjectConnectionManager::ClientProjectConnectionManager(IO::Location projectLocation,
                                                               IO::Location dataFolder,
                                                               EventSink eventSink)
    : projectLocation_(std::move(projectLocation)), dataFolder_(std::move(dataFolder)),
      eventSink_(std::move(eventSink))
{
    if (!IsSyncraURL(projectLocation_))
        throw OV::IllegalArgumentException(
            u"\"" + projectLocation_.ToDisplayText() +
            u"\" is no project URL. One looks like syncra://user@server:port/project.");
}

ClientProjectConnectionManager::~ClientProjectConnectionManager()
{
    signalClient_.Stop();
}

std::shared_ptr<CachedProjectInfo> ClientProjectConnectionManager::FindCache() const
{
    if (!cache_)
        cache_ = registeredProjects().GetCachedProjectInfo(projectLocation_, dataFolder_);
    return cache_;
}

std::shared_ptr<SYCB::CachedProjectInfo> ClientProjectConnectionManager::GetCachedProjectInfo()
{
    if (!FindCache())
        cache_ = registeredProjects().CreateCachedProjectInfo(projectLocation_, dataFolder_);
    if (!hold_)
        hold_ = CacheHold::Take(cache_->GetCacheFolderLocation());
    return cache_;
}

OV::UniString ClientProjectConnectionManager::GetSessionId() const
{
    const auto cache = FindCache();
    return cache ? cache->GetSessionId() : OV::UniString();
}

void ClientProjectConnectionManager::PostEvent(std::int32_t eventCode, const OV::UniString& text)
{
    if (!eventSink_)
        return;
    OV::AssertNoLockHeld("ClientProjectConnectionManager::EventSink");
    try {
        eventSink_(eventCode, text);
    } catch (const std::exception& error) {
        OV::Logger::Error(OV::Logger::Library, u"The host failed to take event %: %",
                          {eventCode, error.what()});
    } catch (...) {
        OV::Logger::Error(OV::Logger::Library, u"The host failed to take event %.", {eventCode});
    }
}

void ClientProjectConnectionManager::StartSignals(const OV::UniString& projectId)
{
    signalClient_.Start(
        [location = projectLocation_] { return SYCB::CreateSyncraClient(location); }, projectId);
}

void ClientProjectConnectionManager::StopSignals()
{
    signalClient_.Stop();
}

}  // namespace SYC
