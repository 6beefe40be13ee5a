#include "UserInterface/ProjectDialogs.hpp"
#include "BrowseShareableProject.hpp"
#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "Files/ResourceNumbers.hpp"
#include "Flows/FlowTest.hpp"
#include "RegisteredProjects.hpp"
#include "UserInterface/BrowseProjectDialog.hpp"
#include "UserInterface/ConnectDialog.hpp"
#include "UserInterface/FlowDialog.hpp"
#include "UserInterface/LeaveProjectDialog.hpp"
#include "UserInterface/ProjectSettingsDialog.hpp"
#include "UserInterface/ShareableProjectsDialog.hpp"

using SYC::BrowseProjectDialog;
using SYC::ConnectDialog;
using SYC::LeaveProjectDialog;
using SYC::ProjectSettingsDialog;
using SYC::ShareableProjectsDialog;

namespace {

class ProjectDialogsTest : public FlowTest {
protected:
    ProjectDialogsTest()
    {
        for (int i = 0; i < 30; ++i)
            toolkit.AddScript(SYC::FlowDialog::Number, [](auto&) {});
    }
    static void WaitFor(const std::function<bool()>& done)
    {
        ASSERT_TRUE(SYCB::MessageLoop::RunUntil(done, 20'000));
    }
    /// The row whose first cell is that text; 0 for none.
    static int RowOf(const Dlg::HeadlessDialog& dialog, int list, const OV::UniString& text)
    {
        const auto& rows = dialog.GetRows(list);
        for (int row = 1; row <= rows.GetCount(); ++row)
            if (rows.GetText(row, 1) == text)
                return row;
        return 0;
    }
    static int EntryOf(const Dlg::HeadlessDialog& dialog, int popUp, const OV::UniString& text)
    {
        const auto& entries = dialog.GetEntries(popUp);
        for (std::size_t i = 0; i < entries.size(); ++i)
            if (entries[i].find(text) != OV::UniString::npos)
                return static_cast<int>(i) + 1;
        return 0;
    }

    Dlg::HeadlessToolkit toolkit;
};

TEST_F(ProjectDialogsTest, ConnectTellsWhatIsInTheWayAndStoresThePassword)
{
    using Item = ConnectDialog::Item;
    toolkit.AddScript(ConnectDialog::Number, [&](Dlg::HeadlessDialog& dialog) {
        EXPECT_FALSE(dialog.IsEnabled(Item::ConnectButton));
        dialog.Type(Item::HostEdit, u"127.0.0.1");
        dialog.Type(Item::PortEdit, u"1");
        dialog.Type(Item::UserEdit, u"anna.novak");
        dialog.Type(Item::PasswordEdit, u"wrong");
        const auto diagnose = [&] {
            dialog.Press(Item::DiagnoseButton);
            WaitFor([&] { return dialog.IsEnabled(Item::DiagnoseButton); });
        };
        diagnose();
        EXPECT_NE(dialog.GetText(Item::StatusText).find(u"Check the port."), OV::UniString::npos);
        dialog.Type(Item::PortEdit, OV::ToText(server.ModelPort()));
        diagnose();
        EXPECT_EQ(RowOf(dialog, Item::StepList, u"projects"), 0);
        EXPECT_NE(dialog.GetText(Item::StatusText).find(u"Check user name and password."),
                  OV::UniString::npos);
        dialog.Press(Item::ConnectButton);
        WaitFor([&] { return dialog.IsEnabled(Item::ConnectButton); });
        dialog.Type(Item::PasswordEdit, OV::FromUtf8(ServerProcess::Password));
        diagnose();
        EXPECT_NE(RowOf(dialog, Item::StepList, u"projects"), 0);
        dialog.Choose(Item::StorePopUp, ConnectDialog::StorePassword);
        dialog.Press(Item::ConnectButton);
    });
    ConnectDialog dialog(DataFolder());
    ASSERT_TRUE(dialog.Invoke());
    EXPECT_EQ(OV::ToUtf8(dialog.GetLogin().userName), "anna.novak");

    // From now on the server is the proposed one, and needs no password typed.
    toolkit.AddScript(ConnectDialog::Number, [&](Dlg::HeadlessDialog& again) {
        WaitFor([&] { return !again.GetText(Item::HostEdit).empty(); });
        again.Type(Item::PortEdit, OV::ToText(server.ModelPort()));
        again.Press(Item::ConnectButton);
    });
    ConnectDialog second(DataFolder());
    ASSERT_TRUE(second.Invoke());
    EXPECT_EQ(OV::ToUtf8(second.GetLogin().userName), "anna.novak");
}

TEST_F(ProjectDialogsTest, BrowsesJoinsAndLeaves)
{
    using Item = BrowseProjectDialog::Item;
    toolkit.AddScript(BrowseProjectDialog::Number, [&](Dlg::HeadlessDialog& dialog) {
        EXPECT_EQ(dialog.GetTitle(), u"Open/Join Syncra Project (User: marco.rossi)");
        const auto select = [&](const OV::UniString& project) {
            WaitFor([&] { return RowOf(dialog, Item::ProjectList, project) != 0; });
            dialog.SelectRow(Item::ProjectList, RowOf(dialog, Item::ProjectList, project));
        };
        select(u"Open House 2026");
        EXPECT_FALSE(dialog.IsEnabled(Item::MainButton)) << "public, and he is no member";
        dialog.Type(Item::SearchEdit, u"BRIDGE");
        dialog.Choose(Item::CategoryPopUp, EntryOf(dialog, Item::CategoryPopUp, u"Infra"));
        EXPECT_EQ(dialog.GetRows(Item::ProjectList).GetCount(), 1);
        select(u"Harbour Bridge");
        EXPECT_EQ(dialog.GetText(Item::MainButton), u"Join");
        dialog.Press(Item::MainButton);
    });
    BrowseProjectDialog browse(Login("marco.rossi"), DataFolder());
    ASSERT_TRUE(browse.Invoke());
    const auto url = browse.GetChoice();

    EXPECT_FALSE(SYC::JoinProjectWithDialogs(url, DataFolder())) << "held on another computer";
    toolkit.AddAnswer(SYC::Alerts::TakeSessionOver, 1);
    auto joined = SYC::JoinProjectWithDialogs(url, DataFolder());
    ASSERT_TRUE(joined && joined->GetMails());
    joined->GetMails()->RefreshMails(SYC::RefreshMailListReason::ServerSignal);
    WaitFor([&] { return !joined->GetMails()->IsRefreshing(); });
    joined.reset();

    SYC::registeredProjects().GetCachedProjectInfo(url, DataFolder())->SetUnsentChanges(true);
    const auto isCached = [&] {
        return SYC::registeredProjects().GetCacheInfo(url, true, DataFolder()) != nullptr;
    };
    const auto leaveBy = [&](int button, int thenButton) {
        toolkit.AddScript(LeaveProjectDialog::Number, [=](Dlg::HeadlessDialog& dialog) {
            dialog.Press(button);
            if (thenButton != 0)
                dialog.Press(thenButton);
        });
        return SYC::LeaveProjectWithDialogs(url, DataFolder());
    };
    toolkit.AddAnswer(SYC::Alerts::LoseUnsentWork, 2);
    EXPECT_FALSE(leaveBy(LeaveProjectDialog::RemoveButton, LeaveProjectDialog::CancelButton));
    EXPECT_TRUE(leaveBy(LeaveProjectDialog::KeepButton, 0) && isCached());
    toolkit.AddAnswer(SYC::Alerts::LoseUnsentWork, 1);
    EXPECT_TRUE(leaveBy(LeaveProjectDialog::RemoveButton, 0) && !isCached());
}

TEST_F(ProjectDialogsTest, SharesChangesAndDeletes)
{
    using Item = ProjectSettingsDialog::Item;
    toolkit.AddScript(ProjectSettingsDialog::Number, [&](Dlg::HeadlessDialog& dialog) {
        EXPECT_FALSE(dialog.IsEnabled(Item::MainButton));
        dialog.Type(Item::NameEdit, u"city library");
        WaitFor(
            [&] { return dialog.GetText(Item::NameText).find(u"exists") != OV::UniString::npos; });
        EXPECT_FALSE(dialog.IsEnabled(Item::MainButton));
        dialog.Type(Item::NameEdit, u"Quay");
        WaitFor([&] { return dialog.GetText(Item::NameText).empty(); });
        EXPECT_EQ(dialog.GetRows(Item::MemberList).GetCount(), 1) << "whoever shares it";
        dialog.Choose(Item::UserPopUp, EntryOf(dialog, Item::UserPopUp, u"anna.novak"));
        dialog.Choose(Item::RolePopUp, EntryOf(dialog, Item::RolePopUp, u"Viewer"));
        dialog.Press(Item::SetRoleButton);
        dialog.Press(Item::MainButton);
    });
    toolkit.AddScript(ProjectSettingsDialog::Number, [&](Dlg::HeadlessDialog& dialog) {
        EXPECT_EQ(dialog.GetText(Item::NameEdit), u"Quay");
        EXPECT_EQ(dialog.GetRows(Item::MemberList).GetCount(), 2);
        dialog.Choose(Item::StatePopUp, EntryOf(dialog, Item::StatePopUp, u"locked"));
        dialog.Press(Item::MainButton);
    });
    toolkit.AddAnswer(SYC::Alerts::DeleteProject, 1);
    toolkit.AddAnswer(SYC::Alerts::DeleteProjectForGood, 1);
    toolkit.AddScript(ShareableProjectsDialog::Number, [&](Dlg::HeadlessDialog& dialog) {
        using List = ShareableProjectsDialog::Item;
        const auto row = [&] { return RowOf(dialog, List::ProjectList, u"Quay"); };
        WaitFor([&] { return dialog.IsEnabled(List::ShareButton); });
        dialog.Press(List::ShareButton);
        WaitFor([&] { return row() != 0; });
        dialog.SelectRow(List::ProjectList, row());
        dialog.Press(List::SettingsButton);
        WaitFor([&] {
            return row() != 0 && dialog.GetRows(List::ProjectList).GetText(row(), 3) == u"locked";
        });
        dialog.SelectRow(List::ProjectList, row());
        dialog.Press(List::DeleteButton);
        WaitFor([&] { return row() == 0; });
        dialog.Press(List::CloseButton);
    });
    EXPECT_TRUE(ShareableProjectsDialog(Login("admin")).Invoke());
    EXPECT_TRUE(SYC::ShareProjectWithDialogs(Login("nora.lind")).IsEmpty());
    EXPECT_EQ(toolkit.GetAlertsShown().back().number, SYC::Alerts::FlowFailed);
}

}  // namespace
