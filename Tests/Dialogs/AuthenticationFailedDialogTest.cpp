#include "UserInterface/AuthenticationFailedDialog.hpp"
#include "Dlg/Headless/HeadlessToolkit.hpp"

#include <gtest/gtest.h>

using Syncra::Server::ManagementTool::GUI::AuthenticationFailedDialog;

TEST(AuthenticationFailedDialogTest, GivesWhatWasTypedOnlyWhenAcceptedAndNeverRecordsIt)
{
    constexpr int Number = 32433;
    enum { Ok = 1, Cancel = 2, Server = 6, Project = 8, User = 10, Password = 12 };
    Dlg::HeadlessToolkit toolkit;
    AuthenticationFailedDialog dialog(u"nexar%s.example", u"Bridge %d", u"anna", -1);
    toolkit.AddScript(Number, [](Dlg::HeadlessDialog& user) {
        EXPECT_EQ(user.GetText(Server), u"nexar%s.example:65535");
        EXPECT_EQ(user.GetText(Project), u"Bridge %d");
        EXPECT_EQ(user.GetText(User), u"anna");
        user.Type(Password, u"p\u00e4ss & word");
        user.Press(Ok);
    });
    EXPECT_TRUE(dialog.Invoke());
    EXPECT_EQ(dialog.GetUserPasswd(), u"p\u00e4ss & word");

    toolkit.AddScript(Number, [](Dlg::HeadlessDialog& user) {
        EXPECT_EQ(user.GetText(Password), u"") << "a second opening begins anew";
        user.Type(Password, u"typed, and thought better of");
        user.Press(Cancel);
    });
    EXPECT_FALSE(dialog.Invoke());
    EXPECT_EQ(dialog.GetUserPasswd(), u"");
    EXPECT_TRUE(toolkit.GetTextsShown(Number, Password).empty());
}
