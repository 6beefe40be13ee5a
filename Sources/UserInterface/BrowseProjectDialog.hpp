#pragma once

#include "BrowseProject.hpp"
#include "Dlg/ButtonItem.hpp"
#include "Dlg/EditItem.hpp"
#include "Dlg/ListBox.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/PopUpItem.hpp"
#include "Dlg/TextItem.hpp"
#include "Flow/OwnExecutors.hpp"
#include "OVRoot/Export.hpp"

namespace SYC {

/// Lets a user choose among the projects of a server. Asks the server when it opens and whenever
/// the user wants it.
class SYC_API BrowseProjectDialog final : public Dlg::ModalDialog,
                                          private Dlg::PanelObserver,
                                          private Dlg::ButtonItemObserver,
                                          private Dlg::PopUpItemObserver,
                                          private Dlg::ListBoxObserver,
                                          private Dlg::EditItemObserver,
                                          private FlowObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32450;
    enum Item {
        MainButton = 1,
        CancelButton,
        RefreshButton,
        CategoryPopUp,
        ProjectList,
        SearchEdit,
        StatusText = 9
    };
    /// @}
    /// What the user chooses for.
    enum class Purpose {
        OpenOrJoin,  ///< only what the user may open, here or on the server, can be chosen
        Select,
    };

    /// The server is asked as that user; the caches are those of BrowseProject.
    BrowseProjectDialog(Syncra::Client::SignInData login, IO::Location dataFolder,
                        Purpose purpose = Purpose::OpenOrJoin);

    /// The project URL, with the password coded; empty unless Invoke was true.
    [[nodiscard]] const IO::Location& GetChoice() const noexcept { return choice_; }

private:
    void _PanelOpened(Dlg::Panel&) override;
    void _ButtonClicked(Dlg::ButtonItem& button) override;
    void _PopUpSelected(Dlg::PopUpItem&) override { ShowRows(); }
    void _RowSelected(Dlg::ListBox&) override;
    void _EditChanged(Dlg::EditItem&) override { ShowRows(); }
    void _FlowChanged() override;

    void ShowCategories();
    void ShowRows();
    void ShowChoice();
    [[nodiscard]] bool IsShown(const BrowsedProject& project) const;
    [[nodiscard]] const BrowsedProject* GetSelected() const;
    [[nodiscard]] bool MayChoose(const BrowsedProject& project) const;

    const Purpose purpose_;
    OwnExecutors executors_;
    BrowseProject browse_;
    IO::Location choice_;
    OV::UniString selectedName_;
    OV::Array<OV::UniString> categories_;
    OV::Array<OV::UniString> shownNames_;
    Dlg::ButtonItem mainButton_;
    Dlg::ButtonItem cancelButton_;
    Dlg::ButtonItem refreshButton_;
    Dlg::PopUpItem categoryPopUp_;
    Dlg::ListBox list_;
    Dlg::EditItem search_;
    Dlg::TextItem status_;
    OV::Subscription subscription_;
};

}  // namespace SYC
