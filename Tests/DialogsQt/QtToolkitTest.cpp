#include "DialogsQt/QtUser.hpp"
#include "Dlg/Headless/HeadlessDialog.hpp"
#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "Support/AllItemsDialog.hpp"
#include "UserInterface/AsyncTaskDialog.hpp"

#include <QDateEdit>
#include <QHeaderView>
#include <QLineEdit>
#include <QProgressBar>
#include <QTableView>

#include <atomic>
#include <thread>

using Strings = OV::Array<std::string>;

namespace {

class QtToolkitTest : public testing::Test {
protected:
    Dlg::QtToolkit toolkit_;
    QtUser user_;
};

struct FunctionTask final : Syncra::Server::ManagementTool::Core::AsyncTaskExecuting::Task {
    explicit FunctionTask(std::function<bool()> work) : work_(std::move(work)) {}
    bool RunTask() override { return work_(); }
    std::function<bool()> work_;
};

}  // namespace

TEST_F(QtToolkitTest, AUserOfWindowsIsHeardLikeOneOfAScript)
{
    AllItemsDialog dialog;
    dialog.popUp.Select(0);
    user_.Then([] {
        using Dialog = AllItemsDialog;
        auto& popUp = QtUser::Item<QComboBox>(Dialog::PopUp);
        QtUser::TurnWheel(popUp);
        for (const auto key : {Qt::Key_Down, Qt::Key_End, Qt::Key_O}) {
            QTest::keyClick(&popUp, key);
            EXPECT_TRUE(popUp.view()->isVisible()) << "a key opens the list";
            QTest::keyClick(popUp.view(), Qt::Key_Escape);
        }
        EXPECT_EQ(popUp.currentIndex(), -1) << "and only the list chooses";
        QtUser::Choose(popUp, 0);
        QtUser::Choose(popUp, 2);
        auto& list = QtUser::Item<QTableView>(Dialog::List);
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                          list.visualRect(list.model()->index(1, 0)).center());
        auto& header = *list.horizontalHeader();
        EXPECT_TRUE(QtUser::Item(Dialog::Bar).isHidden());
        QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
                          QPoint(header.sectionViewportPosition(1) + 5, 5));
        EXPECT_EQ(header.sortIndicatorSection(), 1);
        EXPECT_EQ(QtUser::Item<QProgressBar>(Dialog::Bar).value(), 250);
        auto& day = QtUser::Item<QDateEdit>(Dialog::Day);
        day.setSelectedSection(QDateTimeEdit::DaySection);
        QTest::keyClick(&day, Qt::Key_Down);
        QTest::keyClicks(&QtUser::Item(Dialog::Edit), "t & <b>");
        QtUser::ExpectGoodLooks("AllItems");
        const QRect listBefore = list.geometry();
        const QRect okBefore = QtUser::Item(Dialog::Ok).geometry();
        QtUser::Window().resize(QtUser::Window().size() + QSize(50, 40));
        QTest::qWait(1);
        EXPECT_EQ(list.geometry(), listBefore.adjusted(0, 0, 50, 40));
        EXPECT_EQ(QtUser::Item(Dialog::Ok).geometry(), okBefore.translated(50, 40));
        QtUser::Press(Dialog::Ok);
        QtUser::Key(Qt::Key_Escape);
    });
    EXPECT_TRUE(dialog.Invoke());
    EXPECT_EQ(dialog.heard, (Strings{"opened", "entry R&D", "entry other", "row second", "column 2",
                                     "day 28", "resized", "accept", "closed"}));
    EXPECT_EQ(dialog.edit.GetText(), u"t & <b>");
    EXPECT_EQ(dialog.text.GetText(), u"Rows & days:");
    dialog.list.Select(1);
    dialog.day.SetDate({2020, 1, 1});
    EXPECT_EQ(dialog.list.GetSelected(), 1);
    EXPECT_EQ(dialog.heard.back(), "closed") << "what the program sets causes no event";
}

TEST_F(QtToolkitTest, KeysPressTheDefaultButtonAndLeave)
{
    user_.Then([] { QtUser::Key(Qt::Key_Return); });
    EXPECT_TRUE(AllItemsDialog().Invoke());
    user_.Then([] { QtUser::Key(Qt::Key_Escape); });
    EXPECT_FALSE(AllItemsDialog().Invoke());
    user_.Then([] { QtUser::Window().close(); });
    EXPECT_FALSE(AllItemsDialog().Invoke());
    AllItemsDialog dialog;
    dialog.onOpened = [] { throw std::runtime_error("expected by the test"); };
    EXPECT_THROW(dialog.Invoke(), std::runtime_error);
}

TEST_F(QtToolkitTest, WhoWaitsForTheMainThreadOnItRunsItsLoop)
{
    SYCB::MessageLoopExecutor executor;
    bool hasRun = false;
    (void)executor.Execute(OV::MakeTask([&] { hasRun = true; }));
    executor.Shutdown();
    EXPECT_TRUE(executor.AwaitTermination(60'000));
    EXPECT_TRUE(hasRun);
    EXPECT_FALSE(SYCB::MessageLoop::RunUntil([] { return false; }, 20));
    // And so does a dialog without a window, of a toolkit that was made on top.
    Dlg::HeadlessToolkit scripted;
    scripted.AddScript(AllItemsDialog::Number, [](Dlg::HeadlessDialog& user) { user.Leave(); });
    EXPECT_FALSE(AllItemsDialog().Invoke());
}

TEST_F(QtToolkitTest, AlertsGiveTheirButtonAndShowNoMarkUp)
{
    user_.Then([] {
        QtUser::TakePicture("Alert32040");
        QtUser::PressText("Discard Changes Anyway");
    });
    EXPECT_EQ(OV::ShowAlert(32040), 1);
    user_.Then([] {
        for (const QLabel* label : QtUser::Window().findChildren<QLabel*>())
            EXPECT_TRUE(label->text().isEmpty() || label->textFormat() == Qt::PlainText);
        QtUser::TakePicture("Alert32016");
        QtUser::Key(Qt::Key_Escape);
    });
    EXPECT_EQ(OV::ShowAlert(32016, {u"<img src=\"x\"> R&D"}), 1);

    int answer = 0;
    std::thread([&] { answer = OV::ShowAlert(32013); }).join();
    EXPECT_EQ(answer, 2) << "at once, since the main thread may be waiting";
    bool wasShown = false;
    user_.Then([&] {
        wasShown = true;
        QtUser::TakePicture("Alert32013");
        QtUser::PressText("Try again");
    });
    EXPECT_TRUE(QTest::qWaitFor([&] { return wasShown; }, 60'000));
}

TEST_F(QtToolkitTest, ATaskClosesItsDialogFromItsThreadAndCancelDoesNotWaitForIt)
{
    using Syncra::Server::ManagementTool::GUI::AsyncTaskDialog;
    for (const bool isCancelled : {false, true}) {
        const auto released = std::make_shared<OV::Condition>();  // outlives this round
        const auto task = OV::MakeRef<FunctionTask>([=] { return released->Wait(60'000); });
        user_.Then([&] {
            QtUser::ExpectGoodLooks("ServerRequest");
            EXPECT_EQ(QApplication::focusWidget(), &QtUser::Window())
                << "a key that was meant for another window must not cancel";
            isCancelled ? QtUser::Press(2) : released->Notify();
        });
        EXPECT_EQ(AsyncTaskDialog(task, 0, nullptr).Invoke(), !isCancelled);
        released->Notify();
    }
}

TEST(QtMessageLoopTest, NoTaskIsLostWhileToolkitsComeAndGo)
{
    constexpr int taskCount = 20'000;
    std::atomic<bool> begun = false;
    int ran = 0;
    std::thread poster([&] {
        for (int task = 0; task < taskCount; ++task) {
            SYCB::MessageLoop::Post(OV::MakeTask([&ran] { ++ran; }));
            begun = true;
        }
    });
    while (!begun)
        std::this_thread::yield();
    for (int round = 0; round < 50; ++round) {
        const Dlg::QtToolkit toolkit;
        QApplication::processEvents();
    }
    poster.join();
    QApplication::processEvents();
    SYCB::MessageLoop::RunPending();
    EXPECT_EQ(ran, taskCount);
}
