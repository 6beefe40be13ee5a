#include "OVRoot/EventSource.hpp"

#include "OVRoot/Detail/TypeName.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <set>
#include <thread>
#include <vector>

namespace OV::Detail {

namespace {

/// Which threads wait for the calls of which.
struct Waits {
    Lock lock;
    std::map<std::thread::id, std::vector<std::thread::id>> others OV_GUARDED_BY(lock);
};

Waits& AllWaits()
{
    static auto& waits = *new Waits;
    return waits;
}

bool Reaches(const Waits& waits, std::vector<std::thread::id> from, std::thread::id goal)
    OV_REQUIRES(waits.lock)
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

/// A thread that waits for the calls that `others` are in to end. Not when one of them waits,
/// directly or through more threads, for this one: two calls that detach each other's observers
/// would wait for ever.
class WaitForCalls {
public:
    explicit WaitForCalls(std::vector<std::thread::id> others)
    {
        const std::thread::id self = std::this_thread::get_id();
        Waits& waits = AllWaits();
        const LockGuard guard(waits.lock);
        canEnd_ = !Reaches(waits, others, self);
        if (canEnd_)
            waits.others[self] = std::move(others);
    }
    ~WaitForCalls()
    {
        if (!canEnd_)
            return;
        Waits& waits = AllWaits();
        const LockGuard guard(waits.lock);
        waits.others.erase(std::this_thread::get_id());
    }
    WaitForCalls(const WaitForCalls&) = delete;
    WaitForCalls& operator=(const WaitForCalls&) = delete;
    [[nodiscard]] bool CanEnd() const noexcept { return canEnd_; }

private:
    bool canEnd_;
};

/// Logs the exception that is being handled, once, as one that left an observer of that class.
void LogObserverFailure(const std::type_info& observer) noexcept
{
    try {
        try {
            throw;
        } catch (const std::exception& failure) {
            Logger::Error(Logger::Library, u"An observer (%) failed: %",
                          {FromUtf8(TypeName(observer)), failure.what()});
        } catch (...) {
            Logger::Error(Logger::Library, u"An observer (%) failed.",
                          {FromUtf8(TypeName(observer))});
        }
    } catch (...) {
        // There is no memory for the line.
    }
}

}  // namespace

class ObserverList::State {
public:
    void Attach(void* observer)
    {
        const LockGuard guard(lock_);
        if (!Contains(observer))
            observers_.push_back(observer);
    }

    void Detach(void* observer)
    {
        const LockGuard guard(lock_);
        std::erase(observers_, observer);
        if (!IsCalledElsewhere(observer))
            return;
        if (const WaitForCalls wait(OthersThatCall(observer)); wait.CanEnd())
            returned_.wait(lock_,
                           [&]() OV_REQUIRES(lock_) { return !IsCalledElsewhere(observer); });
    }

    [[nodiscard]] std::vector<void*> Snapshot()
    {
        const LockGuard guard(lock_);
        return observers_;
    }

    /// False when the observer has been detached meanwhile.
    [[nodiscard]] bool BeginCall(void* observer)
    {
        const LockGuard guard(lock_);
        if (!Contains(observer))
            return false;
        running_.push_back({observer, std::this_thread::get_id()});
        return true;
    }

    void EndCall(void* observer)
    {
        const LockGuard guard(lock_);
        running_.erase(std::find(running_.begin(), running_.end(),
                                 Running{observer, std::this_thread::get_id()}));
        returned_.notify_all();
    }

private:
    /// One observer being called.
    struct Running {
        void* observer;
        std::thread::id thread;

        [[nodiscard]] bool IsElsewhere(const void* called) const
        {
            return observer == called && thread != std::this_thread::get_id();
        }
        friend bool operator==(const Running&, const Running&) = default;
    };

    [[nodiscard]] bool Contains(void* observer) const OV_REQUIRES(lock_)
    {
        return std::find(observers_.begin(), observers_.end(), observer) != observers_.end();
    }
    [[nodiscard]] bool IsCalledElsewhere(void* observer) const OV_REQUIRES(lock_)
    {
        return std::any_of(running_.begin(), running_.end(),
                           [&](const Running& running) { return running.IsElsewhere(observer); });
    }
    [[nodiscard]] std::vector<std::thread::id> OthersThatCall(void* observer) const
        OV_REQUIRES(lock_)
    {
        std::vector<std::thread::id> threads;
        for (const Running& running : running_)
            if (running.IsElsewhere(observer))
                threads.push_back(running.thread);
        return threads;
    }

    Lock lock_;
    std::condition_variable_any returned_;
    std::vector<void*> observers_ OV_GUARDED_BY(lock_);
    std::vector<Running> running_ OV_GUARDED_BY(lock_);
};

/// Ends the call however the observer returns.
class ObserverList::Call {
public:
    Call(State& state, void* observer)
        : state_(state), observer_(observer), isOpen_(state.BeginCall(observer))
    {}
    ~Call()
    {
        if (isOpen_)
            state_.EndCall(observer_);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    [[nodiscard]] bool IsOpen() const noexcept { return isOpen_; }

private:
    State& state_;
    void* observer_;
    bool isOpen_;
};

ObserverList::ObserverList() : state_(new State) {}

ObserverList::~ObserverList()
{
    delete state_;
}

void ObserverList::Attach(void* observer)
{
    state_->Attach(observer);
}

void ObserverList::Detach(void* observer)
{
    state_->Detach(observer);
}

void ObserverList::Notify(const std::type_info& type, Tell tell, void* call)
{
    const std::vector<void*> observers = state_->Snapshot();
    if (!observers.empty())
        AssertNoLockHeld(type);
    for (void* observer : observers)
        if (const Call open(*state_, observer); open.IsOpen()) {
            try {
                tell(call, observer);
            } catch (...) {
                LogObserverFailure(type);
            }
        }
}

}  // namespace OV::Detail
