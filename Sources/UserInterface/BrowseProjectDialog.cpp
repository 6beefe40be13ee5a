#include "UserInterface/BrowseProjectDialog.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Format.hpp"

#include <algorithm>

namespace SYC {

namespace {

/// Of the dialog words in the list of project words.
enum Word { AllCategories = 1, OpenTitle, SelectTitle, OpenWord, JoinWord, SelectWord };

const OV::UniString& GetWord(Word word)
{
    return OV::GetStringListItem(TextLists::ProjectWords, word);
}

bool HoldsText(const OV::UniString& text, const OV::UniString& part)
{
    return OV::Folded(text).find(OV::Folded(part)) != OV::UniString::npos;
}

OV::UniString ShownCategory(const OV::UniString& category)
{
    return category.empty() ? GetText(FlowText::NoCategory) : category;
}

Dlg::ListRow RowOf(const BrowsedProject& project)
{
    const bool isThere = project.membership != BrowsedProject::Membership::None;
    return {project.name,
            ShownCategory(project.category),
            project.GetStateText(),
            project.GetStatusText(),
            isThere ? OV::ToText(project.members) : OV::UniString(),
            isThere ? OV::ToText(project.atWork) : OV::UniString(),
            project.version};
}

}  // namespace

BrowseProjectDialog::BrowseProjectDialog(Syncra::Client::SignInData login, IO::Location dataFolder,
                                         Purpose purpose)
    : ModalDialog(Number), purpose_(purpose),
      browse_(std::move(login), std::move(dataFolder), executors_), mainButton_(*this, MainButton),
      cancelButton_(*this, CancelButton), refreshButton_(*this, RefreshButton),
      categoryPopUp_(*this, CategoryPopUp), list_(*this, ProjectList), search_(*this, SearchEdit),
      status_(*this, StatusText), subscription_(browse_.Subscribe(*this))
{
    SetTitle(OV::FormatText(GetWord(purpose == Purpose::Select ? SelectTitle : OpenTitle),
                            {browse_.GetLogin().userName}));
    Attach(*this);
    for (auto* button : {&mainButton_, &cancelButton_, &refreshButton_})
        button->Attach(*this);
    categoryPopUp_.Attach(*this);
    list_.Attach(*this);
    search_.Attach(*this);
}

void BrowseProjectDialog::_PanelOpened(Dlg::Panel&)
{
    choice_ = {};
    list_.SetColumns({{GetText(FlowText::ProjectColumn), 200},
                      {GetText(FlowText::CategoryColumn), 120},
                      {GetText(FlowText::StateColumn), 110},
                      {GetText(FlowText::HereColumn), 150},
                      {GetText(FlowText::MembersColumn), 70, true},
                      {GetText(FlowText::AtWorkColumn), 64, true},
                      {GetText(FlowText::VersionColumn), 80}});
    ShowCategories();
    browse_.Refresh();
}

void BrowseProjectDialog::_FlowChanged()
{
    if (!browse_.IsRunning())
        ShowCategories();
    ShowRows();
}

void BrowseProjectDialog::ShowCategories()
{
    const int selected = categoryPopUp_.GetSelected();
    const OV::UniString former =
        selected > 1 && selected <= static_cast<int>(categories_.size()) + 1
            ? categories_[static_cast<std::size_t>(selected) - 2]
            : OV::UniString();
    categories_ = browse_.GetCategories();
    categoryPopUp_.Clear();
    categoryPopUp_.Append(GetWord(AllCategories));
    int entry = 1;
    for (const auto& category : categories_) {
        categoryPopUp_.Append(ShownCategory(category));
        if (selected > 1 && category == former)
            entry = categoryPopUp_.GetCount();
    }
    categoryPopUp_.Select(entry);
}

bool BrowseProjectDialog::IsShown(const BrowsedProject& project) const
{
    const int selected = categoryPopUp_.GetSelected();
    return (selected <= 1 ||
            project.category == categories_[static_cast<std::size_t>(selected) - 2]) &&
           HoldsText(project.name, search_.GetText());
}

void BrowseProjectDialog::ShowRows()
{
    OV::Array<Dlg::ListRow> rows;
    shownNames_.clear();
    for (const auto& project : browse_.GetProjects())
        if (IsShown(project)) {
            rows.push_back(RowOf(project));
            shownNames_.push_back(project.name);
        }
    list_.SetRows(std::move(rows));
    const auto at = std::find(shownNames_.begin(), shownNames_.end(), selectedName_);
    if (at != shownNames_.end())
        list_.Select(static_cast<int>(at - shownNames_.begin()) + 1);
    ShowChoice();
}

const BrowsedProject* BrowseProjectDialog::GetSelected() const
{
    const int row = list_.GetSelected();
    return row < 1 ? nullptr : browse_.Find(shownNames_[static_cast<std::size_t>(row) - 1]);
}

bool BrowseProjectDialog::MayChoose(const BrowsedProject& project) const
{
    return purpose_ == Purpose::Select || project.IsCached() ||
           project.membership == BrowsedProject::Membership::Member;
}

/// What the main button does, and why it does not.
void BrowseProjectDialog::ShowChoice()
{
    const BrowsedProject* project = GetSelected();
    const bool mayChoose = project != nullptr && MayChoose(*project);
    if (mayChoose)
        mainButton_.Enable();
    else
        mainButton_.Disable();
    if (purpose_ == Purpose::Select)
        mainButton_.SetText(GetWord(SelectWord));
    else if (project != nullptr)
        mainButton_.SetText(GetWord(project->IsCached() ? OpenWord : JoinWord));
    const Failure& failure = browse_.GetFailure();
    status_.SetText(browse_.IsRunning()                ? browse_.GetProgress()
                    : failure                          ? failure.sentence + u" " + failure.advice
                    : project != nullptr && !mayChoose ? GetText(FlowText::AskToBeAdded)
                                                       : OV::UniString());
}

void BrowseProjectDialog::_RowSelected(Dlg::ListBox&)
{
    const BrowsedProject* project = GetSelected();
    selectedName_ = project != nullptr ? project->name : OV::UniString();
    ShowChoice();
}

void BrowseProjectDialog::_ButtonClicked(Dlg::ButtonItem& button)
{
    if (button.GetNumber() == RefreshButton)
        return browse_.Refresh();
    const BrowsedProject* project = GetSelected();
    if (button.GetNumber() == CancelButton)
        PostCloseRequest(Dlg::DialogResult::Cancel);
    else if (project != nullptr && PostCloseRequest(Dlg::DialogResult::Accept))
        choice_ = browse_.GetLocation(*project);
}

}  // namespace SYC
