#pragma once

#include "OVRoot/Condition.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/Export.hpp"

#include <atomic>

namespace Syncra::Server::ManagementTool::Core {

/// Runs one task on an executor, which it starts when it is made, and holds what the task answers.
/// For the main thread.
class SYC_API AsyncTaskExecuting {
public:
    class Response;
    class Task;

    /// Starts the task on `executor`, which has to outlive it, or on one of its own when that is
    /// null. An executor that was cancelled never runs the task, and the response stays pending.
    /// Throws OV::NullReferenceException without a task or a response; what the executor throws
    /// goes on, and the response has failed then.
    AsyncTaskExecuting(OV::Ref<Task> task, OV::Ref<Response> response, OV::Executor* executor);
    /// The same with a response made by `new`, which belongs to its holders from now on, or with
    /// one that an OV::Ref holds already.
    AsyncTaskExecuting(OV::Ref<Task> task, Response* response, OV::Executor* executor);
    /// Never waits for work under way: an executor of its own finishes in the background.
    virtual ~AsyncTaskExecuting();
    AsyncTaskExecuting(const AsyncTaskExecuting&) = delete;
    AsyncTaskExecuting& operator=(const AsyncTaskExecuting&) = delete;

    /// The work goes on; only the main thread's reaction to it is left out.
    void CancelTask();
    /// Whether the executor took the task. One that was not taken is not worth waiting for.
    [[nodiscard]] bool IsStarted() const noexcept { return isStarted_; }

private:
    OV::Ref<Response> response_;
    std::unique_ptr<OV::Executor> ownExecutor_;
    bool isStarted_ = false;
};

/// What a task answers, and the main thread's reaction to it. As a condition it is notified when
/// the task has finished, and stays so: who waits later does not miss it. The first result is the
/// one that counts.
class SYC_API AsyncTaskExecuting::Response : public OV::Runnable,
                                             public OV::Condition,
                                             public std::enable_shared_from_this<Response> {
public:
    /// Blocks until the task has finished; with a limit, returns whether it finished in time. Throw
    /// OV::InterruptedException when the calling thread is asked to stop.
    using OV::Condition::Wait;

    /// The flags may be read on any thread.
    [[nodiscard]] bool IsPending() const noexcept { return isPending_; }
    /// Whether the reaction is left out.
    [[nodiscard]] bool IsCancelled() const noexcept { return isCancelled_; }
    /// Whether the task succeeded; false while it is pending.
    [[nodiscard]] bool HasSucceeded() const noexcept { return hasSucceeded_; }

    /// On the main thread, after the task has finished; one that was cancelled before is not even
    /// handed to it, so that a process without a message loop does not collect them.
    void Run() final;

protected:
    /// The reaction to the result; not called when the task was cancelled.
    virtual void RunResponse() = 0;
    /// For the constructor of a response that has no reaction.
    void CancelReaction() noexcept { isCancelled_ = true; }
    /// For the task, before it notifies.
    void SetResult(bool hasSucceeded) noexcept { hasSucceeded_ = hasSucceeded; }

private:
    friend class AsyncTaskExecuting;
    friend class Task;
    // For the task alone: who waits must be able to rely on them.
    using OV::Condition::Notify;
    using OV::Condition::Reset;
    /// False when it has a result already.
    bool Finish(bool hasSucceeded);

    std::atomic<bool> hasResult_ = false;
    std::atomic<bool> isPending_ = true;
    std::atomic<bool> isCancelled_ = false;
    std::atomic<bool> hasSucceeded_ = false;
};

/// A request to a server. It owns what it needs, since it may outlast whoever waited for it.
class SYC_API AsyncTaskExecuting::Task : public OV::Runnable {
public:
    /// On the worker: does the work, wakes who waits, and hands the response to the main thread.
    /// Throws OV::NullReferenceException when the task was never started.
    void Run() final;

protected:
    /// The work; true for success. An exception counts as a failure, but says nothing to the user.
    virtual bool RunTask() = 0;

private:
    friend class AsyncTaskExecuting;
    class Once;
    void Finish(bool hasSucceeded) noexcept;

    OV::Ref<Response> response_;
};

}  // namespace Syncra::Server::ManagementTool::Core
