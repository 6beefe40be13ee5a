#pragma once

#include "Flow/Flow.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"

namespace SYC {

/// The executors of flows whose owner has none: workers that come with the work, and the main
/// thread's message loop. Made and destroyed on the main thread, after the flows; waits for work
/// that was asked to stop.
class SYC_API OwnExecutors {
public:
    /// Valid as long as this lives.
    [[nodiscard]] operator FlowExecutors() noexcept { return {worker_, home_}; }

private:
    SYCB::MessageLoopExecutor home_;
    OV::PooledExecutor worker_{0, 2, 0};
};

}  // namespace SYC
