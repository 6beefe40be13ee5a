#pragma once

#include "OVRoot/Export.hpp"
#include "RegisteredProjects.hpp"

namespace SYC {

/// Keeps the other processes of the user from changing the options while it lives, so that what is
/// read and set meanwhile belongs together. Guards nest; the outermost one reads the options again
/// and takes the lock file "@DataOptions.Lock", and writes what was set when it ends.
///
/// A holder that does not let go costs ten attempts, 50 ms apart; then the guard goes on without
/// the lock (IsLocked), and what is set stays in memory until the next one; so it does where no
/// lock file can be made. A dead process locks nobody out. The threads of this process share one
/// lock. It is for options: a cache is set up and written outside of it, for observers and the user
/// are not to be kept waiting under a lock.
class SYC_API RegisteredProjects::Synchronizer {
public:
    /// Throws OV::InterruptedException when the calling thread is asked to stop while it waits, and
    /// as RegisteredProjects::RefreshData does; nothing is locked then.
    Synchronizer();
    ~Synchronizer();
    Synchronizer(const Synchronizer&) = delete;
    Synchronizer& operator=(const Synchronizer&) = delete;

    /// Whether this process has the lock.
    [[nodiscard]] static bool IsLocked();
    /// Whether a living process other than this one has it; deletes what a dead one left.
    [[nodiscard]] static bool IsLockedByOthers();
    /// Takes the lock without a guard; whether it is had. It is kept, whatever setters and guards
    /// come and go, until RemoveLock or Reset. Throws as the constructor does.
    static bool WaitForLock();
    /// Writes what was set and lets go of the lock, whatever guards there are.
    static void RemoveLock();
    /// The same, and no guard counts any more.
    static void Reset();
    /// Where the lock file stands, or would.
    [[nodiscard]] static IO::Location GetLockFileLoc();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace SYC
