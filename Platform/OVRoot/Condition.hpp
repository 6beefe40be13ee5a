#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"

#include <condition_variable>
#include <cstdint>

namespace OV {

/// An event: Notify is kept until a wait has seen it, whichever comes first, and wakes every
/// waiter. Once notified it stays so until Reset. Safe on any thread.
class SYC_API Condition {
public:
    /// Wakes all who wait, and lets pass who comes later.
    void Notify();
    /// From now on waits wait again.
    void Reset();
    /// Returns when notified. Throws InterruptedException when the calling thread is asked to stop.
    void Wait();
    /// Waits at most `milliseconds`; true when notified in time.
    [[nodiscard]] bool Wait(std::uint32_t milliseconds);

private:
    Lock lock_;
    std::condition_variable_any changed_;
    bool notified_ OV_GUARDED_BY(lock_) = false;
};

}  // namespace OV
