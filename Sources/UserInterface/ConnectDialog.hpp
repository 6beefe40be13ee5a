#pragma once

#include "ConnectToServer.hpp"
#include "Dlg/ButtonItem.hpp"
#include "Dlg/EditItem.hpp"
#include "Dlg/ListBox.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/PopUpItem.hpp"
#include "Dlg/TextItem.hpp"
#include "Flow/OwnExecutors.hpp"
#include "OVRoot/Export.hpp"
#include "SYClientProjectDiscovery.hpp"

namespace SYC {

/// Lets a user choose a server, or name one, and signs him in; tells what keeps him from it, and
/// stays open until he is in or gives up. An empty password is the one that this computer keeps.
/// The question whether a server is trusted is asked as everywhere
/// (SetAsyncTaskDialogExecutingImplementationForCore installs the dialogs).
class SYC_API ConnectDialog final : public Dlg::ModalDialog,
                                    private Dlg::PanelObserver,
                                    private Dlg::ButtonItemObserver,
                                    private Dlg::PopUpItemObserver,
                                    private Dlg::EditItemObserver,
                                    private FlowObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32455;
    enum Item {
        ConnectButton = 1,
        CancelButton,
        DiagnoseButton,
        ServerPopUp,
        HostEdit,
        PortEdit,
        UserEdit,
        PasswordEdit,
        StepList,
        StorePopUp = 15,
        StatusText
    };
    /// @}
    /// Entries of StorePopUp.
    enum StoreEntry { DoNotStore = 1, StorePassword };

    /// Server, port and user of `proposed` are filled in, as far as it has them; the usual port,
    /// where nobody knows another one. The caches that tell of servers are those below
    /// `dataFolder`, the main project folder when it is empty.
    explicit ConnectDialog(IO::Location dataFolder = {}, Syncra::Client::SignInData proposed = {});

    /// Who signed in where; after an Invoke that was true.
    [[nodiscard]] const Syncra::Client::SignInData& GetLogin() const noexcept
    {
        return connect_.GetLogin();
    }

private:
    void _PanelOpened(Dlg::Panel&) override;
    void _PanelClosed(Dlg::Panel&) override { password_.SetText({}); }
    void _ButtonClicked(Dlg::ButtonItem& button) override;
    void _PopUpSelected(Dlg::PopUpItem& popUp) override;
    void _EditChanged(Dlg::EditItem&) override;
    void _FlowChanged() override;
    void LeaveRequested() override;

    void ShowServers();
    void ShowPlace(const OV::UniString& host, std::uint16_t port, const OV::UniString& user);
    void SelectServer();
    void ShowSteps();
    void ShowState();
    [[nodiscard]] OV::UniString DescribeState() const;
    [[nodiscard]] Syncra::Client::SignInData ReadLogin() const;

    Syncra::Client::SignInData proposed_;
    OwnExecutors executors_;
    SYClientProjectDiscovery discovery_;
    ConnectToServer connect_;
    bool isConnecting_ = false;
    bool hasTyped_ = false;  ///< the user; nothing is proposed any more
    Dlg::ButtonItem connectButton_;
    Dlg::ButtonItem cancelButton_;
    Dlg::ButtonItem diagnoseButton_;
    Dlg::PopUpItem servers_;
    Dlg::PopUpItem store_;
    Dlg::EditItem host_;
    Dlg::EditItem port_;
    Dlg::EditItem user_;
    Dlg::EditItem password_;
    Dlg::ListBox steps_;
    Dlg::TextItem status_;
    OV::Subscription discoverySubscription_;
    OV::Subscription connectSubscription_;
};

}  // namespace SYC
