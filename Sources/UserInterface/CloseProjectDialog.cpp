#include "UserInterface/CloseProjectDialog.hpp"

#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Resources.hpp"
#include "UserInterface/DiscardWarningDialog.hpp"

namespace SYC {

namespace {
enum Text {
    Title = 1,
    TitleOffline,
    SendAndSave,
    Save,
    AskSend,
    AskSave,
    SaveWithoutSend,
    SendSaveAndReleaseAll,
    SendSaveWithoutRelease,
    AskSendAndReleaseAll,
};

constexpr int DiscardAlertCancel = 2;

const OV::UniString& GetText(Text text)
{
    return OV::GetStringListItem(TextLists::CloseProject, text);
}

}  // namespace

CloseProjectDialog::CloseProjectDialog(bool online, bool second, bool discardNeedsWarning,
                                       bool saveOnly, bool offlineWork, bool releaseAllDefault,
                                       const OV::UniString& projectName)
    : ModalDialog(Number), online_(online), second_(second),
      discardNeedsWarning_(discardNeedsWarning), saveOnly_(saveOnly), offlineWork_(offlineWork),
      releaseAllDefault_(releaseAllDefault), projectName_(projectName),
      mainButton_(*this, MainButton), cancelButton_(*this, CancelButton),
      discardButton_(*this, DiscardButton), question_(*this, QuestionText),
      popUp_(*this, OtherChoices)
{
    Attach(*this);
    mainButton_.Attach(*this);
    cancelButton_.Attach(*this);
    discardButton_.Attach(*this);
    popUp_.Attach(*this);
}

void CloseProjectDialog::_PanelOpened(Dlg::Panel&)
{
    result_ = Result::Cancelled;
    SetTitle(GetText(online_ ? Title : TitleOffline));
    mainButton_.SetText(GetText(CanSend() ? SendAndSave : Save));
    question_.SetText(Question());
    FillPopUp();
}

OV::UniString CloseProjectDialog::Question() const
{
    constexpr OV::UniStringView placeholder = u"^0";
    OV::UniString question = GetText(IsLocalOnly()        ? AskSave
                                     : releaseAllDefault_ ? AskSendAndReleaseAll
                                                          : AskSend);
    // Only the first one: the rest of the text may be the project's own name.
    if (const auto at = question.find(placeholder); at != OV::UniString::npos)
        question.replace(at, placeholder.size(), projectName_);
    return question;
}

void CloseProjectDialog::FillPopUp()
{
    popUp_.Clear();
    if (!CanSend()) {
        popUp_.Disable();
        return;
    }
    popUp_.Enable();
    popUp_.Append(GetText(releaseAllDefault_ ? SendSaveWithoutRelease : SendSaveAndReleaseAll));
    popUp_.AppendSeparator();
    popUp_.Append(GetText(SaveWithoutSend));
}

void CloseProjectDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    switch (button.GetNumber()) {
    case MainButton:
        CloseWith(!CanSend()           ? Result::SaveLocally
                  : releaseAllDefault_ ? Result::SendSaveAndReleaseAll
                                       : Result::SendAndSave);
        break;
    case DiscardButton:
        if (IsDiscardConfirmed())
            CloseWith(Result::Discard);
        break;
    default:
        PostCloseRequest(Dlg::DialogResult::Cancel);
        break;
    }
}

void CloseProjectDialog::_PopUpSelected(Dlg::PopUpItem&)
{
    // The first entry offers the release choice that the main button does not.
    if (popUp_.GetSelected() == OtherRelease)
        CloseWith(releaseAllDefault_ ? Result::SendAndSave : Result::SendSaveAndReleaseAll);
    else if (popUp_.GetSelected() == SaveLocallyEntry)
        CloseWith(Result::SaveLocally);
}

bool CloseProjectDialog::IsDiscardConfirmed() const
{
    if (!discardNeedsWarning_)
        return true;
    if (IsLocalOnly())
        return DiscardWarningDialog().Invoke();
    return OV::ShowAlert(Alerts::DiscardChanges) != DiscardAlertCancel;
}

void CloseProjectDialog::CloseWith(Result::Value result)
{
    // The dialog may have been left while the user was asked whether he means it.
    if (PostCloseRequest(Dlg::DialogResult::Accept))
        result_ = result;
}

}  // namespace SYC
