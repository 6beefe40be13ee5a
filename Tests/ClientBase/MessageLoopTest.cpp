#include "SYClientBase/MessageLoop.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/Identified.hpp"
#include "Support/Thrown.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using SYCB::MessageLoop;

TEST(MessageLoopTest, TasksOfManyThreadsRunHereInTheOrderOfEachThread)
{
    constexpr int threadCount = 4;
    constexpr int taskCount = 500;
    std::vector<std::vector<int>> ran(threadCount);  // touched by this thread alone
    int total = 0;
    const auto main = std::this_thread::get_id();
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < threadCount; ++thread)
            threads.emplace_back([&, thread] {
                for (int task = 0; task < taskCount; ++task)
                    SYCB::MessageLoopRunnable(OV::MakeTask([&, thread, task] {
                        EXPECT_EQ(std::this_thread::get_id(), main);
                        ran[static_cast<std::size_t>(thread)].push_back(task);
                        ++total;
                    })).Run();
            });
        EXPECT_TRUE(
            MessageLoop::RunUntil([&] { return total == threadCount * taskCount; }, 30'000));
    }
    for (const std::vector<int>& order : ran)
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(MessageLoopTest, OnePassRunsWhatWaitsNowAndOutlivesATaskThatThrows)
{
    int runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        MessageLoop::Post(OV::MakeTask(again));
        throw std::runtime_error("expected by the test");
    };
    MessageLoop::Post(OV::MakeTask(again));
    EXPECT_EQ(MessageLoop::RunPending(), 1u);
    EXPECT_EQ(MessageLoop::RunPending(), 1u);
    again = [&] { ++runs; };
    EXPECT_EQ(MessageLoop::RunPending(), 1u);
    EXPECT_EQ(MessageLoop::RunPending(), 1u) << "the last task of the former kind";
    EXPECT_EQ(MessageLoop::RunPending(), 0u);
    EXPECT_EQ(runs, 4);
}

TEST(MessageLoopTest, ATaskMayRunTheLoopItself)
{
    std::vector<int> order;
    MessageLoop::Post(OV::MakeTask([&] {
        order.push_back(1);
        MessageLoop::RunPending();
        order.push_back(3);
    }));
    MessageLoop::Post(OV::MakeTask([&] { order.push_back(2); }));
    MessageLoop::RunPending();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(MessageLoopTest, AWaitEndsByTimeByItsConditionAndByInterruption)
{
    EXPECT_FALSE(MessageLoop::RunUntil([] { return false; }, 20));
    EXPECT_TRUE(MessageLoop::RunUntil([] { return true; }, 0));
    // What comes about on another thread need not be posted.
    std::jthread other;
    std::atomic<bool> isDone = false;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(MessageLoop::RunUntil(
        [&] {
            if (other.joinable())
                return isDone.load();
            other = std::jthread([&] { isDone = true; });
            return false;
        },
        60'000));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
    // Only the host's loop runs the tasks of a host that has one.
    const auto former = MessageLoop::SetPoster([](OV::RunnableTask) {});
    EXPECT_EQ(Thrown([] { (void)MessageLoop::RunUntil([] { return false; }, 60'000); }).name,
              "IllegalArgumentException");
    MessageLoop::SetPoster(former);
    bool interrupted = false;
    OV::Thread thread("Waiting", [&] {
        const Thrown thrown([] { (void)MessageLoop::RunUntil([] { return false; }, 60'000); });
        interrupted = thrown.name == "InterruptedException";
    });
    thread.Interrupt();
    thread.Join();
    EXPECT_TRUE(interrupted);
}
