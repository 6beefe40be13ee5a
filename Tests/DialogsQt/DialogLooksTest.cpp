#include "DialogsQt/QtUser.hpp"
#include "UserInterface/AuthenticationFailedDialog.hpp"
#include "UserInterface/CloseProjectDialog.hpp"

#include <QLineEdit>

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
        {"CloseSendRelease", true, false, true, u"Harbour Bridge", Result::SendSaveAndReleaseAll},
        {"CloseSaveOnly", true, true, false, u"Harbour Bridge", Result::SaveLocally},
        {"CloseSaveOnlyRelease", true, true, true, u"Harbour Bridge", Result::SaveLocally},
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
