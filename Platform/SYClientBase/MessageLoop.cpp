#include "SYClientBase/MessageLoop.hpp"

#include "OVRoot/Detail/RunLogged.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Thread.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>

namespace SYCB {

namespace {

/// What is waited for may come about on another thread, which posts nothing.
constexpr std::chrono::milliseconds LookInterval{50};

/// The queue of a process whose host has no message loop of its own.
struct Queue {
    OV::Lock lock;
    std::condition_variable_any posted;
    std::deque<OV::RunnableTask> tasks OV_GUARDED_BY(lock);
    /// Shared, so that nothing of the host is copied or destroyed under the lock. Null for none.
    std::shared_ptr<const MessageLoop::Poster> poster OV_GUARDED_BY(lock);
    std::shared_ptr<const MessageLoop::Runner> runner OV_GUARDED_BY(lock);
};

/// Never destroyed: a thread may still post while the process ends.
Queue& TheQueue()
{
    static auto& queue = *new Queue;
    return queue;
}

OV::RunnableTask TakeFirst()
{
    Queue& queue = TheQueue();
    const OV::LockGuard guard(queue.lock);
    if (queue.tasks.empty())
        return {};
    OV::RunnableTask task = std::move(queue.tasks.front());
    queue.tasks.pop_front();
    return task;
}

void RunOne(const OV::RunnableTask& task)
{
    OV::AssertNoLockHeld("a task of SYCB::MessageLoop");
    OV::Detail::RunLogged("MessageLoop", [&task] { task->Run(); });
}

/// The analysis does not follow a lock into the condition variable.
void WaitInQueue(std::chrono::steady_clock::time_point until) OV_NO_ANALYSIS
{
    Queue& queue = TheQueue();
    std::unique_lock guard(queue.lock);
    (void)queue.posted.wait_until(guard, OV::Thread::CurrentToken(), until,
                                  [&queue]() OV_NO_ANALYSIS { return !queue.tasks.empty(); });
}

/// Waits for the next task, or runs the host's loop, which alone runs them where it is installed.
void WaitForTask(std::chrono::steady_clock::time_point until)
{
    std::shared_ptr<const MessageLoop::Runner> runner;
    {
        Queue& queue = TheQueue();
        const OV::LockGuard guard(queue.lock);
        runner = queue.runner;
        if (!runner && queue.poster)
            throw OV::IllegalArgumentException(
                "The host's own message loop runs the tasks. Give MessageLoop::SetRunner what runs "
                "it, or wait there.");
    }
    const auto now = std::chrono::steady_clock::now();
    const auto soon = std::min(until, now + LookInterval);
    if (!runner) {
        WaitInQueue(soon);
    } else if (soon > now) {
        OV::AssertNoLockHeld("MessageLoop::Runner");
        (*runner)(static_cast<std::uint32_t>(
            std::chrono::ceil<std::chrono::milliseconds>(soon - now).count()));
    }
}

/// Installs a function of the host, an empty one as none, and returns the former one. The analysis
/// does not follow a member that is named by a pointer.
template <class Function>
Function Exchange(std::shared_ptr<const Function> Queue::*place, Function function) OV_NO_ANALYSIS
{
    auto next = function ? std::make_shared<const Function>(std::move(function)) : nullptr;
    Queue& queue = TheQueue();
    {
        const OV::LockGuard guard(queue.lock);
        next.swap(queue.*place);
    }
    return next ? *next : Function();
}

}  // namespace

void MessageLoop::Post(OV::RunnableTask task)
{
    if (!task)
        return;
    Queue& queue = TheQueue();
    std::shared_ptr<const Poster> poster;
    {
        const OV::LockGuard guard(queue.lock);
        poster = queue.poster;
        if (!poster)
            queue.tasks.push_back(std::move(task));
    }
    if (poster) {
        OV::AssertNoLockHeld("MessageLoop::Poster");
        (*poster)(std::move(task));
    } else
        queue.posted.notify_all();
}

MessageLoop::Poster MessageLoop::SetPoster(Poster poster)
{
    return Exchange(&Queue::poster, std::move(poster));
}

MessageLoop::Runner MessageLoop::SetRunner(Runner runner)
{
    return Exchange(&Queue::runner, std::move(runner));
}

std::size_t MessageLoop::RunPending()
{
    std::size_t waiting = 0;
    {
        Queue& queue = TheQueue();
        const OV::LockGuard guard(queue.lock);
        waiting = queue.tasks.size();
    }
    std::size_t ran = 0;
    for (; ran < waiting; ++ran) {
        const OV::RunnableTask task = TakeFirst();
        if (!task)  // a task that ran the loop itself took the rest
            break;
        RunOne(task);
    }
    return ran;
}

bool MessageLoop::RunUntil(const std::function<bool()>& done, std::uint32_t milliseconds)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!done()) {
        if (OV::Thread::IsInterrupted())
            throw OV::InterruptedException();
        if (const OV::RunnableTask task = TakeFirst())
            RunOne(task);
        else if (std::chrono::steady_clock::now() >= until)
            return done();
        else
            WaitForTask(until);
    }
    return true;
}

}  // namespace SYCB
