#pragma once

#include "OVRoot/HeldLocks.hpp"

#include <mutex>

/// clang's thread-safety analysis; nothing elsewhere.
#if defined(__clang__)
#define OV_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define OV_THREAD_ANNOTATION(x)
#endif
#define OV_CAPABILITY(name) OV_THREAD_ANNOTATION(capability(name))
#define OV_SCOPED_CAPABILITY OV_THREAD_ANNOTATION(scoped_lockable)
#define OV_GUARDED_BY(lock) OV_THREAD_ANNOTATION(guarded_by(lock))
#define OV_REQUIRES(...) OV_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define OV_ACQUIRE(...) OV_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define OV_RELEASE(...) OV_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define OV_EXCLUDES(...) OV_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define OV_NO_ANALYSIS OV_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace OV {

/// A mutex that clang's analysis knows, and that its thread is known to hold (see HeldLocks.hpp).
/// Not recursive.
class OV_CAPABILITY("mutex") Lock {
public:
    /// The arguments are the place where the lock is made, by which a message names it.
    explicit Lock(const char* file = __builtin_FILE(), int line = __builtin_LINE()) noexcept
        : file_(file), line_(line)
    {}
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    /// Waits until nobody else holds it.
    void Acquire() OV_ACQUIRE() { lock(); }
    /// For the thread that holds it.
    void Release() OV_RELEASE() { unlock(); }
    /// The names of the standard's BasicLockable, so that std::condition_variable_any can wait on
    /// it.
    void lock() OV_ACQUIRE()
    {
        mutex_.lock();
        Detail::NoteLockTaken(this, file_, line_);
    }
    /// As Release.
    void unlock() OV_RELEASE()
    {
        Detail::NoteLockReleased(this);
        mutex_.unlock();
    }

private:
    std::mutex mutex_;
    const char* file_;
    int line_;
};

/// Holds a lock for a scope.
class OV_SCOPED_CAPABILITY LockGuard {
public:
    /// Waits for the lock, which outlives the guard.
    explicit LockGuard(Lock& lock) OV_ACQUIRE(lock) : lock_(lock) { lock_.Acquire(); }
    ~LockGuard() OV_RELEASE() { lock_.Release(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    Lock& lock_;
};

}  // namespace OV
