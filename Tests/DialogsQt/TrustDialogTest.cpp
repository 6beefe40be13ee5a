#include "CardList.hpp"
#include "DialogsQt/QtUser.hpp"
#include "MainWindow.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "Support/DoubtfulServers.hpp"
#include "Support/TemporaryFolder.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"
#include "UserInterface/ConnectDialog.hpp"
#include "UserInterface/TrustServerDialog.hpp"

#include <QLineEdit>

namespace {

using Syncra::Server::ManagementTool::GUI::CertificateChangedDialog;
using Syncra::Server::ManagementTool::GUI::TrustServerDialog;

/// The desktop in front of servers with TLS.
class TrustDialogTest : public testing::Test {
protected:
    TrustDialogTest()
    {
        Syncra::Server::ManagementTool::GUI::SetAsyncTaskDialogExecutingImplementationForCore();
        MakeDoubtful(certificates);
        Communication::HttpOptions options;
        options.authoritiesFile = certificates.Authority();
        Communication::SetDefaultHttpOptions(options);
        window.show();
    }
    ~TrustDialogTest() override { Communication::SetDefaultHttpOptions({}); }

    /// Signs in by the dialog; `asked` answers the question about trust. What the dialog says to a
    /// user who `isRefused`, who then gives up; empty for one that is in.
    std::string Connect(const char* host, std::uint16_t port, bool isRefused,
                        std::function<void()> asked = {})
    {
        using Item = SYC::ConnectDialog::Item;
        user.Then([] {
            QTest::keyClicks(QApplication::focusWidget(), ServerProcess::Password);
            QtUser::Key(Qt::Key_Return);
        });
        if (asked)
            user.Then(std::move(asked));
        std::string status;
        if (isRefused)
            user.Then([&status] {
                const auto& button = QtUser::Item<QAbstractButton>(Item::ConnectButton);
                EXPECT_TRUE(QTest::qWaitFor([&] { return button.isEnabled(); }, 60'000));
                status = QtUser::Item<QLabel>(Item::StatusText)
                             .text()
                             .remove(QChar(0x200B))
                             .toStdString();
                QtUser::Press(Item::CancelButton);
            });
        MainWindow::Login login;
        login.serverName = OV::FromUtf8(host);
        login.port = port;
        login.userName = u"anna.novak";
        window.AddServer(login);
        const auto* const rows = window.findChild<CardList*>("projects")->model();
        EXPECT_TRUE(isRefused || QTest::qWaitFor([&] { return rows->rowCount() > 0; }, 60'000));
        return status;
    }
    TemporaryFolder folder;
    TestCertificates certificates{folder.Path()};
    Dlg::QtToolkit toolkit;
    MainWindow window{folder.GetLocation().Appended(u"Caches")};
    QtUser user;
};

}  // namespace

TEST_F(TrustDialogTest, NothingIsSentToAServerThatIsNotTheOneThatWasMeant)
{
    for (const auto& each : DoubtfulCases) {
        SCOPED_TRACE(each.name);
        const DoubtfulServer server(each, folder.Path(), certificates);
        const auto refuse = [&each] {
            QString shown;
            for (const auto* label : QtUser::Window().findChildren<QLabel*>())
                shown += label->text();
            EXPECT_TRUE(shown.contains(each.problem)) << shown.toStdString();
            QtUser::ExpectGoodLooks((std::string("Trust") + each.name).c_str());
            QtUser::Key(Qt::Key_Return);  // the default button refuses
        };
        const auto told = Connect("https://127.0.0.1", server.Port(), true, refuse);
        EXPECT_NE(told.find(each.problem), std::string::npos) << told;
        EXPECT_EQ(server.Heard(), "");
    }
    const auto told = Connect("nexar.example", 19001, true, [] { QtUser::Key(Qt::Key_Return); });
    EXPECT_NE(told.find("Plain HTTP"), std::string::npos) << told;
}

TEST_F(TrustDialogTest, WhatTheUserTrustsIsTrustedForAsLongAsHeSays)
{
    ServerProcess server(folder.Path(), OptionsShowing(certificates, "stranger"));
    auto& trust = Communication::ServerTrust::GetInstance();
    for (const auto button : {TrustServerDialog::OnceButton, TrustServerDialog::AlwaysButton}) {
        Connect("https://127.0.0.1", server.ModelPort(), false,
                [button] { QtUser::Press(button); });
        Connect("https://127.0.0.1", server.ModelPort(), false);  // without a question
        EXPECT_EQ(trust.List().size(), button == TrustServerDialog::AlwaysButton ? 1U : 0U);
        EXPECT_TRUE(trust.Distrust(u"127.0.0.1", server.ModelPort()));
    }
    trust.Trust({u"127.0.0.1", server.ModelPort(), u"00"}, true);
    EXPECT_NE(Connect("https://127.0.0.1", server.ModelPort(), true,
                      [] { QtUser::Press(CertificateChangedDialog::ForgetButton); }),
              "")
        << "forgotten, not trusted";
    EXPECT_TRUE(trust.List().empty());
}
