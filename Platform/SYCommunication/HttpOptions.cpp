#include "SYCommunication/HttpOptions.hpp"

#include "OVRoot/Lock.hpp"

#include <utility>

namespace Communication {

namespace {

struct Defaults {
    OV::Lock lock;
    HttpOptions options OV_GUARDED_BY(lock);

    static Defaults& Get()
    {
        static auto& defaults = *new Defaults;
        return defaults;
    }
};

}  // namespace

HttpOptions DefaultHttpOptions()
{
    auto& defaults = Defaults::Get();
    const OV::LockGuard guard(defaults.lock);
    return defaults.options;
}

void SetDefaultHttpOptions(HttpOptions options)
{
    auto& defaults = Defaults::Get();
    const OV::LockGuard guard(defaults.lock);
    std::swap(defaults.options, options);
}

}  // namespace Communication
