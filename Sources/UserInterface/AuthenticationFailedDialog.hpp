#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/EditItem.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/TextItem.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Format.hpp"
#include "OVRoot/Secret.hpp"

namespace Syncra::Server::ManagementTool::GUI {

/// Asks for the password of a user whom the known one does not prove. Invoke is true for OK.
class SYC_API AuthenticationFailedDialog final : public Dlg::ModalDialog,
                                                 private Dlg::PanelObserver,
                                                 private Dlg::ButtonItemObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    static constexpr int Number = 32433;
    /// Its items.
    enum Item {
        OkButton = 1,
        CancelButton,
        ServerText = 6,
        ProjectText = 8,
        UserText = 10,
        PasswordEdit = 12
    };

    /// `port` above 32767 is a negative number.
    AuthenticationFailedDialog(const OV::UniString& serverName, const OV::UniString& projectName,
                               const OV::UniString& loginName, std::int16_t port);

    /// What the user typed when he accepted; empty otherwise. It is wiped with the dialog, and when
    /// the dialog is opened again; who copies it wipes the copy.
    [[nodiscard]] const OV::Secret& GetUserPasswd() const noexcept { return password_; }

private:
    void _PanelOpened(Dlg::Panel&) override;
    void _PanelCloseRequested(Dlg::Panel&, Dlg::DialogResult result) override;
    void _PanelClosed(Dlg::Panel&) override;
    void _ButtonClicked(Dlg::ButtonItem& button) override;
    void FillIn(Dlg::TextItem& text, std::initializer_list<OV::FormatArgument> arguments);

    OV::Secret password_;
    Dlg::ButtonItem okButton_;
    Dlg::ButtonItem cancelButton_;
    Dlg::TextItem server_;
    Dlg::TextItem project_;
    Dlg::TextItem user_;
    Dlg::EditItem passwordEdit_;
};

}  // namespace Syncra::Server::ManagementTool::GUI
