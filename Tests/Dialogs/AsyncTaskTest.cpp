#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "ManagementTool/BackgroundExecutors.hpp"
#include "ManagementTool/DisposeChannelTask.hpp"
#include "ManagementTool/RunAtScopeEnd.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "UserInterface/AsyncTaskDialog.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

#include <gtest/gtest.h>

#include <thread>

using namespace Syncra::Server::ManagementTool;
using Core::AsyncTaskExecuting;
using Core::ErrorType;
using Core::ObjectType;
using Texts = OV::Array<OV::UniString>;

namespace {

constexpr int DialogNumber = 32420;
constexpr int TextItem = 1;
constexpr int CancelButton = 2;
constexpr std::uint32_t Patience = 60'000;

struct FunctionTask final : AsyncTaskExecuting::Task {
    explicit FunctionTask(std::function<bool()> work) : work_(std::move(work)) {}
    bool RunTask() override { return work_(); }
    std::function<bool()> work_;
};

OV::Ref<AsyncTaskExecuting::Task> MakeTask(std::function<bool()> work)
{
    return OV::MakeRef<FunctionTask>(std::move(work));
}

/// Work that goes on until it is let go.
struct HeldTask {
    OV::Condition started;
    OV::Condition released;
    std::atomic<bool> isFinished = false;
    OV::Ref<AsyncTaskExecuting::Task> task = MakeTask([this] {
        started.Notify();
        (void)released.Wait(Patience);
        isFinished = true;
        return true;
    });

    /// Lets it go and waits until nothing of it is left, on the worker or in the message loop.
    void Release()
    {
        released.Notify();
        EXPECT_TRUE(SYCB::MessageLoop::RunUntil(
            [] {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                return Core::BackgroundExecutors::GetInstance().Collect() == 0;
            },
            Patience));
        SYCB::MessageLoop::RunPending();
    }
};

struct CountingResponse final : AsyncTaskExecuting::Response {
    void RunResponse() override { ++runs; }
    int runs = 0;
};

class ManualClock final : public OV::Clock {
public:
    ManualClock() { SetCurrent(this); }
    ~ManualClock() override { SetCurrent(nullptr); }
    std::int32_t Now() const override { return 0; }
    std::uint64_t Ticks() const override { return ticks; }
    std::uint64_t TicksPerSecond() const override { return 10; }
    std::uint64_t ticks = 1000;
};

void DoNothing(Dlg::HeadlessDialog&) {}

class AsyncTaskDialogTest : public testing::Test {
protected:
    [[nodiscard]] bool Execute(const OV::Ref<AsyncTaskExecuting::Task>& task, std::uint32_t delay)
    {
        return strategy_.ExecuteTask(task, nullptr, delay);
    }

    Dlg::HeadlessToolkit toolkit_;
    GUI::AsyncTaskDialogExecutingImplementation strategy_;
};

}  // namespace

TEST(AsyncTaskTest, AnEarlyResultIsNotMissedAndReachesTheMainThreadOnceUnlessCancelled)
{
    for (const bool isCancelled : {false, true}) {
        const auto response = OV::MakeRef<CountingResponse>();
        std::thread::id worker;
        {
            AsyncTaskExecuting executing(MakeTask([&] {
                                             worker = std::this_thread::get_id();
                                             return true;
                                         }),
                                         response, nullptr);
            EXPECT_TRUE(response->Wait(Patience));
            EXPECT_TRUE(response->Wait(0)) << "the notification is kept";
            if (isCancelled)
                executing.CancelTask();
        }
        EXPECT_EQ(response->runs, 0) << "the reaction is the message loop's";
        SYCB::MessageLoop::RunPending();
        EXPECT_EQ(response->runs, isCancelled ? 0 : 1);
        EXPECT_NE(worker, std::this_thread::get_id());
        EXPECT_TRUE(!response->IsPending() && response->HasSucceeded());
    }
}

TEST(AsyncTaskTest, ATaskAnswersOnceHoweverItEnds)
{
    Core::UserAsyncTaskExecutingImplementation strategy;
    EXPECT_TRUE(strategy.ExecuteTask(MakeTask([] { return true; }), nullptr, 2000));
    EXPECT_FALSE(strategy.ExecuteTask(MakeTask([] { return false; }), nullptr, 2000));
    EXPECT_FALSE(strategy.ExecuteTask(
        MakeTask([]() -> bool { throw std::runtime_error("expected by the test"); }), nullptr, 0));
    EXPECT_THROW((void)strategy.ExecuteTask({}, nullptr, 0), OV::NullReferenceException);
    EXPECT_THROW(AsyncTaskExecuting(MakeTask([] { return true; }), {}, nullptr),
                 OV::NullReferenceException);

    OV::PooledExecutor pool(1, 1, 1000);
    EXPECT_TRUE(strategy.ExecuteTask(MakeTask([] { return true; }), &pool, 0));
    HeldTask held;
    const auto running = OV::MakeRef<CountingResponse>();
    const auto waiting = OV::MakeRef<CountingResponse>();
    const AsyncTaskExecuting first(held.task, running, &pool);
    const AsyncTaskExecuting second(MakeTask([] { return true; }), waiting, &pool);
    held.started.Wait();
    pool.Cancel();
    EXPECT_TRUE(waiting->Wait(Patience)) << "dropped from the queue";
    EXPECT_FALSE(waiting->HasSucceeded());
    EXPECT_FALSE(strategy.ExecuteTask(MakeTask([] { return true; }), &pool, 0))
        << "and a cancelled executor is not waited for";
    EXPECT_TRUE(running->Wait(Patience)) << "and one under way was asked to stop";
    EXPECT_FALSE(running->HasSucceeded());
    pool.AwaitTermination();
    SYCB::MessageLoop::RunPending();
}

/// Started, and cancelled, waited for or left alone at once: each task runs once, each response
/// that was not cancelled reacts once, and nothing is left.
TEST(AsyncTaskTest, TenThousandTasksComeAndGo)
{
    constexpr int count = 10'000;
    OV::PooledExecutor pool(1, 2, 1000);
    for (OV::Executor* executor :
         {static_cast<OV::Executor*>(nullptr), static_cast<OV::Executor*>(&pool)}) {
        std::atomic<int> ran = 0;
        std::vector<OV::Ref<CountingResponse>> responses;
        for (int number = 0; number < count; ++number) {
            responses.push_back(OV::MakeRef<CountingResponse>());
            AsyncTaskExecuting executing(MakeTask([&ran] { return ++ran % 2 == 0; }),
                                         responses.back(), executor);
            if (number % 3 == 0) {
                executing.CancelTask();
            } else if (number % 3 == 1) {
                EXPECT_TRUE(responses.back()->Wait(Patience));
            }
        }
        EXPECT_TRUE(SYCB::MessageLoop::RunUntil(
            [&] {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                return ran == count && Core::BackgroundExecutors::GetInstance().Collect() == 0;
            },
            Patience));
        for (const auto& response : responses)
            EXPECT_TRUE(response->Wait(Patience));
        SYCB::MessageLoop::RunPending();
        for (int number = 0; number < count; ++number)
            ASSERT_EQ(responses[number]->runs, number % 3 == 0 ? 0 : 1) << number;
    }
}

TEST(AsyncTaskTest, TheStrategyOfTheProcessIsReplacedAndRestored)
{
    using Core::UserAsyncTaskExecutingImplementation;
    const auto& silent = UserAsyncTaskExecutingImplementation::Current();
    Dlg::HeadlessToolkit toolkit;
    const auto ask = [] {
        return UserAsyncTaskExecutingImplementation::Current().ShowAlert(ErrorType::CannotConnect,
                                                                         ObjectType::None, nullptr);
    };
    EXPECT_EQ(ask(), 0);
    GUI::SetAsyncTaskDialogExecutingImplementationForCore();
    toolkit.AddAnswer(32013, 1);
    EXPECT_EQ(ask(), UserAsyncTaskExecutingImplementation::TryAgain);
    Core::SetUserAsyncTaskExecutingImplementation(nullptr);
    EXPECT_EQ(&UserAsyncTaskExecutingImplementation::Current(), &silent);
    EXPECT_EQ(toolkit.GetAlertsShown().size(), 1u);
}

TEST_F(AsyncTaskDialogTest, AQuickTaskShowsNoDialogAndItsLateResponseClosesNone)
{
    // No script expects a dialog, so one that came up would throw.
    EXPECT_TRUE(Execute(MakeTask([] { return true; }), Patience));
    EXPECT_FALSE(Execute(MakeTask([] { return false; }), Patience));
    toolkit_.AddScript(DialogNumber, DoNothing);
    HeldTask held;
    std::thread later([&] { held.released.Notify(); });
    EXPECT_TRUE(Execute(held.task, 0)) << "not the failure of the task before";
    later.join();
    EXPECT_EQ(SYCB::MessageLoop::RunPending(), 0u);
}

TEST_F(AsyncTaskDialogTest, WithoutADelayTheDialogIsShownAndClosedByTheResult)
{
    for (const bool result : {true, false}) {
        toolkit_.AddScript(DialogNumber, DoNothing);
        EXPECT_EQ(Execute(MakeTask([=] { return result; }), 0), result);
    }
    EXPECT_EQ(toolkit_.GetOpenedDialogs(), (OV::Array<int>{DialogNumber, DialogNumber}));
}

TEST_F(AsyncTaskDialogTest, CancelReturnsAtOnceAndTheFinishedResultChangesNothing)
{
    for (const bool byButton : {true, false}) {
        HeldTask held;
        toolkit_.AddScript(DialogNumber, [&](Dlg::HeadlessDialog& user) {
            held.started.Wait();
            byButton ? user.Press(CancelButton) : user.Leave();
        });
        EXPECT_FALSE(Execute(held.task, 1));
        EXPECT_FALSE(held.isFinished) << "nobody waited for the work";
        held.Release();
    }
    toolkit_.AddScript(DialogNumber, DoNothing);
    EXPECT_TRUE(Execute(MakeTask([] { return true; }), 0)) << "and dialogs may come up again";
}

TEST_F(AsyncTaskDialogTest, TheEndOfTheProcessStopsWorkThatWasGivenUp)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EXIT(
        {
            HeldTask held;
            toolkit_.AddScript(DialogNumber, [&](Dlg::HeadlessDialog& user) {
                held.started.Wait();
                user.Press(CancelButton);
            });
            std::exit(Execute(held.task, 1) ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(Patience / 2));
}

TEST_F(AsyncTaskDialogTest, ASecondDialogIsRefusedWhileOneIsUp)
{
    HeldTask outer, inner;
    toolkit_.AddScript(DialogNumber, [&](Dlg::HeadlessDialog&) {
        EXPECT_TRUE(Execute(MakeTask([] { return true; }), Patience)) << "quick ones need none";
        EXPECT_FALSE(Execute(inner.task, 1));
        EXPECT_FALSE(inner.isFinished);
        inner.Release();
        outer.released.Notify();
    });
    EXPECT_TRUE(Execute(outer.task, 0));
    EXPECT_EQ(toolkit_.GetOpenedDialogs().size(), 1u);
}

TEST_F(AsyncTaskDialogTest, TheTextAlternatesWhenMoreThanThreeSecondsHavePassed)
{
    ManualClock clock;
    HeldTask held;
    const OV::UniString communicating = u"Communicating with Server...";
    const OV::UniString wait = u"Please Wait...";
    toolkit_.AddScript(DialogNumber, [&](Dlg::HeadlessDialog& user) {
        const std::pair<std::uint64_t, OV::UniString> steps[] = {
            {30, communicating}, {1, wait}, {30, wait}, {1, communicating}, {500, wait}};
        for (const auto& [ticks, text] : steps) {
            clock.ticks += ticks;
            user.SendIdle();
            EXPECT_EQ(user.GetText(TextItem), text);
        }
        held.released.Notify();
    });
    EXPECT_TRUE(Execute(held.task, 0));
    EXPECT_EQ(toolkit_.GetTextsShown(DialogNumber, TextItem),
              (Texts{u"", communicating, wait, communicating, wait}));
}

TEST_F(AsyncTaskDialogTest, FailuresAreToldByTheAlertOfTheirKind)
{
    const OV::UniString name = u"Br\u00fccke %s";
    const OV::UniString refused = u"The server cannot process your request.";
    struct {
        int error;
        int object;
        const OV::UniString* name;
        int alert;  ///< -1: none
        OV::UniString message;
    } const rows[] = {
        {0, 4, &name, -1, {}},
        {1, 7, &name, 32013, u"Cannot connect to Server."},
        {2, 0, nullptr, -1, {}},
        {2, 1, nullptr, 32017, u"The selected custom property has been removed from the Server."},
        {5, 8, nullptr, 32017, u"The selected project category has been removed from the Server."},
        {5, 0, &name, -1, {}},
        {3, 1, &name, 32022, u"A custom property with the name \"Br\u00fccke %s\" already exists."},
        {3, 1, nullptr, -1, {}},
        {3, 4, nullptr, 0, u"Invalid login name.\r\nA user with this name already exists."},
        {3, 5, nullptr, 32003, u"A role with this name already exists!"},
        {3, 8, &name, 32016, u"A category with name \"Br\u00fccke %s\" already exists."},
        {3, 8, nullptr, -1, {}},
        {3, 0, &name, -1, {}},
        {3, 6, &name, -1, {}},
        {4, 4, &name, -1, {}},
        {6, 0, nullptr, 32018, refused},
        {7, 3, &name, 32018, refused},
        {8, 4, &name, -1, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "error " << row.error << ", object " << row.object);
        Dlg::HeadlessToolkit toolkit;
        toolkit.AddAnswer(row.alert, 1);
        EXPECT_EQ(strategy_.ShowAlert(static_cast<ErrorType>(row.error),
                                      static_cast<ObjectType>(row.object), row.name),
                  row.error == 1 ? 1 : 0);
        const auto alerts = toolkit.GetAlertsShown();
        ASSERT_EQ(alerts.size(), row.alert < 0 ? 0u : 1u);
        if (row.alert < 0)
            continue;
        EXPECT_EQ(alerts[0].number, row.alert);
        EXPECT_EQ(alerts[0].message, row.message);
        EXPECT_EQ(alerts[0].buttons,
                  row.error == 1 ? (Texts{u"Try again", u"Cancel"}) : Texts{u"OK"});
    }
}

TEST(RunAtScopeEndTest, CleansUpOnEveryWayOutAndOutlivesAFailedCleanUp)
{
    using Core::RunAtScopeEnd;
    const auto release =
        OV::MakeRef<Core::DisposeXMLOChannelTask>(std::make_unique<OV::XMLOChannel>());
    EXPECT_THROW(
        {
            const RunAtScopeEnd atEnd{OV::RunnableTask(release)};
            release->GetChannel().EnterElement("Export");
            throw std::runtime_error("expected by the test");
        },
        std::runtime_error);
    EXPECT_THROW((void)release->GetChannel(), OV::NullReferenceException);

    bool ran = false;
    {
        RunAtScopeEnd atEnd;
        atEnd.SetEndTask(OV::MakeTask([&] { ran = true; }));
        atEnd.SetEndTask(OV::MakeTask([] { throw std::runtime_error("expected by the test"); }));
    }
    EXPECT_FALSE(ran) << "it was replaced";
}
