#include "ManagementTool/BackgroundExecutors.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/ProcessEnd.hpp"
#include "SYCommunication/HttpClient.hpp"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace Syncra::Server::ManagementTool::Core {

namespace {

using Clock = std::chrono::steady_clock;

std::uint32_t MillisecondsUntil(Clock::time_point time)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now()).count();
    return static_cast<std::uint32_t>(std::max<std::int64_t>(0, left));
}

/// Its thread goes on until the process is gone, and needs it so long.
void LeaveAlone(std::unique_ptr<OV::Executor> executor)
{
    static OV::Lock lock;
    static auto& all = *new std::vector<std::unique_ptr<OV::Executor>>;
    OV::Logger::Warning(OV::Logger::Library,
                        u"Work that was given up does not end and is left alone.");
    const OV::LockGuard guard(lock);
    all.push_back(std::move(executor));
}

}  // namespace

BackgroundExecutors& BackgroundExecutors::GetInstance()
{
    static auto& instance = *new BackgroundExecutors;
    Communication::PrepareTransport();
    [[maybe_unused]] static const bool ends = OV::AtProcessEnd([] { instance.End(); });
    return instance;
}

void BackgroundExecutors::Keep(std::unique_ptr<OV::Executor> executor)
{
    executor->Shutdown();
    // Cancelled without the lock: what it drops answers its callers.
    for (bool isCancelled = false; !Add(executor, isCancelled); isCancelled = true)
        executor->Cancel();
    Collect();
}

bool BackgroundExecutors::Add(std::unique_ptr<OV::Executor>& executor, bool isCancelled)
{
    const OV::LockGuard guard(lock_);
    if (hasEnded_ && !isCancelled)
        return false;
    executors_.push_back(std::move(executor));
    return true;
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

auto BackgroundExecutors::TakeAllToEnd() -> Executors
{
    const OV::LockGuard guard(lock_);
    hasEnded_ = true;
    return std::exchange(executors_, {});
}

void BackgroundExecutors::End(std::uint32_t milliseconds)
{
    const auto until = Clock::now() + std::chrono::milliseconds(milliseconds);
    // Each round ends what the work of the one before left here.
    for (Executors ending = TakeAllToEnd(); !ending.empty(); ending = TakeAllToEnd()) {
        for (const auto& executor : ending)
            executor->Cancel();
        for (auto& executor : ending)
            if (!executor->AwaitTermination(MillisecondsUntil(until)))
                LeaveAlone(std::move(executor));
    }
}

}  // namespace Syncra::Server::ManagementTool::Core
