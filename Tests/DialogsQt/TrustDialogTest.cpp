#include "CardList.hpp"
#include "DialogsQt/QtUser.hpp"
#include "MainWindow.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "Support/DoubtfulServers.hpp"
#include "Support/TemporaryFolder.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"
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

    /// The number of rows that are shown; `asked` answers the question about trust.
    int Connect(const char* host, std::uint16_t port, std::function<void()> asked = {})
    {
        user.Then([] {
            QtUser::Window().findChild<QLineEdit*>("password")->setText(ServerProcess::Password);
            QTest::keyClick(&QtUser::Window(), Qt::Key_Return);
        });
        if (asked)
            user.Then(std::move(asked));
        window.AddServer(host, port, "anna.novak");
        const auto* const rows = window.findChild<CardList*>("projects")->model();
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return rows->rowCount() > 0 || !Status().empty(); }, 60'000));
        return rows->rowCount();
    }
    [[nodiscard]] std::string Status() const
    {
        return window.findChild<QLabel*>("problem")->text().toStdString();
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
        EXPECT_EQ(Connect("https://127.0.0.1", server.Port(), refuse), 0);
        EXPECT_NE(Status().find(each.problem), std::string::npos) << Status();
        EXPECT_EQ(server.Heard(), "");
    }
    EXPECT_EQ(Connect("nexar.example", 19001, [] { QtUser::Key(Qt::Key_Return); }), 0);
    EXPECT_NE(Status().find("Plain HTTP"), std::string::npos) << Status();
}

TEST_F(TrustDialogTest, WhatTheUserTrustsIsTrustedForAsLongAsHeSays)
{
    ServerProcess server(folder.Path(), OptionsShowing(certificates, "stranger"));
    auto& trust = Communication::ServerTrust::GetInstance();
    for (const auto button : {TrustServerDialog::OnceButton, TrustServerDialog::AlwaysButton}) {
        EXPECT_GT(
            Connect("https://127.0.0.1", server.ModelPort(), [button] { QtUser::Press(button); }),
            0)
            << Status();
        EXPECT_GT(Connect("https://127.0.0.1", server.ModelPort()), 0) << "without a question";
        EXPECT_EQ(trust.List().size(), button == TrustServerDialog::AlwaysButton ? 1U : 0U);
        EXPECT_TRUE(trust.Distrust(u"127.0.0.1", server.ModelPort()));
    }
    trust.Trust({u"127.0.0.1", server.ModelPort(), u"00"}, true);
    EXPECT_EQ(Connect("https://127.0.0.1", server.ModelPort(),
                      [] { QtUser::Press(CertificateChangedDialog::ForgetButton); }),
              0)
        << "forgotten, not trusted";
    EXPECT_TRUE(trust.List().empty());
}
