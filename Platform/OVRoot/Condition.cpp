#include "OVRoot/Condition.hpp"

#include "OVRoot/Thread.hpp"

#include <chrono>

namespace OV {

void Condition::Notify()
{
    // Notified under the lock: a waiter that wakes may destroy the condition at once.
    const LockGuard guard(lock_);
    notified_ = true;
    changed_.notify_all();
}

void Condition::Reset()
{
    const LockGuard guard(lock_);
    notified_ = false;
}

void Condition::Wait()
{
    const LockGuard guard(lock_);
    changed_.wait(lock_, Thread::CurrentToken(), [this]() OV_REQUIRES(lock_) { return notified_; });
    if (!notified_)
        throw InterruptedException();
}

bool Condition::Wait(std::uint32_t milliseconds)
{
    const LockGuard guard(lock_);
    changed_.wait_for(lock_, Thread::CurrentToken(), std::chrono::milliseconds(milliseconds),
                      [this]() OV_REQUIRES(lock_) { return notified_; });
    if (!notified_ && Thread::IsInterrupted())
        throw InterruptedException();
    return notified_;
}

}  // namespace OV
