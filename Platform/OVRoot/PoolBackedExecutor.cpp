#include "OVRoot/PoolBackedExecutor.hpp"

#include "OVRoot/Detail/TaskPool.hpp"

#include <utility>

namespace OV {

PoolBackedExecutor::PoolBackedExecutor(std::unique_ptr<Detail::TaskPool> pool)
    : pool_(std::move(pool))
{}

PoolBackedExecutor::~PoolBackedExecutor() = default;

bool PoolBackedExecutor::Execute(RunnableTask task)
{
    return pool_->Execute(std::move(task));
}

void PoolBackedExecutor::Shutdown()
{
    pool_->Shutdown();
}

void PoolBackedExecutor::Cancel()
{
    pool_->Cancel();
}

bool PoolBackedExecutor::IsShutdown() const
{
    return pool_->IsShutdown();
}

bool PoolBackedExecutor::IsCanceled() const
{
    return pool_->IsCanceled();
}

bool PoolBackedExecutor::IsTerminated() const
{
    return pool_->IsTerminated();
}

bool PoolBackedExecutor::AwaitTermination(std::uint32_t milliseconds)
{
    return pool_->AwaitTermination(std::chrono::milliseconds(milliseconds));
}

void PoolBackedExecutor::AwaitTermination()
{
    pool_->AwaitTermination();
}

}  // namespace OV
