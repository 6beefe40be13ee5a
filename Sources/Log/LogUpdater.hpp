#pragma once

#include "Log/EventLogObserver.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Thread.hpp"

#include <atomic>
#include <exception>
#include <optional>

namespace SYC {

class BinCacheHandler;

/// Brings something of a server's logs up to date on a thread of its own, as often as it is asked.
/// Observers are called on that thread, or on the one that calls Update.
class SYC_API LogUpdater {
public:
    virtual ~LogUpdater() = default;
    LogUpdater(const LogUpdater&) = delete;
    LogUpdater& operator=(const LogUpdater&) = delete;

    void Attach(EventLogObserver& observer) { observers_.Attach(observer); }
    void Detach(EventLogObserver& observer) { observers_.Detach(observer); }

    /// Updates once in the background; an update that still runs is interrupted and awaited. It
    /// ends in any case: whatever is thrown, but for the interruption, the observers are told that
    /// it failed. Throws when there can be no thread.
    void Start();
    /// Ends the update within a tenth of a second, whatever it waits for.
    void Interrupt();
    void Await();
    [[nodiscard]] bool IsRunning() const noexcept { return isRunning_; }
    /// What the last update in the background failed with: a SYC::BinCacheHandlerException when all
    /// came and the cache could not be written; null when it did not fail. For who has awaited it.
    [[nodiscard]] const std::exception_ptr& GetFailure() const noexcept { return failure_; }

    /// Updates once on the calling thread. Throws OV::InterruptedException, OV::Exception when it
    /// cannot be done, and std::bad_alloc.
    virtual void Update() = 0;

protected:
    LogUpdater() = default;
    /// For the destructor of a derived class, whose update must not run on without it.
    void Stop() { thread_.reset(); }
    /// What cannot be written is shown all the same: it becomes `failure`, unless there is one.
    static void Flush(BinCacheHandler& cache, std::exception_ptr& failure);
    template <class Call>
    void Tell(Call&& call)
    {
        observers_.Notify(std::forward<Call>(call));
    }
    /// `left` may be any number: it is what a server says.
    void TellProgress(std::uint64_t done, std::uint64_t left);

private:
    void Run();

    OV::EventSource<EventLogObserver> observers_;
    std::atomic<bool> isRunning_ = false;
    std::exception_ptr failure_;
    std::optional<OV::Thread> thread_;
};

}  // namespace SYC
