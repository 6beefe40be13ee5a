#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/PoolBackedExecutor.hpp"

namespace OV {

/// A queue served by threads that come with the first task and go after a time without work. With
/// one thread, tasks run in the order in which they were given. The destructor cancels and waits.
class SYC_API PooledExecutor final : public PoolBackedExecutor {
public:
    /// Up to `maximumThreads` run at once; `coreThreads` of them are kept for
    /// `keepAliveMilliseconds` without work, the others go with the last waiting task.
    PooledExecutor(std::uint32_t coreThreads, std::uint32_t maximumThreads,
                   std::uint32_t keepAliveMilliseconds);
    ~PooledExecutor() override;
};

}  // namespace OV
