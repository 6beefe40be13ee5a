#include "CardList.hpp"
#include "ComposeWindow.hpp"
#include "DialogsQt/QtUser.hpp"
#include "MainWindow.hpp"
#include "Passwords.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/StoreEdit.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"
#include "UserInterface/ConnectDialog.hpp"
#include "UserSettings.hpp"
#include "WindowLanguage.hpp"

#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPalette>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabBar>

namespace {

constexpr int Patience = 60'000;

/// The window in the hands of a user.
class DesktopTest : public testing::Test {
protected:
    DesktopTest()
    {
        Syncra::Server::ManagementTool::GUI::SetAsyncTaskDialogExecutingImplementationForCore();
        MakeWindow();
    }

    void MakeWindow()
    {
        window.reset();
        window = std::make_unique<MainWindow>(folder.GetLocation().Appended(u"Caches"));
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }
    template <class Widget>
    [[nodiscard]] Widget* Look(const char* name) const
    {
        return window->findChild<Widget*>(name);
    }
    template <class Widget>
    Widget& Find(const char* name)
    {
        auto* const found = Look<Widget>(name);
        if (found == nullptr)
            throw std::runtime_error(std::string("there is no ") + name);
        return *found;
    }
    [[nodiscard]] QString Text(const char* name) const
    {
        const auto* const label = Look<QLabel>(name);
        return label == nullptr ? QString() : label->text();
    }
    template <class Holds>
    [[nodiscard]] static bool Wait(Holds holds)
    {
        return QTest::qWaitFor(holds, Patience);
    }
    /// Each picture is one that somebody who does not see it can use as well.
    void TakePicture(const char* name, QWidget* what = nullptr) const
    {
        SCOPED_TRACE(name);
        QtUser::ExpectReadable(what != nullptr ? *what : *window);
        if (const auto place = qEnvironmentVariable("SYCLIENT_SCREENSHOTS"); !place.isEmpty()) {
            QTest::qWait(100);
            EXPECT_TRUE(
                (what != nullptr ? what : window.get())->grab().save(place + "/" + name + ".png"));
        }
    }
    /// Every page that was looked at so far has room in a narrow window.
    void ExpectNarrow(const char* name)
    {
        constexpr int narrow = 480;
        const QSize former = window->size();
        window->resize(narrow, former.height());
        EXPECT_EQ(window->width(), narrow) << name;
        TakePicture(name);
        window->resize(former);
    }
    /// Adds the server as `login`, as somebody who types it does, after a wrong password if that is
    /// wanted.
    void AddServer(const char* login, bool isWrongFirst = false)
    {
        using Item = SYC::ConnectDialog::Item;
        user.Then([=, this] {
            auto& dialog = QtUser::Window();
            const auto type = [](int item, const QString& text) {
                auto& edit = QtUser::Item<QLineEdit>(item);
                edit.selectAll();
                QTest::keyClicks(&edit, text);
            };
            type(Item::PortEdit, QString::number(server.ModelPort()));
            type(Item::HostEdit, "127.0.0.1");
            type(Item::UserEdit, login);
            if (isWrongFirst) {
                const auto told = [] {
                    return QtUser::Item<QLabel>(Item::StatusText)
                        .text()
                        .startsWith("The user name or the password is wrong");
                };
                type(Item::PasswordEdit, "wrong");
                QTest::keyClick(&dialog, Qt::Key_Return);
                EXPECT_TRUE(Wait(told));
                TakePicture("WrongPassword", &dialog);
            }
            type(Item::PasswordEdit, ServerProcess::Password);
            TakePicture("AddServer", &dialog);
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
        QTest::mouseClick(&Find<QPushButton>("addServer"), Qt::LeftButton);
    }
    [[nodiscard]] static QModelIndex RowOf(const CardList& list, const QString& title)
    {
        for (int row = 0; row < list.model()->rowCount(); ++row) {
            const auto index = list.model()->index(row, 0);
            if (index.data(CardRole).value<Card>().title == title)
                return index;
        }
        return {};
    }
    [[nodiscard]] static Card CardOf(const CardList& list, int row)
    {
        return list.model()->index(row, 0).data(CardRole).value<Card>();
    }
    /// Without a window manager nobody does so when a dialog ends.
    void Activate(QWidget* what = nullptr) const
    {
        what = what != nullptr ? what : window.get();
        what->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(what));
    }
    /// Chooses the project by the keyboard.
    void Choose(const QString& project)
    {
        auto& list = Find<CardList>("projects");
        ASSERT_TRUE(Wait([&] { return RowOf(list, project).isValid(); }))
            << Text("problem").toStdString();
        list.setCurrentIndex(RowOf(list, project));
        QTest::keyClick(&list, Qt::Key_Return);
    }
    void OpenHarbourBridge()
    {
        Choose("Harbour Bridge");
        ASSERT_TRUE(Wait([&] { return Text("state") == "Online"; }))
            << Text("problem").toStdString() << Text("state").toStdString();
        ASSERT_TRUE(Wait([&] { return Find<CardList>("members").model()->rowCount() >= 8; }));
    }
    /// Somebody else writes to the user of the window.
    void Write(const OV::UniString& sender, SYC::MailType type, const OV::UniString& text)
    {
        const auto client =
            SYCB::CreateSyncraClient({u"127.0.0.1", server.ModelPort(), sender,
                                      OV::UniString(OV::FromUtf8(ServerProcess::Password))});
        OV::UniString id;
        for (const auto& project : client->GetProjects())
            if (project.name == u"Harbour Bridge")
                id = project.id;
        SYC::ClientMail mail;
        mail.SetType(type);
        mail.SetSender(sender);
        mail.SetSenderFullName(sender == u"yuki.tanaka" ? u"\u7530\u4e2d \u96ea" : u"Marco Rossi");
        mail.SetRecipientsLoginName({u"anna.novak"});
        mail.SetRecipientsFullName(u"Anna Nov\u00e1k");
        mail.SetSendingTime(static_cast<std::int32_t>(QDateTime::currentSecsSinceEpoch()));
        mail.SetImportance(type == SYC::MailType::Request ? SYC::Importance::High
                                                          : SYC::Importance::Low);
        mail.SetBodyText(text);
        (void)client->SendMail(id, {u"anna.novak"}, mail.ConvertToSyncraMessage(),
                               OV::Guid::Generate().ToText());
    }
    [[nodiscard]] ComposeWindow* Compose() const { return window->findChild<ComposeWindow*>(); }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    Dlg::QtToolkit toolkit;
    OV::PooledExecutor worker{0, 1, 0};
    std::unique_ptr<MainWindow> window;
    QtUser user;
};

}  // namespace

TEST_F(DesktopTest, ADayFromTheKeyboard)
{
    EditStore(server.StorePath(), "UPDATE users SET login = '<u>' WHERE login = 'lena.fischer'");
    AddServer("anna.novak");
    auto& projects = Find<CardList>("projects");
    ASSERT_TRUE(Wait([&] { return RowOf(projects, "Harbour Bridge").isValid(); }))
        << Text("problem").toStdString();
    TakePicture("StartServer");
    OpenHarbourBridge();
    // A request comes while something else is done, and is answered at once.
    auto& mails = Find<CardList>("mails");
    Write(u"marco.rossi", SYC::MailType::Normal, u"The drawings of pillar 7 are in.");
    Write(u"yuki.tanaka", SYC::MailType::Request,
          u"May I have pillar 7 until Thursday? The loads of the new crane go through it, and I "
          u"would like to change "
          u"the base before the calculation runs again.");
    ASSERT_TRUE(Wait([&] { return mails.model()->rowCount() >= 2; }));
    auto& views = Find<QTabBar>("views");
    ASSERT_TRUE(Wait([&] { return views.tabText(0) == "Waiting for me 1"; }))
        << views.tabText(0).toStdString();
    views.setCurrentIndex(0);
    ASSERT_EQ(mails.model()->rowCount(), 1);
    EXPECT_EQ(CardOf(mails, 0).badge, "Request !");
    Activate();
    mails.setFocus();
    TakePicture("MailWaiting");
    ExpectNarrow("MailNarrow");
    QTest::keyClick(&mails, Qt::Key_Return, Qt::ControlModifier);
    EXPECT_TRUE(Wait([&] { return views.tabText(0) == "Waiting for me"; }))
        << views.tabText(0).toStdString();
    EXPECT_TRUE(Wait([&] { return Text("outbox") == "Outbox empty"; }))
        << Text("outbox").toStdString();

    // Offline on purpose: what is written waits, also over a restart of the window.
    QTest::mouseClick(&Find<QPushButton>("workOffline"), Qt::LeftButton);
    EXPECT_EQ(Text("state"), "Working offline");
    QTest::keyClick(&mails, Qt::Key_N, Qt::ControlModifier);
    ASSERT_NE(Compose(), nullptr);
    QTest::keyClicks(Compose()->findChild<QLineEdit*>("to"), "anna.novak; marco.rossi; nobody");
    EXPECT_FALSE(Compose()->findChild<QPushButton*>("send")->isEnabled());
    EXPECT_TRUE(Compose()->findChild<QLabel*>("problem")->text().contains("nobody"));
    Compose()->findChild<QLineEdit*>("to")->setText("Marco Rossi <marco.rossi>; ");
    QTest::keyClicks(Compose()->findChild<QPlainTextEdit*>("text"), "Please look at the anchors.");
    TakePicture("Compose", Compose());
    QTest::keyClick(Compose()->findChild<QPlainTextEdit*>("text"), Qt::Key_Return,
                    Qt::ControlModifier);
    EXPECT_TRUE(Wait([&] { return Text("outbox").startsWith("Outbox: 1"); }))
        << Text("outbox").toStdString();
    EXPECT_TRUE(Wait([&] { return Compose() == nullptr; }));
    TakePicture("WorkingOffline");
    // A begun mail is kept as a draft.
    Activate();
    QTest::keyClick(&mails, Qt::Key_N, Qt::ControlModifier);
    QTest::keyClicks(Compose()->findChild<QPlainTextEdit*>("text"), "Begun");
    user.Then([] { QtUser::PressText("Keep as Draft"); });
    EXPECT_TRUE(window->close());
    MakeWindow();
    user.Then([] {
        QtUser::Window().findChild<QLineEdit*>("password")->setText(ServerProcess::Password);
        QTest::keyClick(&QtUser::Window(), Qt::Key_Return);
    });
    Choose("Harbour Bridge");
    ASSERT_TRUE(Wait([&] { return Text("state") == "Working offline"; }))
        << Text("problem").toStdString();
    EXPECT_GE(Find<CardList>("members").model()->rowCount(), 8)
        << "the members are not known offline";
    ASSERT_NE(Compose(), nullptr) << "the draft is lost";
    EXPECT_EQ(Compose()->findChild<QPlainTextEdit*>("text")->toPlainText(), "Begun");
    user.Then([] { QtUser::PressText("Discard"); });
    Compose()->close();
    QTest::mouseClick(&Find<QPushButton>("workOffline"), Qt::LeftButton);
    EXPECT_TRUE(Wait([&] { return Text("state") == "Online"; })) << Text("state").toStdString();
    EXPECT_TRUE(Wait([&] { return Text("outbox") == "Outbox empty"; }))
        << Text("outbox").toStdString();
    auto& sent = Find<CardList>("mails");
    Find<QTabBar>("views").setCurrentIndex(2);
    EXPECT_TRUE(Wait([&] {
        return sent.model()->rowCount() >= 1 &&
               CardOf(sent, 0).subtitle == "Please look at the anchors.";
    }));

    // A server that goes away is told, with the time of the next try.
    server.Terminate();
    EXPECT_TRUE(Wait([&] { return Text("state").startsWith("No answer"); }))
        << Text("state").toStdString();
    TakePicture("NoAnswer");
    server.Start();
    QTest::mouseClick(&Find<QPushButton>("workOffline"), Qt::LeftButton);
    EXPECT_TRUE(Wait([&] { return Text("state") == "Online"; })) << Text("state").toStdString();
    Activate();
    for (int page = 1; page <= 3; ++page) {
        QTest::keyClick(window.get(), static_cast<Qt::Key>(Qt::Key_1 + page), Qt::ControlModifier);
        const char* const status = page == 1 ? "activityStatus" : "statisticsStatus";
        EXPECT_TRUE(Wait([&] { return page == 3 || Text(status).startsWith("Up to date"); }))
            << Text(status).toStdString();
        static constexpr const char* names[] = {"Activity", "Statistics", "Settings"};
        TakePicture(names[page - 1]);
    }
    ExpectNarrow("SettingsNarrow");
    QTest::keyClick(window.get(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_TRUE(
        Wait([&] { return RowOf(Find<CardList>("projects"), "Harbour Bridge").isValid(); }));
    EXPECT_EQ(Look<QLabel>("state"), nullptr);
    TakePicture("Start");
    ExpectNarrow("StartNarrow");
}

TEST_F(DesktopTest, FailuresAreToldAndCanBeTriedAgain)
{
    AddServer("anna.novak", true);
    Choose("Open House 2026");
    EXPECT_TRUE(Wait([&] { return !Text("problem").isEmpty(); }));
    const QString refused = Text("problem");
    EXPECT_TRUE(refused.contains("maintenance") || refused.contains("member"))
        << refused.toStdString();
    Choose("Harbour Bridge");
    ASSERT_TRUE(Wait([&] { return Text("state") == "Online"; }));
    // A session that ended elsewhere is begun anew, when the user wants it.
    window.reset();
    EditStore(server.StorePath(), "DELETE FROM sessions");
    MakeWindow();
    user.Then([] {
        QtUser::Window().findChild<QLineEdit*>("password")->setText(ServerProcess::Password);
        QTest::keyClick(&QtUser::Window(), Qt::Key_Return);
    });
    user.Then([] { QtUser::PressText("New Session"); });
    Choose("Harbour Bridge");
    ASSERT_TRUE(Wait([&] { return Text("state") == "Online"; })) << Text("problem").toStdString();
    window->close();
    server.Terminate();
    MakeWindow();
    // Without its server it opens from the cache.
    Passwords::Remember({u"127.0.0.1", server.ModelPort(), u"Harbour Bridge", u"anna.novak",
                         OV::UniString(OV::FromUtf8(ServerProcess::Password))},
                        worker);
    worker.Shutdown();
    worker.AwaitTermination();
    Choose("Harbour Bridge");
    EXPECT_TRUE(Wait([&] { return Text("state").startsWith("No answer"); }))
        << Text("problem").toStdString();
    server.Start();
    EXPECT_TRUE(Wait([&] { return Text("state") == "Online"; })) << Text("state").toStdString();
}

TEST_F(DesktopTest, AManagerSeesToMembersAndTheirSessions)
{
    AddServer("anna.novak");
    OpenHarbourBridge();
    auto& list = Find<CardList>("members");
    const auto groupOf = [&](const char* name) {
        return RowOf(list, name).data(Qt::AccessibleTextRole).toString().section(", ", -1);
    };
    const auto find = [](const QMenu& menu, const char* text) -> QAction* {
        for (auto* action : menu.findChildren<QAction*>())
            if (action->text() == text)
                return action;
        return nullptr;
    };
    const auto choose = [&](const char* name, const char* text) {
        const auto place = list.visualRect(RowOf(list, name)).center();
        QAction* found = nullptr;
        EXPECT_TRUE(Wait([&] {  // what the user may is asked in the background
            QContextMenuEvent event(QContextMenuEvent::Mouse, place,
                                    list.viewport()->mapToGlobal(place));
            QApplication::sendEvent(list.viewport(), &event);
            auto* const menu = window->findChild<QMenu*>("memberMenu");
            found = menu != nullptr ? find(*menu, text) : nullptr;
            if (found == nullptr)
                delete menu;
            return found != nullptr;
        })) << text;
        auto* const menu = window->findChild<QMenu*>("memberMenu");
        TakePicture("MemberMenu", menu);
        menu->hide();
        found->trigger();
        delete menu;
    };
    choose("Jonas Berg", "Engineer");
    EXPECT_TRUE(Wait([&] {
        return CardOf(list, RowOf(list, "Jonas Berg").row()).subtitle == "Engineer";
    })) << Text("news").toStdString();
    ASSERT_EQ(groupOf("Marco Rossi"), "Working now");
    user.Then([] { QtUser::PressText("End Session ..."); });
    user.Then([] {
        QTest::keyClicks(QApplication::focusWidget(), "Maintenance tonight");
        QtUser::Key(Qt::Key_Return);
    });
    choose("Marco Rossi", "&End the Session ...");
    EXPECT_TRUE(Wait([&] { return groupOf("Marco Rossi") == "Away"; }))
        << Text("news").toStdString();
    user.Then([] { QtUser::PressText("Take Out ..."); });
    user.Then([] { QtUser::PressText("Take Out for Good"); });
    choose("Marco Rossi", "&Take out of the Project ...");
    EXPECT_TRUE(Wait([&] { return !RowOf(list, "Marco Rossi").isValid(); }))
        << Text("news").toStdString();

    // The same happens to the user, who goes on in a new session.
    const OV::Secret password(OV::FromUtf8(ServerProcess::Password));
    Syncra::Server::Management::ProjectRepository other(
        {u"127.0.0.1", server.ManagementPort(), u"admin", password});
    const auto own = [&]() -> OV::UniString {
        for (const auto& session : other.GetSessions({}))
            if (session.loginName == u"anna.novak")
                return session.id;
        return {};
    };
    const auto former = own();
    QString told;
    user.Then([&] {
        told = qobject_cast<QMessageBox*>(&QtUser::Window())->text();
        QtUser::PressText("New Session");
    });
    other.EndSession(former, u"Go home.");
    EXPECT_TRUE(Wait([&] { return !told.isEmpty(); }));
    EXPECT_EQ(told, "Site Administrator ended your session.\n\nGo home.");
    EXPECT_TRUE(Wait([&] { return !own().empty() && own() != former; }));
    EXPECT_TRUE(Wait([&] { return Text("state") == "Online"; })) << Text("state").toStdString();
}

TEST_F(DesktopTest, FollowsTheColoursOfADarkDesktop)
{
    const QPalette former = QApplication::palette();
    QPalette dark(QColor(45, 45, 48));
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    QApplication::setPalette(dark);
    QTest::qWait(20);
    AddServer("anna.novak");
    auto& projects = Find<CardList>("projects");
    ASSERT_TRUE(Wait([&] { return RowOf(projects, "City Library").isValid(); }));
    TakePicture("StartDark");
    OpenHarbourBridge();
    TakePicture("MailDark");
    // Light on dark: nothing in the window brings colours of its own.
    for (const QWidget* widget : window->findChildren<QWidget*>())
        EXPECT_GT(widget->palette().color(QPalette::Active, QPalette::WindowText).lightness(),
                  widget->palette().color(QPalette::Active, QPalette::Window).lightness())
            << widget->objectName().toStdString();
    QApplication::setPalette(former);
}

TEST_F(DesktopTest, SpeaksTheLanguageThatWasChosen)
{
    UserSettings::SetLanguage("de");
    InstallLanguage();
    MakeWindow();
    AddServer("anna.novak");
    Choose("Harbour Bridge");
    ASSERT_TRUE(Wait([&] { return Text("outbox") == "Ausgang leer"; }))
        << Text("outbox").toStdString();
    ASSERT_TRUE(Wait([&] { return Text("counts").startsWith("8 Mitglieder"); }))
        << Text("counts").toStdString();
    Write(u"yuki.tanaka", SYC::MailType::Request, u"Darf ich Pfeiler 7 bis Donnerstag haben?");
    ASSERT_TRUE(Wait([&] { return Find<QTabBar>("views").tabText(0) == "Wartet auf mich 1"; }));
    Find<QTabBar>("views").setCurrentIndex(0);
    TakePicture("MailGerman");
    ExpectNarrow("MailGermanNarrow");
    window.reset();
    UserSettings::SetLanguage({});
    InstallLanguage();
}
