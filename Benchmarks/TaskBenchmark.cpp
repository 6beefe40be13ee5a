// A task of the management tool beside the plainest ways to have something done elsewhere.
#include "Beside.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/MessageLoop.hpp"

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

namespace {

using namespace Syncra::Server::ManagementTool::Core;

struct Nothing final : AsyncTaskExecuting::Task {
    bool RunTask() override { return true; }
};

/// A thread that serves a queue, and a caller who waits for each of his tasks.
class BareQueue {
public:
    void Do(std::function<void()> work)
    {
        std::unique_lock guard(lock_);
        bool isDone = false;
        tasks_.push_back([&] {
            work();
            const std::lock_guard inner(lock_);
            isDone = true;
            changed_.notify_all();
        });
        changed_.notify_all();
        changed_.wait(guard, [&] { return isDone; });
    }

private:
    void Serve(const std::stop_token& stop)
    {
        std::unique_lock guard(lock_);
        while (changed_.wait(guard, stop, [this] { return !tasks_.empty(); })) {
            const auto task = std::move(tasks_.front());
            tasks_.pop_front();
            guard.unlock();
            task();
            guard.lock();
        }
    }

    std::mutex lock_;
    std::condition_variable_any changed_;
    std::deque<std::function<void()>> tasks_;
    std::jthread thread_{[this](const std::stop_token& stop) { Serve(stop); }};
};

/// Blocks of tasks: one by one, what is measured is how fast an idle processor wakes.
constexpr int Block = 100;

void RunTask(OV::Executor* executor)
{
    (void)UserAsyncTaskExecutingImplementation::Current().ExecuteTask(OV::MakeRef<Nothing>(),
                                                                      executor, 0);
    SYCB::MessageLoop::RunPending();
}

/// On a thread of its own.
void TaskBesideThread(benchmark::State& state)
{
    Beside(state, "a task on a thread of its own", "a std::jthread that hands back a result", 1.5)
        .Run([] { RunTask(nullptr); },
             [] {
                 std::promise<bool> result;
                 std::jthread thread([&] { result.set_value(true); });
                 benchmark::DoNotOptimize(result.get_future().get());
             },
             Block);
}
BENCHMARK(TaskBesideThread)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// On the pooled executor that a connection keeps.
void TaskBesideQueue(benchmark::State& state)
{
    OV::PooledExecutor pool(1, 1, 300'000);
    BareQueue queue;
    Beside(state, "a task on a pooled executor", "a thread that serves a queue")
        .Run([&] { RunTask(&pool); }, [&] { queue.Do([] {}); }, Block);
}
BENCHMARK(TaskBesideQueue)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
