#include "UserInterface/ProjectSettingsDialog.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Collation.hpp"
#include "ProjectStatusText.hpp"

#include <algorithm>

namespace SYC {

namespace {

using Syncra::Protocol::ProjectState;

constexpr ProjectState States[] = {ProjectState::Locked, ProjectState::Maintenance,
                                   ProjectState::Active};

template <class Record>
int EntryOf(const OV::Array<Record>& records, const OV::UniString& id)
{
    const auto found = std::find_if(records.begin(), records.end(),
                                    [&](const Record& record) { return record.id == id; });
    return found == records.end() ? 0 : static_cast<int>(found - records.begin()) + 1;
}

template <class Record>
const Record* AtEntry(const OV::Array<Record>& records, int entry)
{
    return entry < 1 ? nullptr : &records[static_cast<std::size_t>(entry) - 1];
}

}  // namespace

ProjectSettingsDialog::ProjectSettingsDialog(const ShareableServer& server,
                                             CreateNewSyncraProject& create)
    : ProjectSettingsDialog(server, create, &create, nullptr)
{}

ProjectSettingsDialog::ProjectSettingsDialog(const ShareableServer& server,
                                             UpdateProjectSettings& update)
    : ProjectSettingsDialog(server, update, nullptr, &update)
{}

ProjectSettingsDialog::ProjectSettingsDialog(const ShareableServer& server, Flow& flow,
                                             CreateNewSyncraProject* create,
                                             UpdateProjectSettings* update)
    : ModalDialog(Number), server_(server), flow_(flow), create_(create), update_(update),
      mainButton_(*this, MainButton), cancelButton_(*this, CancelButton),
      setRoleButton_(*this, SetRoleButton), takeOutButton_(*this, TakeOutButton),
      name_(*this, NameEdit), description_(*this, DescriptionEdit), nameText_(*this, NameText),
      status_(*this, StatusText), category_(*this, CategoryPopUp), state_(*this, StatePopUp),
      user_(*this, UserPopUp), role_(*this, RolePopUp), members_(*this, MemberList),
      subscription_(flow.Subscribe(*this))
{
    Attach(*this);
    for (auto* button : {&mainButton_, &cancelButton_, &setRoleButton_, &takeOutButton_})
        button->Attach(*this);
    name_.Attach(*this);
    members_.Attach(*this);
    SetTitle(GetText(create_ != nullptr ? FlowText::ShareTitle : FlowText::SettingsTitle));
    mainButton_.SetText(GetText(create_ != nullptr ? FlowText::Share : FlowText::Save));
}

void ProjectSettingsDialog::_PanelOpened(Dlg::Panel&)
{
    if (update_ != nullptr)
        project_ = update_->GetProject();
    else
        TakeDefaultMember();
    members_.SetColumns({{GetText(FlowText::NameColumn), 240},
                         {GetText(FlowText::LoginColumn), 180},
                         {GetText(FlowText::RoleColumn), 160}});
    FillPopUps();
    name_.SetText(project_.name);
    description_.SetText(project_.description);
    ShowMembers();
    ShowState();
}

/// Whoever shares a project wants to open it.
void ProjectSettingsDialog::TakeDefaultMember()
{
    const auto self =
        std::find_if(server_.users.begin(), server_.users.end(), [&](const auto& user) {
            return OV::EqualsIgnoreCase(user.loginName, create_->GetData().GetUserName());
        });
    const auto role = std::find_if(server_.roles.begin(), server_.roles.end(),
                                   [](const auto& each) { return each.builtIn; });
    if (self != server_.users.end() && role != server_.roles.end())
        project_.members.insert({self->id, role->id});
}

void ProjectSettingsDialog::FillPopUps()
{
    for (auto* popUp : {&category_, &state_, &user_, &role_})
        popUp->Clear();
    category_.Append(GetText(FlowText::NoCategory));
    category_.Select(1);
    for (const auto& category : server_.categories) {
        category_.Append(category.name);
        if (category.name == project_.status.category)
            category_.Select(category_.GetCount());
    }
    for (const auto state : States) {
        state_.Append(GetServerStateText(state));
        if (static_cast<std::int32_t>(state) == project_.status.state)
            state_.Select(state_.GetCount());
    }
    for (const auto& user : server_.users)
        user_.Append(user.fullName + u" (" + user.loginName + u")");
    for (const auto& role : server_.roles)
        role_.Append(role.name);
}

void ProjectSettingsDialog::ShowMembers()
{
    OV::Array<std::pair<OV::UniString, Dlg::ListRow>> rows;
    for (const auto& member : project_.members) {
        const auto* user = AtEntry(server_.users, EntryOf(server_.users, member.id));
        const auto* role = AtEntry(server_.roles, EntryOf(server_.roles, member.roleId));
        rows.push_back({member.id,
                        {user != nullptr ? user->fullName : member.id,
                         user != nullptr ? user->loginName : OV::UniString(),
                         role != nullptr ? role->name : member.roleId}});
    }
    std::sort(rows.begin(), rows.end(), [](const auto& left, const auto& right) {
        const int order = OV::Collation::OfUser().Compare(OV::ToUtf8(left.second[0]),
                                                          OV::ToUtf8(right.second[0]));
        return order != 0 ? order < 0 : left.first < right.first;
    });
    OV::Array<Dlg::ListRow> texts;
    rows_.clear();
    for (auto& [id, row] : rows) {
        rows_.push_back(id);
        texts.push_back(std::move(row));
    }
    members_.SetRows(std::move(texts));
}

void ProjectSettingsDialog::_RowSelected(Dlg::ListBox&)
{
    const int row = members_.GetSelected();
    if (row < 1)
        return;
    const auto& id = rows_[static_cast<std::size_t>(row) - 1];
    user_.Select(EntryOf(server_.users, id));
    for (const auto& member : project_.members)
        if (member.id == id)
            role_.Select(EntryOf(server_.roles, member.roleId));
}

void ProjectSettingsDialog::SetRole()
{
    const auto* user = AtEntry(server_.users, user_.GetSelected());
    const auto* role = AtEntry(server_.roles, role_.GetSelected());
    if (user == nullptr || role == nullptr)
        return;
    std::erase_if(project_.members, [&](const auto& member) { return member.id == user->id; });
    project_.members.insert({user->id, role->id});
    ShowMembers();
}

void ProjectSettingsDialog::TakeOut()
{
    const int row = members_.GetSelected();
    if (row < 1)
        return;
    const auto id = rows_[static_cast<std::size_t>(row) - 1];
    std::erase_if(project_.members, [&](const auto& member) { return member.id == id; });
    ShowMembers();
}

void ProjectSettingsDialog::_EditChanged(Dlg::EditItem&)
{
    if (create_ != nullptr)
        create_->SetName(name_.GetText());
    ShowState();
}

bool ProjectSettingsDialog::MayBegin() const
{
    using NameState = CreateNewSyncraProject::NameState;
    if (flow_.IsRunning())
        return false;
    if (create_ == nullptr)
        return !name_.GetText().empty();
    const auto state = create_->GetNameState();
    return state == NameState::Free || state == NameState::Checking || state == NameState::Unknown;
}

void ProjectSettingsDialog::ShowState()
{
    if (MayBegin())
        mainButton_.Enable();
    else
        mainButton_.Disable();
    if (create_ != nullptr)
        nameText_.SetText(create_->GetNameText());
    const Failure& failure = flow_.GetFailure();
    status_.SetText(flow_.IsRunning() ? flow_.GetProgress()
                    : failure         ? failure.sentence + u" " + failure.advice
                                      : OV::UniString());
}

void ProjectSettingsDialog::_FlowChanged()
{
    ShowState();
    if (hasBegun_ && !flow_.IsRunning()) {
        hasBegun_ = false;
        if (flow_.GetState() == FlowState::Succeeded)
            PostCloseRequest(Dlg::DialogResult::Accept);
    }
}

void ProjectSettingsDialog::Begin()
{
    project_.name = name_.GetText();
    project_.description = description_.GetText();
    project_.status.category =
        category_.GetSelected() > 1 ? category_.GetText(category_.GetSelected()) : OV::UniString();
    if (state_.GetSelected() > 0)
        project_.status.state =
            static_cast<std::int32_t>(States[static_cast<std::size_t>(state_.GetSelected()) - 1]);
    hasBegun_ = true;
    if (update_ != nullptr)
        return update_->Save(project_);
    create_->GetData().SetProjectDescription(project_.description);
    create_->GetData().SetCategory(project_.status);
    create_->SetMembers(project_.members);
    create_->Create();
}

void ProjectSettingsDialog::LeaveRequested()
{
    if (flow_.IsRunning())
        flow_.Cancel();
    else
        PostCloseRequest(Dlg::DialogResult::Cancel);
}

void ProjectSettingsDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    switch (button.GetNumber()) {
    case MainButton:
        return Begin();
    case SetRoleButton:
        return SetRole();
    case TakeOutButton:
        return TakeOut();
    default:
        return LeaveRequested();
    }
}

}  // namespace SYC
