#include "UserInterface/AuthenticationFailedDialog.hpp"

namespace Syncra::Server::ManagementTool::GUI {

AuthenticationFailedDialog::AuthenticationFailedDialog(const OV::UniString& serverName,
                                                       const OV::UniString& projectName,
                                                       const OV::UniString& loginName,
                                                       std::int16_t port)
    : ModalDialog(Number), okButton_(*this, OkButton), cancelButton_(*this, CancelButton),
      server_(*this, ServerText), project_(*this, ProjectText), user_(*this, UserText),
      passwordEdit_(*this, PasswordEdit)
{
    Attach(*this);
    okButton_.Attach(*this);
    cancelButton_.Attach(*this);
    FillIn(server_, {serverName, static_cast<std::uint16_t>(port)});
    FillIn(project_, {projectName});
    FillIn(user_, {loginName});
}

void AuthenticationFailedDialog::FillIn(Dlg::TextItem& text,
                                        std::initializer_list<OV::FormatArgument> arguments)
{
    text.SetText(OV::FormatText(text.GetText(), arguments));
}

void AuthenticationFailedDialog::_PanelOpened(Dlg::Panel&)
{
    password_ = {};
}

void AuthenticationFailedDialog::_PanelCloseRequested(Dlg::Panel&, Dlg::DialogResult result)
{
    if (result == Dlg::DialogResult::Accept)
        password_ = passwordEdit_.GetText();
}

void AuthenticationFailedDialog::_PanelClosed(Dlg::Panel&)
{
    passwordEdit_.SetText({});
}

void AuthenticationFailedDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    PostCloseRequest(button.GetNumber() == OkButton ? Dlg::DialogResult::Accept
                                                    : Dlg::DialogResult::Cancel);
}

}  // namespace Syncra::Server::ManagementTool::GUI
