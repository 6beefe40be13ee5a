#pragma once

#include "OVRoot/Executor.hpp"
#include "OVRoot/Lock.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <list>
#include <stop_token>
#include <thread>

namespace OV::Detail {

/// Threads that take tasks from one queue; both executors are made of it.
class TaskPool {
public:
    /// A thread beyond `coreThreads` goes as soon as the queue is empty, the others after
    /// `keepAlive`.
    TaskPool(std::size_t coreThreads, std::size_t maximumThreads,
             std::chrono::milliseconds keepAlive)
        : coreThreads_(coreThreads), maximumThreads_(maximumThreads), keepAlive_(keepAlive)
    {}
    /// Waits for every thread.
    ~TaskPool();

    bool Execute(RunnableTask task);
    void Shutdown();
    void Cancel();
    [[nodiscard]] bool IsShutdown() const;
    [[nodiscard]] bool IsCanceled() const;
    [[nodiscard]] bool IsTerminated() const;
    bool AwaitTermination(std::chrono::milliseconds time);
    void AwaitTermination();

private:
    using Threads = std::list<std::jthread>;

    /// Body of the thread `self`.
    void Serve(Threads::iterator self, RunnableTask task);
    /// Behind a task the next one; empty when `self` has to go, and then it is among the finished
    /// already, so that Execute never counts on a thread that will not look at the queue again.
    RunnableTask TakeNext(Threads::iterator self);
    [[nodiscard]] bool Enqueue(RunnableTask task, std::exception_ptr& missingThread)
        OV_EXCLUDES(lock_);
    /// One more thread, which begins with that task and takes it; or why there is none.
    [[nodiscard]] std::exception_ptr StartThread(RunnableTask& first) OV_REQUIRES(lock_);
    [[nodiscard]] bool Terminated() const OV_REQUIRES(lock_)
    {
        return shutdown_ && queue_.empty() && running_ == 0;
    }

    const std::size_t coreThreads_;
    const std::size_t maximumThreads_;
    const std::chrono::milliseconds keepAlive_;
    mutable Lock lock_;
    std::condition_variable_any work_;
    std::condition_variable_any ended_;
    std::deque<RunnableTask> queue_ OV_GUARDED_BY(lock_);
    Threads threads_ OV_GUARDED_BY(lock_);
    Threads finished_ OV_GUARDED_BY(lock_);  ///< took their last task, to be joined
    std::size_t idle_ OV_GUARDED_BY(lock_) = 0;
    std::size_t running_ OV_GUARDED_BY(lock_) = 0;
    bool shutdown_ OV_GUARDED_BY(lock_) = false;
    bool isEnding_ OV_GUARDED_BY(lock_) = false;  ///< the threads are joined where they stand
    std::stop_source stop_;
};

}  // namespace OV::Detail
