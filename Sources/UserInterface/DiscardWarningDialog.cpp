#include "UserInterface/DiscardWarningDialog.hpp"

#include "Files/ResourceNumbers.hpp"
#include "OVRoot/Resources.hpp"

namespace SYC {

namespace {
constexpr int Warning = 1;

}  // namespace

DiscardWarningDialog::DiscardWarningDialog()
    : ModalDialog(Number), discardButton_(*this, DiscardButton), cancelButton_(*this, CancelButton),
      text_(*this, WarningText)
{
    discardButton_.Attach(*this);
    cancelButton_.Attach(*this);
    text_.SetText(OV::GetStringListItem(TextLists::DiscardWarning, Warning));
}

void DiscardWarningDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    PostCloseRequest(button.GetNumber() == DiscardButton ? Dlg::DialogResult::Accept
                                                         : Dlg::DialogResult::Cancel);
}

}  // namespace SYC
