#include "CachedProjectInfoObserver.hpp"

#include "OVRoot/EventSource.hpp"

namespace SYC {

namespace {

OV::EventSource<CachedProjectInfoObserver>& Observers()
{
    // Never destroyed: observers with static lifetime detach after other statics are gone.
    static auto& source = *new OV::EventSource<CachedProjectInfoObserver>;
    return source;
}

}  // namespace

CachedProjectInfoObserver::~CachedProjectInfoObserver()
{
    Detach();
}

void CachedProjectInfoObserver::Attach()
{
    Observers().Attach(*this);
}

void CachedProjectInfoObserver::Detach()
{
    Observers().Detach(*this);
}

void CachedProjectInfoObserver::SendContentWrittenToDisc(const CachedProjectInfo& info)
{
    Observers().Notify(
        [&](CachedProjectInfoObserver& observer) { observer.ContentWrittenToDisc(info); });
}

}  // namespace SYC
