#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/TextItem.hpp"
#include "OVRoot/Export.hpp"
#include "SYCommunication/ServerTrust.hpp"

namespace Syncra::Server::ManagementTool::GUI {

/// Shows the certificate of a server for which no authority vouches, and asks whether it is to be
/// trusted for that host and port. Whatever closes the dialog but the two buttons refuses.
class SYC_API TrustServerDialog final : public Dlg::ModalDialog, private Dlg::ButtonItemObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32440;
    enum Item {
        AlwaysButton = 1,
        OnceButton,
        RefuseButton,
        Introduction = 5,
        NamesText = 7,
        ValidText = 9,
        FingerprintText = 11
    };
    /// @}

    /// Shows what it showed.
    explicit TrustServerDialog(const Communication::UntrustedServer& server);

    /// After Invoke.
    [[nodiscard]] Communication::TrustAnswer GetAnswer() const noexcept { return answer_; }

private:
    void _ButtonClicked(Dlg::ButtonItem& button) override;

    Communication::TrustAnswer answer_ = Communication::TrustAnswer::Refuse;
    Dlg::ButtonItem always_;
    Dlg::ButtonItem once_;
    Dlg::ButtonItem refuse_;
};

/// Shows both fingerprints of a server whose certificate is not the trusted one any more. Invoke is
/// true when the user forgets the trusted one; the server stays refused all the same.
class SYC_API CertificateChangedDialog final : public Dlg::ModalDialog,
                                               private Dlg::ButtonItemObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32441;
    enum Item { ForgetButton = 1, RefuseButton, Introduction = 4, TrustedText = 6, ShownText = 8 };
    /// @}

    /// Shows what it showed, and what is trusted.
    explicit CertificateChangedDialog(const Communication::UntrustedServer& server);

private:
    void _ButtonClicked(Dlg::ButtonItem& button) override;

    Dlg::ButtonItem forget_;
    Dlg::ButtonItem refuse_;
};

}  // namespace Syncra::Server::ManagementTool::GUI
