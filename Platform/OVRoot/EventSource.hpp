#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/HeldLocks.hpp"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <typeinfo>
#include <vector>

namespace OV {

namespace Detail {

/// Logs the exception that is being handled, once, as one that left an observer of that class.
SYC_API void LogObserverFailure(const std::type_info& observer) noexcept;

/// A thread that waits for the calls that `others` are in to end. Not when one of them waits,
/// directly or through more threads, for this one: two calls that detach each other's observers
/// would wait for ever.
class SYC_API WaitForCalls {
public:
    explicit WaitForCalls(std::vector<std::thread::id> others);
    ~WaitForCalls();
    WaitForCalls(const WaitForCalls&) = delete;
    WaitForCalls& operator=(const WaitForCalls&) = delete;
    [[nodiscard]] bool CanEnd() const noexcept { return canEnd_; }

private:
    bool canEnd_;
};

}  // namespace Detail

/// A list of observers that may change while it is being told something.
/// Attaching twice counts once; detaching an unknown observer does nothing. Safe on any thread.
template <class Observer>
class EventSource {
public:
    void Attach(Observer& observer)
    {
        const std::lock_guard guard(lock_);
        if (!Contains(observer))
            observers_.push_back(&observer);
    }

    /// When this returns, the observer is not being told anything and will not be, so it may be
    /// destroyed: waits for a call of it that another thread is in. Not with a lock held that the
    /// observer takes when it is told. Called from an observer whose own detaching a thread inside
    /// that call waits for, it does not wait, for neither could go on: then the observer may be
    /// destroyed only after the calling one has returned.
    void Detach(Observer& observer)
    {
        std::unique_lock guard(lock_);
        std::erase(observers_, &observer);
        if (!IsCalledElsewhere(observer))
            return;
        if (const Detail::WaitForCalls wait(ThreadsThatCall(observer)); wait.CanEnd())
            returned_.wait(guard, [&] { return !IsCalledElsewhere(observer); });
    }

    /// Calls `tell(observer)` in order of attachment. An observer that was detached by one called
    /// before it is left out. What an observer throws, of whichever type, is logged and harms
    /// neither the caller nor the others. Not with a lock held (see HeldLocks.hpp).
    template <class Tell>
    void Notify(Tell&& tell)
    {
        const std::vector<Observer*> observers = Snapshot();
        if (!observers.empty())
            AssertNoLockHeld(typeid(Observer));
        for (Observer* observer : observers)
            if (const Call call(*this, *observer); call.IsOpen()) {
                try {
                    tell(*observer);
                } catch (...) {
                    Detail::LogObserverFailure(typeid(Observer));
                }
            }
    }

private:
    struct Running {
        Observer* observer;
        std::thread::id thread;
    };

    /// One observer being called; closed from the start when it has been detached meanwhile.
    class Call {
    public:
        Call(EventSource& source, Observer& observer) : source_(source)
        {
            const std::lock_guard guard(source_.lock_);
            isOpen_ = source_.Contains(observer);
            if (isOpen_)
                source_.running_.push_back({&observer, std::this_thread::get_id()});
            observer_ = &observer;
        }
        ~Call()
        {
            if (!isOpen_)
                return;
            const std::lock_guard guard(source_.lock_);
            source_.EndCall(observer_);
        }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        [[nodiscard]] bool IsOpen() const noexcept { return isOpen_; }

    private:
        EventSource& source_;
        Observer* observer_;
        bool isOpen_;
    };

    std::vector<Observer*> Snapshot()
    {
        const std::lock_guard guard(lock_);
        return observers_;
    }

    // With the lock held.
    bool Contains(Observer& observer) const
    {
        return std::find(observers_.begin(), observers_.end(), &observer) != observers_.end();
    }
    bool IsCalledElsewhere(Observer& observer) const
    {
        return std::any_of(running_.begin(), running_.end(), [&](const Running& running) {
            return running.observer == &observer && running.thread != std::this_thread::get_id();
        });
    }
    std::vector<std::thread::id> ThreadsThatCall(Observer& observer) const
    {
        std::vector<std::thread::id> threads;
        for (const Running& running : running_)
            if (running.observer == &observer && running.thread != std::this_thread::get_id())
                threads.push_back(running.thread);
        return threads;
    }
    void EndCall(Observer* observer)
    {
        const auto mine =
            std::find_if(running_.begin(), running_.end(), [&](const Running& running) {
                return running.observer == observer && running.thread == std::this_thread::get_id();
            });
        running_.erase(mine);
        returned_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable returned_;
    std::vector<Observer*> observers_;
    std::vector<Running> running_;
};

}  // namespace OV
