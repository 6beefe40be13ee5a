#pragma once

#include <algorithm>
#include <mutex>
#include <vector>

namespace OV {

/// A list of observers that may change while it is being told something.
/// Attaching twice counts once; detaching an unknown observer does nothing. Safe on any thread, but
/// who detaches on one thread while another one notifies must outlive that notification.
template <class Observer>
class EventSource {
public:
    void Attach(Observer& observer)
    {
        const std::lock_guard guard(lock_);
        if (std::find(observers_.begin(), observers_.end(), &observer) == observers_.end())
            observers_.push_back(&observer);
    }

    void Detach(Observer& observer)
    {
        const std::lock_guard guard(lock_);
        std::erase(observers_, &observer);
    }

    /// Calls `tell(observer)` in order of attachment, without holding the lock. An observer that
    /// was detached by one called before it is left out.
    template <class Tell>
    void Notify(Tell&& tell)
    {
        for (Observer* observer : Snapshot())
            if (IsAttached(*observer))
                tell(*observer);
    }

private:
    std::vector<Observer*> Snapshot()
    {
        const std::lock_guard guard(lock_);
        return observers_;
    }

    bool IsAttached(Observer& observer)
    {
        const std::lock_guard guard(lock_);
        return std::find(observers_.begin(), observers_.end(), &observer) != observers_.end();
    }

    std::mutex lock_;
    std::vector<Observer*> observers_;
};

}  // namespace OV
