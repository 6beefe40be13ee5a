#include "OVRoot/Detail/TaskPool.hpp"

#include "OVRoot/Detail/RunLogged.hpp"
#include "OVRoot/Thread.hpp"

#include <utility>

namespace OV::Detail {

TaskPool::~TaskPool()
{
    Shutdown();
    Threads left;
    const LockGuard guard(lock_);
    isEnding_ = true;
    left.swap(threads_);
    left.splice(left.end(), finished_);
    // The guard lets go before `left` joins: a thread needs the lock to leave Take.
}

bool TaskPool::Execute(RunnableTask task)
{
    if (!task)
        throw NullReferenceException();
    std::exception_ptr missingThread;  // logged when the lock is free again
    const bool isTaken = Enqueue(std::move(task), missingThread);
    if (missingThread)
        RunLogged("Executor", [&] { std::rethrow_exception(missingThread); });
    return isTaken;
}

bool TaskPool::Enqueue(RunnableTask task, std::exception_ptr& missingThread)
{
    Threads finished;  // joined when the lock is free again
    const LockGuard guard(lock_);
    if (shutdown_)
        return false;
    finished.swap(finished_);
    if (idle_ <= queue_.size() && threads_.size() < maximumThreads_ &&
        !(missingThread = StartThread(task)))
        return true;
    if (threads_.empty())
        return false;
    queue_.push_back(std::move(task));
    work_.notify_one();
    return true;
}

std::exception_ptr TaskPool::StartThread(RunnableTask& first)
{
    const auto self = threads_.emplace(threads_.end());
    try {
        *self = std::jthread([this, self, first]() mutable { Serve(self, std::move(first)); });
        ++running_;
        // Held by the thread alone before it can be done.
        first.Reset();
        return nullptr;
    } catch (...) {
        // An entry without a thread would be waited for until the end of time.
        threads_.erase(self);
        return std::current_exception();
    }
}

void TaskPool::Serve(Threads::iterator self, RunnableTask task)
{
    const InterruptionScope interruption(stop_.get_token());
    for (; task; task = TakeNext(self)) {
        RunLogged("Executor", [&] { task->Run(); });
        // Released before the executor counts as terminated: its owner may rely on that.
        task.Reset();
    }
}

RunnableTask TaskPool::TakeNext(Threads::iterator self)
{
    const LockGuard guard(lock_);
    --running_;
    if (Terminated())
        ended_.notify_all();
    if (queue_.empty() && !shutdown_ && threads_.size() <= coreThreads_) {
        ++idle_;
        work_.wait_for(lock_, keepAlive_,
                       [this]() OV_REQUIRES(lock_) { return shutdown_ || !queue_.empty(); });
        --idle_;
    }
    if (queue_.empty()) {
        if (!isEnding_)
            finished_.splice(finished_.end(), threads_, self);
        return {};
    }
    RunnableTask task = std::move(queue_.front());
    queue_.pop_front();
    ++running_;
    return task;
}

void TaskPool::Shutdown()
{
    const LockGuard guard(lock_);
    shutdown_ = true;
    work_.notify_all();
    ended_.notify_all();
}

void TaskPool::Cancel()
{
    std::deque<RunnableTask> dropped;  // released when the lock is free again
    {
        const LockGuard guard(lock_);
        shutdown_ = true;
        dropped.swap(queue_);
        work_.notify_all();
        ended_.notify_all();
    }
    stop_.request_stop();
}

bool TaskPool::IsShutdown() const
{
    const LockGuard guard(lock_);
    return shutdown_;
}

bool TaskPool::IsCanceled() const
{
    return stop_.stop_requested();
}

bool TaskPool::IsTerminated() const
{
    const LockGuard guard(lock_);
    return Terminated();
}

bool TaskPool::AwaitTermination(std::chrono::milliseconds time)
{
    const LockGuard guard(lock_);
    return ended_.wait_for(lock_, time, [this]() OV_REQUIRES(lock_) { return Terminated(); });
}

void TaskPool::AwaitTermination()
{
    const LockGuard guard(lock_);
    ended_.wait(lock_, [this]() OV_REQUIRES(lock_) { return Terminated(); });
}

}  // namespace OV::Detail
