#include "SYDataOptionsObserver.hpp"

#include "OVRoot/EventSource.hpp"

namespace SYC {

namespace {

OV::EventSource<SYDataOptionsObserver>& Observers()
{
    // Never destroyed: observers with static lifetime detach after other statics are gone.
    static auto& source = *new OV::EventSource<SYDataOptionsObserver>;
    return source;
}

}  // namespace

SYDataOptionsObserver::~SYDataOptionsObserver()
{
    Detach();
}

void SYDataOptionsObserver::Attach()
{
    Observers().Attach(*this);
}

void SYDataOptionsObserver::Detach()
{
    Observers().Detach(*this);
}

void SYDataOptionsObserver::SendSYDataFolderChanged()
{
    Observers().Notify([](SYDataOptionsObserver& observer) { observer.SYDataFolderChanged(); });
}

}  // namespace SYC
