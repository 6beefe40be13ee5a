#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Ref.hpp"

#include <functional>

namespace OV {

/// A piece of work. Run is called once, on the thread that the executor chooses.
class SYC_API Runnable {
public:
    virtual ~Runnable() = default;
    /// Does the work. An exception that leaves it is logged by the executor and goes no further.
    virtual void Run() = 0;
};

/// A runnable in shared ownership, as executors take it.
using RunnableTask = Ref<Runnable>;

/// A runnable made of a function.
[[nodiscard]] SYC_API RunnableTask MakeTask(std::function<void()> work);

/// Runs tasks, each at most once. Execute never blocks for the task and never runs it on the
/// calling thread. A task that throws is logged and ends there: the executor goes on. No task may
/// be the last owner of its executor, whose destructor would wait for that very task.
class SYC_API Executor {
public:
    virtual ~Executor() = default;

    /// Takes the task unless the executor was shut down or cancelled, or the system gives it no
    /// thread at all; a task that is not taken is released unrun. Returns whether it was taken. An
    /// empty task throws NullReferenceException.
    virtual bool Execute(RunnableTask task) = 0;
    /// Runs what was taken, takes nothing more.
    virtual void Shutdown() = 0;
    /// Drops what has not begun, asks running tasks to stop (see Thread.hpp), takes nothing more.
    virtual void Cancel() = 0;
    /// Whether Shutdown or Cancel was called.
    [[nodiscard]] virtual bool IsShutdown() const = 0;
    /// Whether Cancel was called.
    [[nodiscard]] virtual bool IsCanceled() const = 0;
    /// Shut down or cancelled, and no task is running or waiting.
    [[nodiscard]] virtual bool IsTerminated() const = 0;
    /// Waits at most `milliseconds` for IsTerminated; returns it.
    virtual bool AwaitTermination(std::uint32_t milliseconds) = 0;
    /// The same for as long as it takes.
    virtual void AwaitTermination() = 0;
};

}  // namespace OV
