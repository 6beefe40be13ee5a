#pragma once

#include "OVRoot/PoolBackedExecutor.hpp"

namespace OV {

/// One new thread a task, for a request that is made once. The destructor waits for its tasks.
class ThreadedExecutor final : public PoolBackedExecutor {
public:
    ThreadedExecutor();
};

}  // namespace OV
