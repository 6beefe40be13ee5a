#include "SYClientBase/Identified.hpp"

#include "OVRoot/Containers.hpp"
#include "OVRoot/Lock.hpp"

namespace SYCB {

namespace {

struct Registry {
    OV::Lock lock;
    OV::HashSet<Identified::Identity> living OV_GUARDED_BY(lock);
    Identified::Identity last OV_GUARDED_BY(lock) = 0;
};

/// Never destroyed: objects of static duration leave it late.
Registry& TheRegistry()
{
    static auto& registry = *new Registry;
    return registry;
}

}  // namespace

Identified::Identified()
{
    Registry& registry = TheRegistry();
    const OV::LockGuard guard(registry.lock);
    identity_ = ++registry.last;
    registry.living.insert(identity_);
}

bool Identified::InstanceExist(Identity identity)
{
    Registry& registry = TheRegistry();
    const OV::LockGuard guard(registry.lock);
    return registry.living.find(identity) != registry.living.end();
}

void Identified::ToDestroy() noexcept
{
    Registry& registry = TheRegistry();
    const OV::LockGuard guard(registry.lock);
    registry.living.erase(identity_);
}

}  // namespace SYCB
