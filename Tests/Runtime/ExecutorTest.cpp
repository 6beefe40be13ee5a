#include "OVRoot/Condition.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "OVRoot/Thread.hpp"
#include "OVRoot/ThreadedExecutor.hpp"
#include "Support/Eventually.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using OV::MakeTask;

/// Never reached by a test that passes.
constexpr std::uint32_t TooLong = 60'000;

/// How many threads this process has.
std::size_t ThreadCount()
{
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& thread :
         std::filesystem::directory_iterator("/proc/self/task"))
        ++count;
    return count;
}

class Executors : public testing::TestWithParam<bool> {
protected:
    std::unique_ptr<OV::Executor> executor_ =
        GetParam() ? std::unique_ptr<OV::Executor>(std::make_unique<OV::PooledExecutor>(2, 2, 1000))
                   : std::make_unique<OV::ThreadedExecutor>();
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(ExecutorTest, Executors, testing::Bool(),
                         [](const auto& pooled) { return pooled.param ? "Pooled" : "Threaded"; });

TEST_P(Executors, ShutdownRunsWhatWasTakenAndTakesNothingMore)
{
    std::atomic<int> runs{0};
    OV::Condition go;
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(executor_->Execute(MakeTask([&] {
            go.Wait();
            ++runs;
        })));
    executor_->Shutdown();
    EXPECT_FALSE(executor_->Execute(MakeTask([&] { ++runs; })));
    EXPECT_TRUE(executor_->IsShutdown());
    EXPECT_FALSE(executor_->IsCanceled());
    EXPECT_FALSE(executor_->AwaitTermination(1)) << "the tasks still wait";
    go.Notify();
    executor_->AwaitTermination();
    EXPECT_TRUE(executor_->IsTerminated());
    EXPECT_EQ(runs, 20);
}

TEST_P(Executors, CancelWakesSleepersAndWaitersAndDropsTheRest)
{
    std::atomic<int> interrupted{0};
    OV::Condition never;
    OV::Condition sleeping;
    const auto stopped = [&](auto wait) {
        return MakeTask([&, wait] {
            try {
                sleeping.Notify();
                wait();
            } catch (const OV::InterruptedException&) {
                if (OV::Thread::IsInterrupted())
                    ++interrupted;
                throw;
            }
        });
    };
    EXPECT_TRUE(executor_->Execute(stopped([] { OV::Thread::Sleep(TooLong); })));
    sleeping.Wait();
    sleeping.Reset();
    EXPECT_TRUE(executor_->Execute(stopped([&] { never.Wait(); })));
    sleeping.Wait();
    executor_->Cancel();
    EXPECT_FALSE(executor_->Execute(MakeTask([] {})));
    EXPECT_TRUE(executor_->IsCanceled());
    EXPECT_TRUE(executor_->AwaitTermination(TooLong));
    EXPECT_EQ(interrupted, 2);
    EXPECT_FALSE(OV::Thread::IsInterrupted()) << "the flag is the task's, not the caller's";
}

TEST_P(Executors, ATaskThatThrowsIsLoggedAndTheNextOneRuns)
{
    std::atomic<int> lines{0};
    auto former = OV::Logger::SetSink([&](const OV::LogRecord& record) {
        if (record.level == OV::LogLevel::Error)
            ++lines;
    });
    std::atomic<bool> ran{false};
    EXPECT_TRUE(executor_->Execute(MakeTask([] { throw std::runtime_error("on purpose"); })));
    EXPECT_TRUE(executor_->Execute(MakeTask([] { throw 1; })));
    EXPECT_TRUE(executor_->Execute(MakeTask([&] { ran = true; })));
    EXPECT_THROW((void)executor_->Execute({}), OV::NullReferenceException);
    executor_->Shutdown();
    executor_->AwaitTermination();
    OV::Logger::SetSink(std::move(former));
    EXPECT_EQ(lines, 2);
    EXPECT_TRUE(ran);
}

TEST_P(Executors, EveryTaskIsReleasedBeforeTermination)
{
    const auto owned = std::make_shared<int>(0);
    OV::Condition started;
    OV::Condition go;
    // Two that run, one that waits for a thread where there are two of them.
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(executor_->Execute(MakeTask([owned, &started, &go] {
            started.Notify();
            go.Wait();
        })));
    started.Wait();
    go.Notify();
    executor_->Cancel();
    executor_->AwaitTermination();
    EXPECT_EQ(owned.use_count(), 1);
    EXPECT_FALSE(executor_->Execute(MakeTask([owned] {})));
    EXPECT_EQ(owned.use_count(), 1) << "one that is not taken as well";
}

TEST(ExecutorTest, OneThreadKeepsTheOrderFromEveryCaller)
{
    // Keep-alive 0: the thread ends whenever it finds no work, and its successor must not overtake
    // it.
    OV::PooledExecutor executor(1, 1, 0);
    std::atomic<int> running{0};
    std::atomic<int> overlaps{0};
    std::vector<std::vector<int>> seen(3);
    std::vector<std::thread> callers;
    for (std::size_t caller = 0; caller < seen.size(); ++caller)
        callers.emplace_back([&, caller] {
            for (int number = 0; number < 2000; ++number)
                executor.Execute(MakeTask([&, caller, number] {
                    overlaps += running++;
                    seen[caller].push_back(number);
                    --running;
                }));
        });
    for (auto& caller : callers)
        caller.join();
    executor.Shutdown();
    executor.AwaitTermination();
    EXPECT_EQ(overlaps, 0);
    for (const auto& numbers : seen) {
        ASSERT_EQ(numbers.size(), 2000u);
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    }
}

TEST(ExecutorTest, APoolGrowsToItsMaximumAndGivesItsThreadsBack)
{
    // The thread sanitizer starts one of its own with the first that we start.
    std::thread([] {}).join();
    const std::size_t before = ThreadCount();
    OV::PooledExecutor executor(1, 3, 50);
    EXPECT_EQ(ThreadCount(), before) << "threads come with the first task";
    std::atomic<int> running{0};
    OV::Condition go;
    for (int i = 0; i < 5; ++i)
        executor.Execute(MakeTask([&] {
            ++running;
            go.Wait();
            --running;
        }));
    EXPECT_TRUE(Eventually([&] { return running == 3; }));
    EXPECT_TRUE(Eventually([&] { return ThreadCount() == before + 3; }));
    go.Notify();
    EXPECT_TRUE(Eventually([&] { return ThreadCount() == before; })) << "after the keep-alive";

    std::atomic<bool> ran{false};
    executor.Execute(MakeTask([&] { ran = true; }));
    EXPECT_TRUE(Eventually([&] { return ran.load(); })) << "and comes back with the next task";
}

TEST(ExecutorTest, SurvivesCancelBesideExecute)
{
    for (int round = 0; round < 200; ++round) {
        auto executor = std::make_unique<OV::PooledExecutor>(1, 2, 0);
        std::atomic<int> taken{0};
        std::atomic<int> run{0};
        std::thread caller([&] {
            while (executor->Execute(MakeTask([&] { ++run; })))
                ++taken;
        });
        executor->Cancel();
        caller.join();
        executor.reset();
        EXPECT_LE(run, taken);
    }
}
