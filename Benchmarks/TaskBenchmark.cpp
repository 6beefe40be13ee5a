// A task of the management tool beside the plainest ways to have something done elsewhere.
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/MessageLoop.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
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

/// Runs the strategy with `executor` and the bare way in turn.
template <class Bare>
void Compare(benchmark::State& state, OV::Executor* executor, Bare bare)
{
    Clock::duration ours{}, other{};
    for (auto _ : state) {
        const auto start = Clock::now();
        (void)UserAsyncTaskExecutingImplementation::Current().ExecuteTask(OV::MakeRef<Nothing>(),
                                                                          executor, 0);
        SYCB::MessageLoop::RunPending();
        const auto middle = Clock::now();
        bare();
        other += Clock::now() - middle;
        ours += middle - start;
        state.SetIterationTime(std::chrono::duration<double>(middle - start).count());
    }
    const auto each = [&](Clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count() /
               static_cast<double>(state.iterations());
    };
    state.counters["ours_us"] = each(ours);
    state.counters["bare_us"] = each(other);
    state.counters["ratio"] = each(ours) / each(other);
}

/// On a thread of its own, beside starting and joining one.
void TaskBesideThread(benchmark::State& state)
{
    Compare(state, nullptr, [] { std::jthread([] {}).join(); });
}
BENCHMARK(TaskBesideThread)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// On the pooled executor that a connection keeps, beside a queue with one thread.
void TaskBesideQueue(benchmark::State& state)
{
    OV::PooledExecutor pool(1, 1, 300'000);
    BareQueue queue;
    Compare(state, &pool, [&] { queue.Do([] {}); });
}
BENCHMARK(TaskBesideQueue)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
