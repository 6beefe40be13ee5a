#include "OVRoot/Thread.hpp"
#include "OVRoot/Condition.hpp"
#include "OVRoot/EventSource.hpp"
#include "OVRoot/Executor.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "Support/LogCapture.hpp"
#include "Support/Thrown.hpp"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <barrier>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t UntilWoken = 60'000;

}  // namespace

TEST(ConditionTest, KeepsANotificationUntilReset)
{
    OV::Condition condition;
    EXPECT_FALSE(condition.Wait(1));
    condition.Notify();
    condition.Wait();
    EXPECT_TRUE(condition.Wait(0)) << "a second waiter sees it too";
    condition.Reset();
    EXPECT_FALSE(condition.Wait(0));

    std::atomic<int> woken{0};
    std::vector<std::jthread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] { woken += condition.Wait(UntilWoken) ? 1 : 0; });
    condition.Notify();
    waiters.clear();
    EXPECT_EQ(woken, 4);
}

TEST(ConditionTest, AWaiterMayDestroyItAtOnce)
{
    for (int round = 0; round < 500; ++round) {
        auto condition = std::make_unique<OV::Condition>();
        std::jthread notifier([&shared = *condition] { shared.Notify(); });
        condition->Wait();
        condition.reset();
    }
}

TEST(ThreadTest, AnInterruptEndsAWaitThatBeganOrWillBegin)
{
    OV::Condition begun;
    OV::Condition never;
    std::atomic<int> interrupted{0};
    const auto count = [&](auto&& wait) {
        interrupted += Thrown(wait).name == "InterruptedException";
    };
    {
        OV::Thread thread("a name longer than the system takes", [&] {
            begun.Notify();
            count([] { OV::Thread::Sleep(UntilWoken); });
            // The flag stays: whatever waits next ends at once.
            count([&] { (void)never.Wait(UntilWoken); });
            count([&] { never.Wait(); });
            never.Notify();
            count([&] { never.Wait(); });
        });
        begun.Wait();
        thread.Interrupt();
        thread.Join();
        thread.Join();
    }
    EXPECT_EQ(interrupted, 3) << "what happened already is not lost to an interruption";
    OV::Thread destroyed("", [] { OV::Thread::Sleep(UntilWoken); });
}

TEST(ThreadTest, AnExceptionEndsTheThreadAlone)
{
    const LogCapture log;
    OV::Thread("", [] { throw std::runtime_error("on purpose"); }).Join();
    EXPECT_TRUE(log.Mentions("on purpose"));
}

TEST(LoggerTest, ChangesItsSinkUnderWriters)
{
    std::atomic<int> lines{0};
    std::atomic<bool> inside{false};
    std::atomic<bool> overlapped{false};
    const auto sink = [&](const OV::LogRecord&) {
        if (inside.exchange(true))
            overlapped = true;
        ++lines;
        inside = false;
    };
    auto former = OV::Logger::SetSink(sink);
    {
        std::vector<std::jthread> writers;
        for (int writer = 0; writer < 3; ++writer)
            writers.emplace_back([] {
                for (int i = 0; i < 1000; ++i)
                    OV::Logger::Info("Test", u"% of %", {i, 1000});
            });
        for (int i = 0; i < 200; ++i)
            OV::Logger::SetSink(sink);
    }
    OV::Logger::SetSink([](const OV::LogRecord&) { throw std::runtime_error("a broken sink"); });
    EXPECT_NO_THROW(OV::Logger::Info("Test", u"line"));
    OV::Logger::SetSink(std::move(former));
    EXPECT_EQ(lines, 3000);
    EXPECT_FALSE(overlapped);
}

TEST(EventSourceTest, ObserversMayLeaveAndComeWhileTheyAreTold)
{
    OV::EventSource<int> source;
    int first = 1;
    int second = 2;
    int third = 3;
    source.Attach(first);
    source.Attach(second);
    source.Attach(first);
    std::vector<int> told;
    const auto tell = [&](int& observer) {
        told.push_back(observer);
        source.Detach(second);
        source.Attach(third);
    };
    source.Notify(tell);
    EXPECT_EQ(told, std::vector({1})) << "the second has left, the third comes too late";
    source.Notify(tell);
    EXPECT_EQ(told, std::vector({1, 1, 3}));
}

TEST(EventSourceTest, WhatAnObserverThrowsHarmsNobodyElse)
{
    OV::EventSource<int> source;
    std::array observers{1, 2, 3};
    for (int& observer : observers)
        source.Attach(observer);
    LogCapture log;
    int told = 0;
    for (int round = 0; round < 2; ++round)
        source.Notify([&](const int& observer) {
            ++told;
            if (observer == 1)
                throw std::runtime_error("on purpose");
            if (observer == 2)
                throw observer;
        });
    EXPECT_EQ(told, 6);
    EXPECT_TRUE(log.Has("SYClient: An observer (int) failed: on purpose"));
    EXPECT_TRUE(log.Has("SYClient: An observer (int) failed."));
}

// Whoever comes second goes on, for the first waits for it.
TEST(EventSourceTest, TwoCallsThatDetachEachOthersObserversEnd)
{
    OV::EventSource<int> first;
    OV::EventSource<int> second;
    int observer = 0;
    first.Attach(observer);
    second.Attach(observer);
    std::barrier both(2);
    std::jthread other([&] {
        second.Notify([&](int&) {
            both.arrive_and_wait();
            first.Detach(observer);
        });
    });
    first.Notify([&](int&) {
        both.arrive_and_wait();
        second.Detach(observer);
    });
    other.join();
    first.Notify([](int&) { FAIL() << "it was detached"; });
    second.Notify([](int&) { FAIL() << "it was detached"; });
}

TEST(HeldLocksTest, SomebodyElsesCodeUnderALockEndsTheProcess)
{
#ifdef NDEBUG
    GTEST_SKIP() << "checked in builds with assertions";
#endif
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    OV::EventSource<int> source;
    int observer = 0;
    source.Attach(observer);
    OV::Lock lock;
    OV::Condition condition;
    {
        const OV::LockGuard guard(lock);
        EXPECT_DEATH(source.Notify([](int&) {}),
                     "\"int\" is called while .* the lock made at .*ThreadTest.cpp:");
    }
    condition.Notify();
    condition.Wait();
    source.Notify([](int&) {});
}

TEST(EventSourceTest, AnObserverThatWasDetachedMayBeDestroyed)
{
    OV::EventSource<std::atomic<int>> source;
    std::atomic<bool> stop = false;
    std::jthread teller([&] {
        while (!stop)
            source.Notify([&](std::atomic<int>& observer) {
                observer = 1;
                std::this_thread::yield();
                observer = 2;
            });
    });
    for (int round = 0; round < 200; ++round) {
        auto observer = std::make_unique<std::atomic<int>>(0);
        source.Attach(*observer);
        while (*observer == 0)
            std::this_thread::yield();
        source.Detach(*observer);
        EXPECT_EQ(*observer, 2) << "detached in the middle of a call";
    }
    stop = true;
}

TEST(EventSourceTest, ASubscriptionEndsWithWhicheverGoesFirst)
{
    int first = 0;
    int second = 0;
    OV::Subscription outlives;
    const auto count = [](int& observer) { ++observer; };
    {
        OV::EventSource<int> source;
        outlives = source.Subscribe(first);
        {
            const OV::Subscription ends = source.Subscribe(second);
            source.Notify(count);
        }
        source.Notify(count);
        EXPECT_EQ(first, 2);
        EXPECT_EQ(second, 1);
        OV::Subscription newer = source.Subscribe(first);
        outlives.Reset();
        EXPECT_TRUE(newer.IsStanding()) << "the former one has nothing to end any more";
        outlives = std::move(newer);
        EXPECT_TRUE(outlives.IsStanding());
    }
    EXPECT_FALSE(outlives.IsStanding());
}

TEST(EventSourceTest, AnExecutorTellsWhatWasTrueThenAndNobodyWhoHasGone)
{
    OV::PooledExecutor executor(0, 1, 0);
    std::vector<std::string> told;
    OV::Condition isHeld, goOn;
    executor.Execute(OV::MakeTask([&] {
        isHeld.Notify();
        goOn.Wait();
    }));
    isHeld.Wait();
    {
        OV::PostingEventSource<std::vector<std::string>> source;
        const auto tell = [&source](std::string text) {
            source.Notify([text](std::vector<std::string>& observer) { observer.push_back(text); });
        };
        std::vector<std::string> gone;
        const OV::Subscription stays = source.Subscribe(told, executor);
        {
            const OV::Subscription ends = source.Subscribe(gone, executor);
            tell("first");
        }
        tell("second");
        EXPECT_TRUE(told.empty()) << "told on this thread";
        goOn.Notify();
        OV::Condition done;
        executor.Execute(OV::MakeTask([&] { done.Notify(); }));
        done.Wait();
        EXPECT_EQ(told, (std::vector<std::string>{"first", "second"}));
        EXPECT_TRUE(gone.empty());
    }
}

TEST(EventSourceTest, WhoGoesBeforeTheAttachmentIsNamed)
{
#ifdef NDEBUG
    GTEST_SKIP() << "noticed in builds with assertions";
#endif
    struct View : OV::ObserverBase {};
    LogCapture log;
    auto source = std::make_unique<OV::EventSource<View>>();
    {
        View view;
        source->Attach(view);
    }
    EXPECT_TRUE(log.Mentions("View) is destroyed while it is attached"));
    EXPECT_FALSE(log.Mentions("A source ends"));
    source.reset();
    EXPECT_TRUE(log.Mentions("A source ends while an observer ("));
}
