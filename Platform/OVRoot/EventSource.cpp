#include "OVRoot/EventSource.hpp"

#include "OVRoot/Detail/TypeName.hpp"
#include "OVRoot/Logger.hpp"

#include <map>
#include <set>

namespace OV::Detail {

namespace {

/// Which threads wait for the calls of which. Never destroyed: observers may be detached at the
/// very end.
struct Waits {
    std::mutex lock;
    std::map<std::thread::id, std::vector<std::thread::id>> others;
};

Waits& AllWaits()
{
    static auto* const waits = new Waits;
    return *waits;
}

/// With the lock of `waits` held.
bool Reaches(const Waits& waits, std::vector<std::thread::id> from, std::thread::id goal)
{
    std::set<std::thread::id> seen;
    while (!from.empty()) {
        const std::thread::id thread = from.back();
        from.pop_back();
        if (thread == goal)
            return true;
        if (!seen.insert(thread).second)
            continue;
        if (const auto next = waits.others.find(thread); next != waits.others.end())
            from.insert(from.end(), next->second.begin(), next->second.end());
    }
    return false;
}

}  // namespace

void LogObserverFailure(const std::type_info& observer) noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception& failure) {
            Logger::Error("SYClient", u"An observer (%) failed: %",
                          {FromUtf8(TypeName(observer)), failure.what()});
        } catch (...) {
            Logger::Error("SYClient", u"An observer (%) failed.", {FromUtf8(TypeName(observer))});
        }
    } catch (...) {
        // There is no memory for the line.
    }
}

WaitForCalls::WaitForCalls(std::vector<std::thread::id> others)
{
    const std::thread::id self = std::this_thread::get_id();
    Waits& waits = AllWaits();
    const std::lock_guard guard(waits.lock);
    canEnd_ = !Reaches(waits, others, self);
    if (canEnd_)
        waits.others[self] = std::move(others);
}

WaitForCalls::~WaitForCalls()
{
    if (!canEnd_)
        return;
    Waits& waits = AllWaits();
    const std::lock_guard guard(waits.lock);
    waits.others.erase(std::this_thread::get_id());
}

}  // namespace OV::Detail
