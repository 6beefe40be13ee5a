#pragma once

#include "OVRoot/Executor.hpp"
#include "OVRoot/Export.hpp"

#include <cstdint>
#include <functional>

namespace SYCB {

/// The way to the host's main thread. A host with a message loop of its own installs a poster;
/// without one, tasks wait in a queue of the process until its main thread runs them here. One a
/// process.
class SYC_API MessageLoop {
public:
    /// Hands a task to the main thread of the host.
    using Poster = std::function<void(OV::RunnableTask)>;
    /// Runs the host's loop for at most so many milliseconds.
    using Runner = std::function<void(std::uint32_t milliseconds)>;

    /// Hands the task to the main thread and returns at once. Safe on any thread. Tasks posted by
    /// one thread run in its order.
    static void Post(OV::RunnableTask task);
    /// Installs `poster` and returns the former one; an empty one restores the queue. The poster is
    /// called on the posting thread, must not block and must not run the task before it returns;
    /// what it throws goes to who posts, and the task is lost.
    static Poster SetPoster(Poster poster);
    /// Installs what runs the host's own loop while RunUntil waits, and returns the former one: a
    /// function of the main thread that waits for what comes there and runs it, and returns after
    /// the milliseconds it is given, or before; what it throws goes to who waits. A host that
    /// installs a poster and waits by RunUntil needs one.
    static Runner SetRunner(Runner runner);

    /// Runs the tasks that wait in the queue now, not those that they post. Returns their number.
    /// For the main thread; a task may call it again. A task that throws is logged and ends there.
    static std::size_t RunPending();
    /// Runs tasks as they come until `done` holds, which is looked at after each of them and every
    /// 50 ms, or `milliseconds` have passed; returns whether it holds. Throws
    /// OV::InterruptedException when the calling thread is asked to stop, and
    /// OV::IllegalArgumentException where a poster is installed without a runner: it would wait for
    /// what only the host's loop runs.
    [[nodiscard]] static bool RunUntil(const std::function<bool()>& done,
                                       std::uint32_t milliseconds);
};

/// Delivers a runnable to the main thread: Run posts it to the message loop.
class SYC_API MessageLoopRunnable final : public OV::Runnable {
public:
    /// The task that the main thread is to run.
    explicit MessageLoopRunnable(OV::RunnableTask task) : task_(std::move(task)) {}
    /// Returns at once.
    void Run() override { MessageLoop::Post(task_); }

private:
    OV::RunnableTask task_;
};

}  // namespace SYCB
