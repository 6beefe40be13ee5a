#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "Dlg/SaveFileDialog.hpp"
#include "Dlg/WarningAlert.hpp"
#include "OVRoot/Exception.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "Support/AllItemsDialog.hpp"

#include <gtest/gtest.h>

#include <set>

using Dlg::DialogResult;
using Dlg::HeadlessDialog;
using Strings = OV::Array<std::string>;

namespace {

bool Overlap(const Dlg::Rectangle& a, const Dlg::Rectangle& b)
{
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height &&
           b.y < a.y + a.height;
}

class ToolkitTest : public testing::Test {
protected:
    Dlg::HeadlessToolkit toolkit_;
};

}  // namespace

TEST(DialogResourcesTest, ItemsStandInsideTheirDialogApartAndUnderOneNumberEach)
{
    const auto numbers = Dlg::GetDialogNumbers();
    ASSERT_GE(numbers.size(), 4u);
    for (const int number : numbers) {
        const Dlg::DialogDescription& dialog = Dlg::GetDialogDescription(number);
        std::set<int> seen;
        int defaults = 0;
        for (const auto& item : dialog.items) {
            const std::string which = std::to_string(number) + "/" + std::to_string(item.number);
            EXPECT_TRUE(item.number > 0 && seen.insert(item.number).second) << which;
            EXPECT_TRUE(item.place.x >= 0 && item.place.y >= 0 && item.place.width > 0 &&
                        item.place.height > 0 && item.place.x + item.place.width <= dialog.width &&
                        item.place.y + item.place.height <= dialog.height)
                << which;
            for (const auto& other : dialog.items)
                EXPECT_TRUE(&other == &item || !Overlap(item.place, other.place)) << which;
            defaults += item.isDefault ? 1 : 0;
        }
        EXPECT_LE(defaults, 1) << number;
    }
}

TEST(DialogResourcesTest, LabelsAreReadAndMistakesAreNamed)
{
    EXPECT_EQ(Dlg::GetDialogDescription(31040).GetItem(1).label, u"Send & Save");
    EXPECT_THROW((void)Dlg::GetDialogDescription(1), OV::IllegalReferenceException);
    EXPECT_THROW((void)Dlg::GetDialogDescription(31040).GetItem(99), OV::IllegalReferenceException);
    EXPECT_THROW(AllItemsDialog().Invoke(), OV::IllegalReferenceException);  // no toolkit
}

TEST_F(ToolkitTest, AUserIsHeardInTheOrderInWhichHeActs)
{
    AllItemsDialog dialog;
    dialog.EnableIdleEvents();
    toolkit_.AddScript(AllItemsDialog::Number, [&](HeadlessDialog& user) {
        user.SendIdle();
        user.Choose(AllItemsDialog::PopUp, 3);
        user.SelectRow(AllItemsDialog::List, 2);
        user.PressHeader(AllItemsDialog::List, 2);
        EXPECT_EQ(user.GetSortMark(AllItemsDialog::List), -2);
        EXPECT_EQ(user.GetProgress(AllItemsDialog::Bar), HeadlessDialog::Progress(1, 4));
        user.PickDate(AllItemsDialog::Day, {2024, 3, 1});
        user.Type(AllItemsDialog::Edit, u"typed");
        user.SendResize();
        user.Press(AllItemsDialog::Ok);
        user.Leave();  // too late: the dialog was accepted
    });
    EXPECT_TRUE(dialog.Invoke());
    EXPECT_EQ(dialog.heard, (Strings{"opened", "idle", "entry other", "row second", "column 2",
                                     "day 1", "resized", "accept", "closed"}));
    EXPECT_EQ(dialog.edit.GetText(), u"typed");
}

TEST_F(ToolkitTest, WhatAUserCouldNotDoLeavesInvoke)
{
    const std::function<void(HeadlessDialog&)> impossible[] = {
        [](HeadlessDialog& user) { user.Press(AllItemsDialog::Cancel); },
        [](HeadlessDialog& user) { user.Press(AllItemsDialog::Text); },
        [](HeadlessDialog& user) { user.Press(99); },
        [](HeadlessDialog& user) { user.Choose(AllItemsDialog::PopUp, 2); },
        [](HeadlessDialog& user) { user.Choose(AllItemsDialog::PopUp, 4); },
        [](HeadlessDialog& user) { user.SelectRow(AllItemsDialog::List, 3); },
        [](HeadlessDialog& user) { user.PressHeader(AllItemsDialog::List, 3); },
    };
    for (const auto& script : impossible) {
        AllItemsDialog dialog;
        dialog.cancel.Disable();
        toolkit_.AddScript(AllItemsDialog::Number, script);
        EXPECT_THROW(dialog.Invoke(), OV::IllegalArgumentException);
        EXPECT_EQ(dialog.heard.back(), "closed");
    }
    EXPECT_THROW(AllItemsDialog().Invoke(), OV::IllegalReferenceException) << "no script";
}

TEST_F(ToolkitTest, ARequestToCloseCountsOnceAndNeverForAnotherOpening)
{
    auto dialog = std::make_unique<AllItemsDialog>();
    dialog->PostCloseRequest(DialogResult::Accept);
    SYCB::MessageLoop::RunPending();
    toolkit_.AddScript(AllItemsDialog::Number, [&](HeadlessDialog&) {
        dialog->PostCloseRequest(DialogResult::Cancel);
        dialog->PostCloseRequest(DialogResult::Accept);
    });
    EXPECT_FALSE(dialog->Invoke());
    toolkit_.AddScript(AllItemsDialog::Number,
                       [&](HeadlessDialog& user) { user.Press(AllItemsDialog::Ok); });
    EXPECT_TRUE(dialog->Invoke());
    dialog->PostCloseRequest(DialogResult::Accept);
    dialog.reset();
    EXPECT_EQ(SYCB::MessageLoop::RunPending(), 1u) << "and it touches no dialog that is gone";
}

TEST_F(ToolkitTest, AnExceptionOfAnObserverClosesTheDialogAndReachesTheCaller)
{
    AllItemsDialog dialog;
    dialog.onOpened = [] { throw std::runtime_error("expected by the test"); };
    EXPECT_THROW(dialog.Invoke(), std::runtime_error);
    EXPECT_EQ(dialog.heard, (Strings{"opened", "closed"}));
    dialog.onOpened = [] {};
    toolkit_.AddScript(AllItemsDialog::Number, [&](HeadlessDialog& user) {
        dialog.popUp.Clear();
        dialog.popUp.Append(u"one");
        user.Choose(AllItemsDialog::PopUp, 1);
        EXPECT_THROW((void)dialog.Invoke(), OV::IllegalArgumentException) << "it is open";
        user.Leave();
    });
    EXPECT_FALSE(dialog.Invoke()) << "and may be opened again";
}
