#include "OVRoot/PooledExecutor.hpp"

#include "OVRoot/Detail/TaskPool.hpp"

#include <algorithm>

namespace OV {

PooledExecutor::PooledExecutor(std::uint32_t coreThreads, std::uint32_t maximumThreads,
                               std::uint32_t keepAliveMilliseconds)
    : PoolBackedExecutor(std::make_unique<Detail::TaskPool>(
          coreThreads, std::max({coreThreads, maximumThreads, 1u}),
          std::chrono::milliseconds(keepAliveMilliseconds)))
{}

PooledExecutor::~PooledExecutor()
{
    Cancel();
}

}  // namespace OV
