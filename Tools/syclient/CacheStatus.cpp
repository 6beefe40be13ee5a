#include "CacheStatus.hpp"

#include "Output.hpp"
#include "ProjectStatusText.hpp"

std::string CacheStatus(const SYC::CachedProjectInfo& cache, ServerSays server)
{
    SYC::ProjectStatusFacts facts;
    facts.joined = true;
    facts.detached = cache.IsProjectDetached();
    facts.deletedFromServer = server == ServerSays::Deleted;
    facts.travelPackageCreated = cache.IsTravelPackageCreated();
    facts.unsentChanges = cache.IsChanges();
    facts.offline = server == ServerSays::Unreachable || cache.IsProjectForcedOffline();
    return ForDisplay(SYC::GetProjectStatusText(facts));
}
