#include "UserInterface/DiscardWarningDialog.hpp"

#include "OVRoot/Resources.hpp"

namespace SYC {

namespace {

constexpr int TextList = 31034;
constexpr int Warning = 1;

}  // namespace

DiscardWarningDialog::DiscardWarningDialog()
    : ModalDialog(Number), discardButton_(*this, DiscardButton), cancelButton_(*this, CancelButton),
      text_(*this, WarningText)
{
    discardButton_.Attach(*this);
    cancelButton_.Attach(*this);
    text_.SetText(OV::GetStringListItem(TextList, Warning));
}

void DiscardWarningDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    PostCloseRequest(button.GetNumber() == DiscardButton ? Dlg::DialogResult::Accept
                                                         : Dlg::DialogResult::Cancel);
}

}  // namespace SYC
