#pragma once

#include "Failure.hpp"
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

    /// An observer detaches before it is destroyed, or is attached only as long as the answer of
    /// Subscribe lives (see OVRoot/EventSource.hpp). It may outlive this object. With an executor
    /// it is told there, and not at all once the answer has ended.
    void Attach(EventLogObserver& observer) { observers_.Attach(observer); }
    /// See Attach.
    /// @{
    void Detach(EventLogObserver& observer) { observers_.Detach(observer); }
    [[nodiscard]] OV::Subscription Subscribe(EventLogObserver& observer)
    {
        return observers_.Subscribe(observer);
    }
    [[nodiscard]] OV::Subscription Subscribe(EventLogObserver& observer, OV::Executor& executor)
    {
        return observers_.Subscribe(observer, executor);
    }
    /// @}

    /// Updates once in the background; an update that still runs is interrupted and awaited. It
    /// ends in any case: whatever is thrown, but for the interruption, the observers are told that
    /// it failed. Throws when there can be no thread.
    void Start();
    /// Ends the update within a tenth of a second, whatever it waits for.
    void Interrupt();
    /// Waits until the update in the background has ended; an interruption of the calling thread
    /// does not end the wait.
    void Await();
    /// Whether an update in the background is under way. Safe on any thread.
    [[nodiscard]] bool IsRunning() const noexcept { return isRunning_; }
    /// Why the last update in the background failed: FailureKind::ThisComputer when all came and
    /// the cache could not be written, FailureKind::Cancelled when it was interrupted; none when it
    /// did not fail. For who has awaited it.
    [[nodiscard]] const Failure& GetLastFailure() const noexcept { return failure_; }

    /// Updates once on the calling thread: a request or more for each project, each at most as long
    /// as HttpOptions allow; ends within 100 ms when the calling OV::Thread is interrupted. Throws
    /// OV::InterruptedException, OV::Exception when it cannot be done, and std::bad_alloc.
    virtual void Update() = 0;

protected:
    LogUpdater() = default;
    /// For the destructor of a derived class, whose update must not run on without it.
    void Stop() { thread_.reset(); }
    /// What cannot be written is shown all the same: it becomes `failure`, unless there is one.
    static void Flush(BinCacheHandler& cache, std::exception_ptr& failure);
    /// `call` holds what it tells by value: some hear of it later.
    template <class Call>
    void Tell(const Call& call)
    {
        observers_.Notify(call);
    }
    /// `left` may be any number: it is what a server says.
    void TellProgress(std::uint64_t done, std::uint64_t left);

private:
    void Run();

    OV::PostingEventSource<EventLogObserver> observers_;
    std::atomic<bool> isRunning_ = false;
    Failure failure_;
    std::optional<OV::Thread> thread_;
};

}  // namespace SYC
