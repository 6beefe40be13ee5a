#pragma once

#include "BrowseShareableProject.hpp"
#include "Dlg/ButtonItem.hpp"
#include "Dlg/ListBox.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/TextItem.hpp"
#include "Flow/OwnExecutors.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// The projects of a server that the user manages, to share another one, to change their settings
/// and to delete them.
class SYC_API ShareableProjectsDialog final : public Dlg::ModalDialog,
                                              private Dlg::PanelObserver,
                                              private Dlg::ButtonItemObserver,
                                              private Dlg::ListBoxObserver,
                                              private FlowObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32454;
    enum Item {
        CloseButton = 1,
        ShareButton,
        SettingsButton,
        DeleteButton,
        RefreshButton,
        ProjectList,
        StatusText
    };
    /// @}

    /// The server is asked as that user.
    explicit ShareableProjectsDialog(Syncra::Client::SignInData login);

private:
    void _PanelOpened(Dlg::Panel&) override;
    void _ButtonClicked(Dlg::ButtonItem& button) override;
    void _RowSelected(Dlg::ListBox&) override { ShowState(); }
    void _FlowChanged() override;
    void ShowState();
    [[nodiscard]] OV::UniString GetSelectedId() const;

    const Syncra::Client::SignInData login_;
    OwnExecutors executors_;
    BrowseShareableProject browse_;
    Dlg::ButtonItem closeButton_;
    Dlg::ButtonItem shareButton_;
    Dlg::ButtonItem settingsButton_;
    Dlg::ButtonItem deleteButton_;
    Dlg::ButtonItem refreshButton_;
    Dlg::ListBox list_;
    Dlg::TextItem status_;
    OV::Subscription subscription_;
};

}  // namespace SYC
