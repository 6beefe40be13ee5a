#include "OVRoot/Detail/TaskPool.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"

#include <utility>

namespace OV::Detail {

namespace {

void RunLogged(Runnable& task)
{
    try {
        task.Run();
    } catch (const InterruptedException&) {
        // Cancelled while it waited.
    } catch (const std::exception& error) {
        Logger::Error("Executor", u"A task ended by an exception: %", {error.what()});
    }
}

}  // namespace

TaskPool::~TaskPool()
{
    Shutdown();
    AwaitTermination();
    // No thread takes a task any more; each leaves its loop and is joined by its jthread.
    std::unique_lock guard(lock_);
    ended_.wait(guard, [this] { return threads_.empty(); });
    JoinFinished(guard);
}

bool TaskPool::Execute(RunnableTask task)
{
    std::unique_lock guard(lock_);
    if (shutdown_)
        return false;
    queue_.push_back(std::move(task));
    if (idle_ >= queue_.size() || threads_.size() >= maximumThreads_) {
        work_.notify_one();
        return true;
    }
    JoinFinished(guard);
    const auto self = threads_.emplace(threads_.end());
    *self = std::jthread([this, self] { Serve(self); });
    return true;
}

void TaskPool::Serve(std::list<std::jthread>::iterator self)
{
    const InterruptionScope interruption(stop_.get_token());
    std::unique_lock guard(lock_);
    for (;;) {
        ++idle_;
        const auto patience = threads_.size() > coreThreads_ ? decltype(keepAlive_)(0) : keepAlive_;
        work_.wait_for(guard, patience, [this] { return shutdown_ || !queue_.empty(); });
        --idle_;
        if (queue_.empty())
            break;
        RunnableTask task = std::move(queue_.front());
        queue_.pop_front();
        ++running_;
        guard.unlock();
        RunLogged(*task);
        // Released before the executor counts as terminated: its owner may rely on that.
        task.Reset();
        guard.lock();
        --running_;
        if (Terminated())
            ended_.notify_all();
    }
    finished_.splice(finished_.end(), threads_, self);
    ended_.notify_all();
}

void TaskPool::JoinFinished(std::unique_lock<std::mutex>& guard)
{
    std::list<std::jthread> finished;
    finished.swap(finished_);
    guard.unlock();
    finished.clear();
    guard.lock();
}

void TaskPool::Shutdown()
{
    const std::lock_guard guard(lock_);
    shutdown_ = true;
    work_.notify_all();
    ended_.notify_all();
}

void TaskPool::Cancel()
{
    std::deque<RunnableTask> dropped;
    {
        const std::lock_guard guard(lock_);
        shutdown_ = true;
        dropped.swap(queue_);
        work_.notify_all();
        ended_.notify_all();
    }
    stop_.request_stop();
}

bool TaskPool::IsShutdown() const
{
    const std::lock_guard guard(lock_);
    return shutdown_;
}

bool TaskPool::IsCanceled() const
{
    return stop_.stop_requested();
}

bool TaskPool::IsTerminated() const
{
    const std::lock_guard guard(lock_);
    return Terminated();
}

bool TaskPool::AwaitTermination(std::chrono::milliseconds time)
{
    std::unique_lock guard(lock_);
    return ended_.wait_for(guard, time, [this] { return Terminated(); });
}

void TaskPool::AwaitTermination()
{
    std::unique_lock guard(lock_);
    ended_.wait(guard, [this] { return Terminated(); });
}

}  // namespace OV::Detail
