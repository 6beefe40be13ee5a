#include "UserInterface/ShareableProjectsDialog.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "ProjectStatusText.hpp"
#include "UserInterface/ProjectDialogs.hpp"

namespace SYC {

ShareableProjectsDialog::ShareableProjectsDialog(Syncra::Client::SignInData login)
    : ModalDialog(Number), login_(std::move(login)), browse_(login_, executors_),
      closeButton_(*this, CloseButton), shareButton_(*this, ShareButton),
      settingsButton_(*this, SettingsButton), deleteButton_(*this, DeleteButton),
      refreshButton_(*this, RefreshButton), list_(*this, ProjectList), status_(*this, StatusText),
      subscription_(browse_.Subscribe(*this))
{
    Attach(*this);
    for (auto* button :
         {&closeButton_, &shareButton_, &settingsButton_, &deleteButton_, &refreshButton_})
        button->Attach(*this);
    list_.Attach(*this);
}

void ShareableProjectsDialog::_PanelOpened(Dlg::Panel&)
{
    list_.SetColumns({{GetText(FlowText::ProjectColumn), 280},
                      {GetText(FlowText::CategoryColumn), 150},
                      {GetText(FlowText::StateColumn), 120},
                      {GetText(FlowText::MembersColumn), 80, true}});
    browse_.Refresh();
}

void ShareableProjectsDialog::_FlowChanged()
{
    if (!browse_.IsRunning()) {
        OV::Array<Dlg::ListRow> rows;
        for (const auto& project : browse_.GetServer().projects)
            rows.push_back({project.name, project.status.category,
                            GetServerStateText(
                                static_cast<Syncra::Protocol::ProjectState>(project.status.state)),
                            OV::ToText(static_cast<std::int64_t>(project.members.size()))});
        list_.SetRows(std::move(rows));
    }
    ShowState();
}

void ShareableProjectsDialog::ShowState()
{
    const auto enable = [](Dlg::ButtonItem& button, bool isEnabled) {
        if (isEnabled)
            button.Enable();
        else
            button.Disable();
    };
    const bool maySelect = browse_.GetServer().mayShare && !browse_.IsRunning();
    enable(shareButton_, maySelect);
    enable(settingsButton_, maySelect && list_.GetSelected() > 0);
    enable(deleteButton_, maySelect && list_.GetSelected() > 0);
    const Failure& failure = browse_.GetFailure();
    status_.SetText(browse_.IsRunning() ? browse_.GetProgress()
                    : failure           ? failure.sentence + u" " + failure.advice
                                        : OV::UniString());
}

OV::UniString ShareableProjectsDialog::GetSelectedId() const
{
    const int row = list_.GetSelected();
    return row < 1 ? OV::UniString()
                   : browse_.GetServer().projects[static_cast<std::size_t>(row) - 1].id;
}

void ShareableProjectsDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    switch (button.GetNumber()) {
    case ShareButton:
        (void)ShareProjectWithDialogs(login_);
        break;
    case SettingsButton:
        (void)UpdateProjectSettingsWithDialogs(login_, GetSelectedId());
        break;
    case DeleteButton:
        (void)DeleteProjectWithDialogs(login_, GetSelectedId());
        break;
    case CloseButton:
        PostCloseRequest(Dlg::DialogResult::Accept);
        return;
    default:
        break;
    }
    browse_.Refresh();
}

}  // namespace SYC
