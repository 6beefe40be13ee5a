#include "OVRoot/ThreadedExecutor.hpp"

#include "OVRoot/Detail/TaskPool.hpp"

#include <limits>

namespace OV {

ThreadedExecutor::ThreadedExecutor()
    : PoolBackedExecutor(std::make_unique<Detail::TaskPool>(
          0, std::numeric_limits<std::size_t>::max(), std::chrono::milliseconds(0)))
{}

}  // namespace OV
