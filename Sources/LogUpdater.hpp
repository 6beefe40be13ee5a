#pragma once

#include "EventLogObserver.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Thread.hpp"

#include <atomic>
#include <optional>

/// Brings something of a server's logs up to date on a thread of its own, as often as it is asked.
/// Observers are called on that thread, or on the one that calls Update.
class LogUpdater {
public:
    virtual ~LogUpdater() = default;
    LogUpdater(const LogUpdater&) = delete;
    LogUpdater& operator=(const LogUpdater&) = delete;

    void Attach(EventLogObserver& observer) { observers_.Attach(observer); }
    void Detach(EventLogObserver& observer) { observers_.Detach(observer); }

    /// Updates once in the background; an update that still runs is interrupted and awaited.
    /// Failures go to the observers.
    void Start();
    /// Ends the update within a tenth of a second, whatever it waits for.
    void Interrupt();
    void Await();
    [[nodiscard]] bool IsRunning() const noexcept { return isRunning_; }

    /// Updates once on the calling thread. Throws OV::InterruptedException, and OV::Exception when
    /// it cannot be done.
    virtual void Update() = 0;

protected:
    LogUpdater() = default;
    /// For the destructor of a derived class, whose update must not run on without it.
    void Stop() { thread_.reset(); }
    template <class Call>
    void Tell(Call&& call)
    {
        observers_.Notify(std::forward<Call>(call));
    }
    void TellProgress(std::uint64_t done, std::uint64_t total)
    {
        Tell([&](EventLogObserver& observer) { observer.UpdateProgress(done, total); });
    }

private:
    void Run();

    OV::EventSource<EventLogObserver> observers_;
    std::atomic<bool> isRunning_ = false;
    std::optional<OV::Thread> thread_;
};
