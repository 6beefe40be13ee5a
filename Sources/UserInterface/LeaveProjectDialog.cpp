#include "UserInterface/LeaveProjectDialog.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "OVRoot/Format.hpp"

namespace SYC {

namespace {

/// What was not sent, in words; empty when everything was.
OV::UniString DescribeUnsent(const LeaveProject::Found& found)
{
    if (!found.hasUnsentWork)
        return {};
    if (found.unsentMails == 0)
        return GetText(found.hasUnsentChanges ? FlowText::UnsentChanges : FlowText::UnsentUnknown);
    return OV::FormatText(
        GetText(found.hasUnsentChanges ? FlowText::UnsentChangesAndMails : FlowText::UnsentMails),
        {found.unsentMails});
}

}  // namespace

LeaveProjectDialog::LeaveProjectDialog(const OV::UniString& projectName,
                                       const LeaveProject::Found& found)
    : ModalDialog(Number), projectName_(projectName), hasUnsentWork_(found.hasUnsentWork),
      removeButton_(*this, RemoveButton), cancelButton_(*this, CancelButton),
      keepButton_(*this, KeepButton)
{
    for (auto* button : {&removeButton_, &cancelButton_, &keepButton_})
        button->Attach(*this);
    Dlg::TextItem question(*this, QuestionText);
    question.SetText(OV::FormatText(question.GetText(), {projectName}));
    Dlg::TextItem(*this, UnsentText).SetText(DescribeUnsent(found));
}

void LeaveProjectDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    constexpr int removeAllTheSame = 1;
    if (button.GetNumber() == CancelButton) {
        PostCloseRequest(Dlg::DialogResult::Cancel);
        return;
    }
    LeaveProject::Options options;
    options.removeCache = button.GetNumber() == RemoveButton;
    options.discardUnsent = options.removeCache && hasUnsentWork_;
    if (options.discardUnsent &&
        OV::ShowAlert(Alerts::LoseUnsentWork, {projectName_}) != removeAllTheSame)
        return;
    if (PostCloseRequest(Dlg::DialogResult::Accept))
        options_ = options;
}

}  // namespace SYC
