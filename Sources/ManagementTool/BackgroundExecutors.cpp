#include "ManagementTool/BackgroundExecutors.hpp"

#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/ServicePortCache.hpp"

#include <algorithm>

namespace Syncra::Server::ManagementTool::Core {

BackgroundExecutors& BackgroundExecutors::GetInstance()
{
    // What a request writes to when it ends has to be there until it has ended.
    (void)SYCB::ConnectionValidator::GetInstance();
    (void)SYCB::ServicePortCache::GetInstance();
    static BackgroundExecutors instance;
    return instance;
}

BackgroundExecutors::~BackgroundExecutors()
{
    const OV::LockGuard guard(lock_);
    for (const auto& executor : executors_)
        executor->Cancel();
    executors_.clear();
}

void BackgroundExecutors::Keep(std::unique_ptr<OV::Executor> executor)
{
    executor->Shutdown();
    {
        const OV::LockGuard guard(lock_);
        executors_.push_back(std::move(executor));
    }
    Collect();
}

std::size_t BackgroundExecutors::Collect()
{
    Executors finished;  // destroyed when the lock is free again
    const OV::LockGuard guard(lock_);
    const auto first = std::partition(executors_.begin(), executors_.end(),
                                      [](const auto& each) { return !each->IsTerminated(); });
    std::move(first, executors_.end(), std::back_inserter(finished));
    executors_.erase(first, executors_.end());
    return executors_.size();
}

}  // namespace Syncra::Server::ManagementTool::Core
