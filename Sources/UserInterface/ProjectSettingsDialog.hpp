#pragma once

#include "BrowseShareableProject.hpp"
#include "CreateNewSyncraProject.hpp"
#include "Dlg/ButtonItem.hpp"
#include "Dlg/EditItem.hpp"
#include "Dlg/ListBox.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/PopUpItem.hpp"
#include "Dlg/TextItem.hpp"
#include "OVRoot/Export.hpp"
#include "UpdateProjectSettings.hpp"

namespace SYC {

/// Name, description, category, state and members of a project: of a new one, which it shares, or
/// of one on the server, which it changes. It stays open until that is done, and tells why it is
/// not; Cancel, Escape and the close box first cancel what is under way. The server's lists and the
/// flow outlive it.
class SYC_API ProjectSettingsDialog final : public Dlg::ModalDialog,
                                            private Dlg::PanelObserver,
                                            private Dlg::ButtonItemObserver,
                                            private Dlg::ListBoxObserver,
                                            private Dlg::EditItemObserver,
                                            private FlowObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32453;
    enum Item {
        MainButton = 1,
        CancelButton,
        NameEdit,
        NameText,
        DescriptionEdit,
        CategoryPopUp,
        StatePopUp,
        MemberList,
        UserPopUp,
        RolePopUp,
        SetRoleButton,
        TakeOutButton,
        StatusText
    };
    /// @}

    /// For a new project, and for one on the server.
    /// @{
    ProjectSettingsDialog(const ShareableServer& server, CreateNewSyncraProject& create);
    ProjectSettingsDialog(const ShareableServer& server, UpdateProjectSettings& update);
    /// @}

private:
    using Project = UpdateProjectSettings::Project;

    ProjectSettingsDialog(const ShareableServer& server, Flow& flow, CreateNewSyncraProject* create,
                          UpdateProjectSettings* update);
    void _PanelOpened(Dlg::Panel&) override;
    void _ButtonClicked(Dlg::ButtonItem& button) override;
    void _RowSelected(Dlg::ListBox&) override;
    void _EditChanged(Dlg::EditItem&) override;
    void _FlowChanged() override;
    void LeaveRequested() override;

    void FillPopUps();
    void TakeDefaultMember();
    void ShowMembers();
    void ShowState();
    void SetRole();
    void TakeOut();
    void Begin();
    [[nodiscard]] bool MayBegin() const;

    const ShareableServer& server_;
    Flow& flow_;
    CreateNewSyncraProject* const create_;  ///< null when settings are changed
    UpdateProjectSettings* const update_;   ///< null when a project is shared
    Project project_;                       ///< as it is filled in
    OV::Array<OV::UniString> rows_;         ///< the users' identifiers
    bool hasBegun_ = false;
    Dlg::ButtonItem mainButton_;
    Dlg::ButtonItem cancelButton_;
    Dlg::ButtonItem setRoleButton_;
    Dlg::ButtonItem takeOutButton_;
    Dlg::EditItem name_;
    Dlg::EditItem description_;
    Dlg::TextItem nameText_;
    Dlg::TextItem status_;
    Dlg::PopUpItem category_;
    Dlg::PopUpItem state_;
    Dlg::PopUpItem user_;
    Dlg::PopUpItem role_;
    Dlg::ListBox members_;
    OV::Subscription subscription_;
};

}  // namespace SYC
