#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/Lock.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Executors whose owner went while their work was still under way. Each is destroyed after its
/// work, when the next one comes; at the end of the process, the work is asked to stop first. Safe
/// on any thread, those of the executors included: work may itself give work up.
class BackgroundExecutors {
public:
    /// Never destroyed; ends its work (see End) when the process does.
    [[nodiscard]] static BackgroundExecutors& GetInstance();
    BackgroundExecutors() = default;
    ~BackgroundExecutors() { End(); }
    BackgroundExecutors(const BackgroundExecutors&) = delete;
    BackgroundExecutors& operator=(const BackgroundExecutors&) = delete;

    void Keep(std::unique_ptr<OV::Executor> executor);
    /// Destroys the executors whose work is done; returns the number of the others.
    std::size_t Collect();
    /// Asks all work to stop, also what that work leaves here while it ends, and waits for it;
    /// whatever comes later is asked to stop at once. Work that does not heed for `milliseconds` is
    /// left alone, so that a process always ends. Not for a thread of the executors.
    void End(std::uint32_t milliseconds = 5000);

private:
    using Executors = OV::Array<std::unique_ptr<OV::Executor>>;

    bool Add(std::unique_ptr<OV::Executor>& executor, bool isCancelled);
    Executors TakeAllToEnd();

    OV::Lock lock_;
    Executors executors_ OV_GUARDED_BY(lock_);
    bool hasEnded_ OV_GUARDED_BY(lock_) = false;
};

}  // namespace Syncra::Server::ManagementTool::Core
