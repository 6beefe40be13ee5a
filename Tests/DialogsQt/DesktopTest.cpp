#include "DialogsQt/QtUser.hpp"
#include "MainWindow.hpp"
#include "RegisteredProjects.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/StoreEdit.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraURL.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

#include <QLineEdit>
#include <QListWidget>
#include <QPalette>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTableWidget>

namespace {

constexpr int Patience = 60'000;

/// The window in the hands of a user.
class DesktopTest : public testing::Test {
protected:
    DesktopTest()
    {
        Syncra::Server::ManagementTool::GUI::SetAsyncTaskDialogExecutingImplementationForCore();
        window.SetLogin("127.0.0.1", server.ModelPort(), "anna.novak");
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    template <class Widget>
    Widget& Find(const char* name)
    {
        return *window.findChild<Widget*>(name);
    }
    QString Status() const { return window.statusBar()->currentMessage(); }
    void TakePicture(const char* name)
    {
        if (const auto place = qEnvironmentVariable("SYCLIENT_SCREENSHOTS"); !place.isEmpty()) {
            EXPECT_TRUE(window.grab().save(place + "/" + name + ".png"));
        }
    }
    /// Types the password and presses Return, as the focus stands.
    void Connect()
    {
        ASSERT_EQ(QApplication::focusWidget(), &Find<QLineEdit>("password"));
        QTest::keyClicks(QApplication::focusWidget(), ServerProcess::Password);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        ASSERT_GT(Find<QTableWidget>("projects").rowCount(), 0) << Status().toStdString();
    }
    void Select(const QString& project)
    {
        auto& projects = Find<QTableWidget>("projects");
        const auto found = projects.findItems(project, Qt::MatchExactly);
        ASSERT_EQ(found.size(), 1);
        projects.selectRow(found.front()->row());
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    Dlg::QtToolkit toolkit;
    MainWindow window{folder.GetLocation().Appended(u"Caches")};
    QtUser user;
};

}  // namespace

TEST_F(DesktopTest, AProjectIsOpenedShownAndClosedFromTheKeyboard)
{
    EditStore(server.StorePath(), "UPDATE users SET login = '<u>' WHERE login = 'lena.fischer'");
    Connect();
    Select("Harbour Bridge");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    auto& members = Find<QListWidget>("members");
    ASSERT_TRUE(QTest::qWaitFor([&] { return members.count() == 8; }, Patience));
    EXPECT_TRUE(members.item(0)->text().endsWith("working"));
    EXPECT_TRUE(members.item(3)->text().endsWith("away"));
    int escaped = 0;
    for (int row = 0; row < members.count(); ++row)
        escaped += members.item(row)->toolTip().contains("&lt;u&gt;") ? 1 : 0;
    EXPECT_EQ(escaped, 1) << "Qt takes a login name for markup";
    TakePicture("Desktop");
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        if (widget->focusPolicy() == Qt::NoFocus || widget->objectName().startsWith("qt_"))
            continue;
        const auto* button = qobject_cast<const QAbstractButton*>(widget);
        EXPECT_TRUE(!widget->accessibleName().isEmpty() || (button && !button->text().isEmpty()))
            << widget->objectName().toStdString() << " says nothing to a screen reader";
    }
    SYC::Inner::ProjectConnectionInfo project;
    project.serverName = u"127.0.0.1";
    project.port = server.ModelPort();
    project.userName = u"anna.novak";
    project.projectName = u"Harbour Bridge";
    const auto cache = SYC::registeredProjects().GetCachedProjectInfo(
        SYC::ToSyncraLocation(project), folder.GetLocation().Appended(u"Caches"));
    ASSERT_TRUE(cache);
    cache->SetUnsentChanges(true);
    user.Then([] { QtUser::Press(2); });  // stays open
    QTest::mouseClick(&Find<QPushButton>("close"), Qt::LeftButton);
    EXPECT_EQ(members.count(), 8);
    EXPECT_TRUE(cache->IsChanges());
    user.Then([] { QtUser::Press(3); });  // discards
    user.Then([] { QtUser::PressText("Discard Changes Anyway"); });
    QTest::mouseClick(&Find<QPushButton>("close"), Qt::LeftButton);
    EXPECT_FALSE(cache->IsChanges());
    EXPECT_EQ(Status(), "Closed.");
    EXPECT_EQ(members.count(), 0);
    EXPECT_FALSE(Find<QPushButton>("close").isEnabled());
}

TEST_F(DesktopTest, FollowsTheColoursOfADarkDesktop)
{
    const QPalette former = QApplication::palette();
    QPalette dark(QColor(45, 45, 48));
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    QApplication::setPalette(dark);
    QTest::qWait(20);
    Connect();
    Select("City Library");
    TakePicture("DesktopDark");
    // Light on dark: nothing in the window brings colours of its own.
    for (const QWidget* widget : window.findChildren<QWidget*>())
        EXPECT_GT(widget->palette().color(QPalette::Active, QPalette::WindowText).lightness(),
                  widget->palette().color(QPalette::Active, QPalette::Window).lightness())
            << widget->objectName().toStdString();
    QApplication::setPalette(former);
}

TEST_F(DesktopTest, FailuresAreToldAndCanBeTriedAgain)
{
    Connect();
    Select("Open House 2026");
    QTest::mouseClick(&Find<QPushButton>("open"), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Status().startsWith("You may not use"); }, Patience))
        << Status().toStdString();
    server.Terminate();
    user.Then([this] {
        server.Start();
        QtUser::TakePicture("CannotConnect");
        QtUser::PressText("Try again");
    });
    QTest::mouseClick(&Find<QPushButton>("connect"), Qt::LeftButton);
    EXPECT_TRUE(Status().startsWith("Connected")) << Status().toStdString();
    Find<QLineEdit>("password").setText("wrong");
    QTest::mouseClick(&Find<QPushButton>("connect"), Qt::LeftButton);
    EXPECT_EQ(Status(), "The user name or the password is wrong.");
    EXPECT_EQ(Find<QTableWidget>("projects").rowCount(), 0);
}
