#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace OV {

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
    /// observer takes when it is told.
    void Detach(Observer& observer)
    {
        std::unique_lock guard(lock_);
        std::erase(observers_, &observer);
        returned_.wait(guard, [&] { return !IsCalledElsewhere(observer); });
    }

    /// Calls `tell(observer)` in order of attachment, without holding the lock. An observer that
    /// was detached by one called before it is left out.
    template <class Tell>
    void Notify(Tell&& tell)
    {
        for (Observer* observer : Snapshot())
            if (const Call call(*this, *observer); call.IsOpen())
                tell(*observer);
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
    void EndCall(Observer* observer)
    {
        const auto mine =
            std::find_if(running_.begin(), running_.end(), [&](const Running& running) {
                return running.observer == observer &&
                       running.thread == std::this_thread::get_id();
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
