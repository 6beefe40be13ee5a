#pragma once

#include "OVRoot/Executor.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
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
    void Serve(std::list<std::jthread>::iterator self);
    void JoinFinished(std::unique_lock<std::mutex>& guard);
    [[nodiscard]] bool Terminated() const { return shutdown_ && queue_.empty() && running_ == 0; }

    const std::size_t coreThreads_;
    const std::size_t maximumThreads_;
    const std::chrono::milliseconds keepAlive_;
    mutable std::mutex lock_;
    std::condition_variable work_;
    std::condition_variable ended_;
    std::deque<RunnableTask> queue_;
    std::list<std::jthread> threads_;
    std::list<std::jthread> finished_;  ///< left their loop, to be joined
    std::size_t idle_ = 0;
    std::size_t running_ = 0;
    bool shutdown_ = false;
    std::stop_source stop_;
};

}  // namespace OV::Detail
