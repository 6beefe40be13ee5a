#include "DialogsQt/QtUser.hpp"
#include "OVRoot/Clock.hpp"
#include "Support/TemporaryFolder.hpp"
#include "UserInterface/AuthenticationFailedDialog.hpp"
#include "UserInterface/CloseProjectDialog.hpp"
#include "UserInterface/ProjectLogViewerDlg_14.hpp"

#include <QFile>
#include <QHeaderView>
#include <QLineEdit>
#include <QProgressBar>
#include <QScrollBar>
#include <QTableView>

#include <chrono>
#include <cstdlib>

using SYC::CloseProjectDialog;
using Syncra::Server::ManagementTool::GUI::AuthenticationFailedDialog;

namespace {

/// A name that no line holds, without a blank to break at.
const OV::UniString LongName = OV::UniString(90, u'W') + u"_<b>R&D</b>";

class DialogLooksTest : public testing::Test {
protected:
    Dlg::QtToolkit toolkit_;
    QtUser user_;
};

}  // namespace

TEST_F(DialogLooksTest, ClosingAProjectInEachOfItsLooks)
{
    using Result = CloseProjectDialog::Result;
    enum { Main = 1, Cancel, Discard };
    const struct {
        const char* name;
        bool online, saveOnly, releaseAll;
        OV::UniString project;
        Result::Value result;
    } rows[] = {
        {"CloseSend", true, false, false, u"Harbour Bridge", Result::SendAndSave},
        {"CloseSaveOnly", true, true, false, u"Harbour Bridge", Result::SaveLocally},
        {"CloseOffline", false, false, false, u"Harbour Bridge", Result::SaveLocally},
        {"CloseLongName", true, false, true, LongName, Result::SendSaveAndReleaseAll},
    };
    for (const auto& row : rows) {
        CloseProjectDialog dialog(row.online, false, true, row.saveOnly, false, row.releaseAll,
                                  row.project);
        user_.Then([&] {
            QtUser::ExpectGoodLooks(row.name);
            QtUser::Press(Main);
        });
        EXPECT_TRUE(dialog.Invoke());
        EXPECT_EQ(dialog.GetResult(), row.result);
    }
    CloseProjectDialog offline(false, false, true, false, false, false, u"Harbour Bridge");
    user_.Then([] { QtUser::Press(Discard); });
    user_.Then([] {
        QtUser::ExpectGoodLooks("DiscardWarning");
        QtUser::Key(Qt::Key_Return);  // the default button declines
    });
    user_.Then([] { QtUser::Press(Discard); });
    user_.Then([] { QtUser::Press(Main); });
    EXPECT_TRUE(offline.Invoke());
    EXPECT_EQ(offline.GetResult(), Result::Discard);
}

/// As they are described, before anybody fills them in.
TEST_F(DialogLooksTest, EveryDialogCanBeUsedWithoutSeeingIt)
{
    struct : Dlg::WindowEvents {
        void _ItemUsed(int) noexcept override {}
        void _HeaderUsed(int, int) noexcept override {}
        void _LeaveRequested() noexcept override {}
        void _Resized() noexcept override {}
        void _Idle() noexcept override {}
    } nobody;
    QFile file(SYCLIENT_TEST_SOURCE_DIR "/Resources/Dialogs.xml");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = file.readAll();
    auto dialogs = QRegularExpression("<Dialog number=\"([0-9]+)\"").globalMatch(text);
    ASSERT_TRUE(dialogs.hasNext());
    while (dialogs.hasNext()) {
        const int number = dialogs.next().captured(1).toInt();
        SCOPED_TRACE(number);
        const auto window = toolkit_.MakeWindow(Dlg::GetDialogDescription(number), nobody);
        auto& widget = dynamic_cast<QWidget&>(*window);
        widget.show();
        QtUser::ExpectReadable(widget);
    }
}

TEST_F(DialogLooksTest, AskingForAPassword)
{
    enum { Ok = 1, Password = 12 };
    for (const auto& [name, project] :
         {std::pair{"AuthenticationFailed", OV::UniString(u"Harbour Bridge")},
          {"AuthenticationFailedLongName", LongName}}) {
        AuthenticationFailedDialog dialog(u"nexar.example", project, u"anna.novak", 19001);
        user_.Then([name = name] {
            QTest::keyClicks(QApplication::focusWidget(), "geheim");
            auto& edit = QtUser::Item<QLineEdit>(Password);
            EXPECT_EQ(edit.text(), "geheim") << "the place to type has the focus";
            EXPECT_NE(edit.displayText(), "geheim");
            QtUser::ExpectGoodLooks(name);
            QtUser::Key(Qt::Key_Return);
        });
        EXPECT_TRUE(dialog.Invoke());
        EXPECT_EQ(dialog.GetUserPasswd(), u"geheim");
    }
}

TEST_F(DialogLooksTest, LettersOfAnotherSizeFitToo)
{
    const QFont former = QApplication::font();
    for (const int points : {7, 16}) {
        QFont font = former;
        font.setPointSize(points);
        QApplication::setFont(font);
        const auto look = [name = "Letters" + std::to_string(points)] {
            QtUser::ExpectGoodLooks(name.c_str());
            QtUser::Press(2);
        };
        user_.Then(look);
        EXPECT_FALSE(CloseProjectDialog(true, false, false, false, false, true, u"P").Invoke());
        user_.Then(look);
        EXPECT_FALSE(AuthenticationFailedDialog(u"nexar.example", u"P", u"anna.novak", 1).Invoke());
    }
    QApplication::setFont(former);
}

namespace {

/// The last weeks of a project, a line every few seconds.
OV::PagedArray<LogDataLine> LongLog(int count)
{
    constexpr OV::StringView users[] = {"Anna Nov\u00e1k", "Marco Rossi", "Lena Fischer",
                                        "Omar Haddad"};
    constexpr OV::StringView actions[] = {"Send",   "GetChanges",  "Reserve",       "Release",
                                          "Login",  "Logout",      "Comment",       "Share",
                                          "GetAll", "Release All", "Project Backup"};
    OV::PagedArray<LogDataLine> lines;
    const std::int32_t now = OV::Clock::Current().Now();
    for (int number = 0; number < count; ++number) {
        LogDataLine line;
        line.SetTime(OV::FromUtf8(std::to_string(now - count + number)));
        line.SetUser(OV::FromUtf8(users[number * 7 % 4]));
        line.SetOperation(OV::FromUtf8(actions[number * 5 % 11]));
        line.SetSize(OV::FromUtf8(std::to_string(number * 977 % 4'000'000)));
        line.SetComment(OV::FromUtf8("North wall, step " + std::to_string(number)));
        line.SetDuration(OV::FromUtf8(std::to_string(number % 40)));
        line.SetProjectId(u"p");
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

TEST_F(DialogLooksTest, ALongLogIsLookedThroughWithoutWaiting)
{
    using Viewer = Syncra::Server::ManagementTool::GUI::ProjectLogViewerDlg_14;
    const TemporaryFolder folder;
    const char* isLong = std::getenv("SYCLIENT_LONG");
    const int count = isLong != nullptr && *isLong == '1' ? 1'000'000 : 100'000;
    const auto lines = LongLog(count);
    Viewer viewer(u"p", u"Harbour Bridge");
    constexpr int patience = 60'000;
    const auto rowsAre = [&](int rows) {
        const auto& table = QtUser::Item<QTableView>(Viewer::Table);
        return QTest::qWaitFor(
            [&] { return table.model()->rowCount() == rows && !viewer.IsBusy(); }, patience);
    };
    user_.Then([&] {
        viewer.PreviewLog({lines.begin(), lines.begin() + 500});
        viewer.UpdateProgress(3, 4);
        EXPECT_TRUE(rowsAre(500));
        EXPECT_EQ(QtUser::Item<QProgressBar>(Viewer::Progress).value(), 750);
        QtUser::ExpectGoodLooks("ProjectLogLoading");
        viewer.RefreshLog(lines);
    });
    user_.Then([] { QtUser::PressText("OK"); });  // so many lines are warned about
    ASSERT_NO_FATAL_FAILURE();
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        const auto* const table = QApplication::activeModalWidget() == nullptr
                                      ? nullptr
                                      : QtUser::Window().findChild<QTableView*>("item8");
        if (table == nullptr || table->model()->rowCount() != count)
            return;
        look.stop();
        auto& header = *table->horizontalHeader();
        QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
                          QPoint(header.sectionViewportPosition(4) + 5, 5));
        EXPECT_TRUE(rowsAre(count));
        EXPECT_EQ(header.sortIndicatorSection(), 4);
        const auto begin = std::chrono::steady_clock::now();
        constexpr int steps = 100;
        for (int step = 0; step <= steps; ++step) {
            table->verticalScrollBar()->setValue(table->verticalScrollBar()->maximum() / steps *
                                                 step);
            QApplication::processEvents();
        }
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
        QtUser::ExpectGoodLooks("ProjectLog");
        QtUser::Press(Viewer::CloseButton);
    });
    look.start(20);
    EXPECT_TRUE(viewer.Invoke());
    EXPECT_FALSE(look.isActive());
}
