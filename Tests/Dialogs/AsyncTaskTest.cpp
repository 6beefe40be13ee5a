#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "ManagementTool/BackgroundExecutors.hpp"
#include "ManagementTool/DisposeChannelTask.hpp"
#include "ManagementTool/RunAtScopeEnd.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "OVRoot/Thread.hpp"
#include "OVRoot/ThreadedExecutor.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "Support/Eventually.hpp"
#include "Support/ManualClock.hpp"
#include "UserInterface/AsyncTaskDialog.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

#include <gtest/gtest.h>

#include <pthread.h>
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

static_assert(std::is_constructible_v<AsyncTaskExecuting, OV::Ref<AsyncTaskExecuting::Task>,
                                      AsyncTaskExecuting::Response*, OV::Executor*>);
static_assert(std::is_convertible_v<AsyncTaskExecuting::Response*, OV::Condition*>);

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
        // The end of a worker wakes no message loop.
        EXPECT_TRUE(Eventually([] {
            SYCB::MessageLoop::RunPending();
            return Core::BackgroundExecutors::GetInstance().Collect() == 0;
        }));
        SYCB::MessageLoop::RunPending();
    }
};

/// The system has no memory for the stack of a new thread while it lives.
class NoFurtherThreads {
public:
    NoFurtherThreads()
    {
        pthread_getattr_default_np(&former_);
        pthread_attr_t huge = former_;
        pthread_attr_setstacksize(&huge, std::size_t(1) << 52);
        pthread_setattr_default_np(&huge);
    }
    ~NoFurtherThreads()
    {
        pthread_setattr_default_np(&former_);
        pthread_attr_destroy(&former_);
    }
    NoFurtherThreads(const NoFurtherThreads&) = delete;
    NoFurtherThreads& operator=(const NoFurtherThreads&) = delete;

private:
    pthread_attr_t former_;
};

struct CountingResponse final : AsyncTaskExecuting::Response {
    void RunResponse() override { ++runs; }
    int runs = 0;
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
            // The holder there is is kept beside the pointer.
            AsyncTaskExecuting executing(MakeTask([&] {
                                             worker = std::this_thread::get_id();
                                             return true;
                                         }),
                                         response.Get(), nullptr);
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
    for (const auto& thrower : {+[] { throw std::runtime_error("expected by the test"); },
                                +[] { throw std::bad_alloc(); }, +[] { throw 7; }})
        EXPECT_FALSE(strategy.ExecuteTask(MakeTask([=] {
                                              thrower();
                                              return true;
                                          }),
                                          nullptr, 0));
    {
        const NoFurtherThreads exhausted;
        EXPECT_FALSE(strategy.ExecuteTask(MakeTask([] { return true; }), nullptr, 0));
        EXPECT_THROW(OV::Thread("none", [] {}), OV::Exception);
    }
    EXPECT_EQ(SYCB::MessageLoop::RunPending(), 0u) << "nobody may ever run a loop";
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

TEST(AsyncTaskTest, AHostsLoopThatRefusesTheResponseLeavesTheResultAsItWas)
{
    const auto former = SYCB::MessageLoop::SetPoster(
        [](OV::RunnableTask) { throw std::runtime_error("expected by the test"); });
    const auto response = OV::MakeRef<CountingResponse>();
    OV::PooledExecutor pool(1, 1, 1000);
    const AsyncTaskExecuting executing(MakeTask([] { return true; }), response, &pool);
    pool.Shutdown();
    pool.AwaitTermination();
    EXPECT_TRUE(response->Wait(0) && response->HasSucceeded());
    EXPECT_FALSE(SYCB::MessageLoopExecutor().Execute(OV::MakeTask([] {})));
    SYCB::MessageLoop::SetPoster(former);
}

TEST(AsyncTaskTest, WorkThatDoesNotHeedIsLeftAloneAtTheEnd)
{
    OV::Condition started, finished;
    std::atomic<bool> mayEnd = false;
    Core::BackgroundExecutors kept;
    auto executor = std::make_unique<OV::ThreadedExecutor>();
    executor->Execute(OV::MakeTask([&] {
        started.Notify();
        while (!mayEnd)  // no wait that can be interrupted
            std::this_thread::yield();
        finished.Notify();
    }));
    started.Wait();
    kept.Keep(std::move(executor));
    kept.End(1);
    EXPECT_EQ(kept.Collect(), 0u);
    mayEnd = true;
    finished.Wait();
}

/// Started, and cancelled, waited for or left alone at once: each task runs once, each response
/// that was not cancelled reacts once, and nothing is left.
TEST(AsyncTaskTest, AThousandTasksComeAndGo)
{
    constexpr int count = 1000;
    OV::PooledExecutor pool(1, 2, 1000);
    std::atomic<int> ran = 0;
    std::vector<OV::Ref<CountingResponse>> responses;
    for (int number = 0; number < count; ++number) {
        responses.push_back(OV::MakeRef<CountingResponse>());
        AsyncTaskExecuting executing(MakeTask([&ran] { return ++ran % 2 == 0; }), responses.back(),
                                     number % 2 == 0 ? nullptr : &pool);
        if (number % 3 == 0) {
            executing.CancelTask();
        } else if (number % 3 == 1) {
            EXPECT_TRUE(responses.back()->Wait(Patience));
        }
    }
    for (const auto& response : responses)
        EXPECT_TRUE(response->Wait(Patience));
    // The waiters are woken before the main thread is told.
    pool.Shutdown();
    pool.AwaitTermination();
    while (Core::BackgroundExecutors::GetInstance().Collect() != 0)
        std::this_thread::yield();
    EXPECT_EQ(ran, count);
    SYCB::MessageLoop::RunPending();
    for (int number = 0; number < count; ++number)
        ASSERT_EQ(responses[number]->runs, number % 3 == 0 ? 0 : 1) << number;
}

TEST_F(AsyncTaskDialogTest, AQuickTaskShowsNoDialogAndItsLateResponseClosesNone)
{
    // No script expects a dialog, so one that came up would throw.
    std::thread([this] { EXPECT_TRUE(Execute(MakeTask([] { return true; }), 0)); }).join();
    Dlg::Toolkit* const toolkit = Dlg::Toolkit::SetCurrent(nullptr);
    EXPECT_TRUE(Execute(MakeTask([] { return true; }), Patience));
    EXPECT_FALSE(Execute(MakeTask([] { return false; }), Patience));
    Dlg::Toolkit::SetCurrent(toolkit);
    toolkit_.AddScript(DialogNumber, DoNothing);
    HeldTask held;
    std::thread later([&] { held.released.Notify(); });
    EXPECT_TRUE(Execute(held.task, 0)) << "not the failure of the task before";
    later.join();
    toolkit_.AddScript(DialogNumber, DoNothing);
    EXPECT_FALSE(Execute(MakeTask([] { return false; }), 0)) << "closed by the result";
    EXPECT_EQ(SYCB::MessageLoop::RunPending(), 0u);
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
    const auto show = [](const auto& row) {
        return Core::UserAsyncTaskExecutingImplementation::Current().ShowAlert(
            static_cast<ErrorType>(row.error), static_cast<ObjectType>(row.object), row.name);
    };
    EXPECT_EQ(show(rows[1]), 0) << "nobody is asked before dialogs are installed";
    GUI::SetAsyncTaskDialogExecutingImplementationForCore();
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "error " << row.error << ", object " << row.object);
        Dlg::HeadlessToolkit toolkit;
        toolkit.AddAnswer(row.alert, 1);
        EXPECT_EQ(show(row), row.error == 1 ? 1 : 0);
        const auto alerts = toolkit.GetAlertsShown();
        ASSERT_EQ(alerts.size(), row.alert < 0 ? 0u : 1u);
        if (row.alert < 0)
            continue;
        EXPECT_EQ(alerts[0].number, row.alert);
        EXPECT_EQ(alerts[0].message, row.message);
        EXPECT_EQ(alerts[0].buttons,
                  row.error == 1 ? (Texts{u"Try again", u"Cancel"}) : Texts{u"OK"});
    }
    Core::SetUserAsyncTaskExecutingImplementation(nullptr);
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
