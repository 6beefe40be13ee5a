#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/Lock.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// Executors whose owner went while their work was still under way. Each is destroyed after its
/// work, when the next one comes; at the end of the process, the work is asked to stop first. Safe
/// on any thread but those of the executors.
class BackgroundExecutors {
public:
    [[nodiscard]] static BackgroundExecutors& GetInstance();
    BackgroundExecutors() = default;
    ~BackgroundExecutors();
    BackgroundExecutors(const BackgroundExecutors&) = delete;
    BackgroundExecutors& operator=(const BackgroundExecutors&) = delete;

    void Keep(std::unique_ptr<OV::Executor> executor);
    /// Destroys the executors whose work is done; returns the number of the others.
    std::size_t Collect();

private:
    using Executors = OV::Array<std::unique_ptr<OV::Executor>>;

    OV::Lock lock_;
    Executors executors_ OV_GUARDED_BY(lock_);
};

}  // namespace Syncra::Server::ManagementTool::Core
