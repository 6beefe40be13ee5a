#include "UserInterface/ProjectLogViewerDlg_14.hpp"

#include "Dlg/SaveFileDialog.hpp"
#include "Dlg/WarningAlert.hpp"
#include "Files/Preferences.hpp"
#include "Files/ResourceNumbers.hpp"
#include "ManagementTool/BackgroundExecutors.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/LocalTime.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Resources.hpp"
#include "SYClientBase/MessageLoop.hpp"

#include <algorithm>
#include <set>
#include <unordered_set>

namespace Syncra::Server::ManagementTool::GUI {

namespace {
enum Text : int {
    NotFiltered = 1,
    TooLarge = 6,
    SavingFailed = 7,
    Ok = 8,
    Warning = 9,
    Error = 10
};

constexpr OV::StringView FirstDayKey = "ProjectLogStart";
constexpr OV::StringView LastDayKey = "ProjectLogEnd";
constexpr std::int64_t UsualDays = 30;
constexpr std::int64_t Day = 86'400;

constexpr std::uint32_t Thresholds[] = {0, 0, 10'240, 102'400, 1'048'576, 10'485'760};
constexpr OV::UniStringView SizeTexts[] = {u"10 KB and more", u"100 KB and more", u"1 MB and more",
                                           u"10 MB and more"};

const OV::UniString& Title()
{
    return Dlg::GetDialogDescription(ProjectLogViewerDlg_14::Number).title;
}

const OV::UniString& TextOf(Text text)
{
    return OV::GetStringListItem(SYC::TextLists::ActivityLog, text);
}

Dlg::Date DayOf(std::int64_t time)
{
    const auto local = OV::ToLocalTime(time);
    return {local.year, local.month, local.day};
}

std::int64_t StartOf(Dlg::Date date)
{
    return OV::StartOfDay(date.year, date.month, date.day);
}

/// In whole seconds: of the last one every part belongs to the day.
std::int64_t EndOf(Dlg::Date date)
{
    return OV::EndOfDay(date.year, date.month, date.day);
}

/// The menu has these texts behind its first item, and the one that was selected stays so.
void Rebuild(Dlg::PopUpItem& menu, const OV::Array<OV::UniString>& texts)
{
    const int selected = menu.GetSelected();
    const OV::UniString former = selected > 1 ? menu.GetText(selected) : OV::UniString();
    menu.Clear();
    menu.Append(TextOf(NotFiltered));
    menu.Select(1);
    for (const auto& text : texts) {
        menu.Append(text);
        if (selected > 1 && text == former)
            menu.Select(menu.GetCount());
    }
}

std::optional<OV::UniString> Selected(const Dlg::PopUpItem& menu)
{
    const int selected = menu.GetSelected();
    return selected < 2 ? std::nullopt : std::optional(menu.GetText(selected));
}

}  // namespace

ProjectLogViewerDlg_14::ProjectLogViewerDlg_14(OV::UniString projectId, OV::UniString projectName)
    : ModalDialog(Number), projectId_(std::move(projectId)),
      projectName_(std::move(projectName)), told_{std::make_shared<OV::PagedArray<LogDataLine>>(),
                                                  {},
                                                  {}},
      shown_(std::make_shared<SYC::LogTable>(told_.lines, OV::Array<std::uint32_t>())),
      making_(std::make_shared<Making>()), self_(std::make_shared<ProjectLogViewerDlg_14*>(this))
{
    Attach(*this);
    close_.Attach(*this);
    export_.Attach(*this);
    from_.Attach(*this);
    to_.Attach(*this);
    for (auto* menu : {&userMenu_, &actionMenu_, &sizeMenu_})
        menu->Attach(*this);
    table_.Attach(*this);
    const std::int32_t now = OV::Clock::Current().Now();
    from_.SetDate(DayOf(SYC::Preferences::GetLong(FirstDayKey).value_or(now - UsualDays * Day)));
    to_.SetDate(DayOf(SYC::Preferences::GetLong(LastDayKey).value_or(now)));
    for (auto* menu : {&userMenu_, &actionMenu_, &sizeMenu_})
        Rebuild(*menu, {});
    for (const auto text : SizeTexts)
        sizeMenu_.Append(OV::UniString(text));
}

ProjectLogViewerDlg_14::~ProjectLogViewerDlg_14()
{
    try {
        worker_->Shutdown();
        Core::BackgroundExecutors::GetInstance().Keep(std::move(worker_));
    } catch (...) {
        OV::LogCurrentException(OV::Logger::Library, u"% waits for its worker: %",
                                u"The viewer of the log");
    }
}

void ProjectLogViewerDlg_14::_PanelOpened(Dlg::Panel&)
{
    SetTitle(Title() + u" - " + projectName_);
    constexpr int widths[] = {180, 150, 130, 196, 94, 50};
    OV::Array<Dlg::ListColumn> columns;
    for (int column = 1; column <= SYC::LogTable::ColumnCount; ++column)
        columns.push_back({SYC::LogTable::GetTitle(column), widths[column - 1],
                           column == SYC::LogTable::Size || column == SYC::LogTable::Duration});
    table_.SetColumns(columns);
    IntersectFilters(true);
}

void ProjectLogViewerDlg_14::_PanelCloseRequested(Dlg::Panel&, Dlg::DialogResult)
{
    SYC::Preferences::SetLong(FirstDayKey, OV::Seconds32(StartOf(from_.GetDate())));
    SYC::Preferences::SetLong(LastDayKey, OV::Seconds32(StartOf(to_.GetDate())));
}

void ProjectLogViewerDlg_14::_ButtonClicked(Dlg::ButtonItem& button)
{
    if (button.GetNumber() == ExportButton)
        ExportData();
    else
        PostCloseRequest(Dlg::DialogResult::Accept);
}

ProjectLogViewerDlg_14::Home ProjectLogViewerDlg_14::GetHome() const
{
    return [self = std::weak_ptr<ProjectLogViewerDlg_14*>(self_)](std::function<void()> work) {
        SYCB::MessageLoop::Post(OV::MakeTask([self, work = std::move(work)] {
            if (!self.expired())
                work();
        }));
    };
}

void ProjectLogViewerDlg_14::RefreshLog(const OV::PagedArray<LogDataLine>& lines)
{
    GetHome()([this, all = Read(lines)] { TakeLines(all, true); });
}

void ProjectLogViewerDlg_14::PreviewLog(const OV::PagedArray<LogDataLine>& lines)
{
    GetHome()([this, some = Read(lines)] { TakeLines(some, false); });
}

void ProjectLogViewerDlg_14::UpdateProgress(std::uint64_t done, std::uint64_t total)
{
    GetHome()([this, done, total] { progress_.Show(done, total); });
}

void ProjectLogViewerDlg_14::UpdateFailed(const OV::UniString& reason)
{
    GetHome()([this, reason] {
        progress_.Hide();
        Dlg::ShowWarningAlert(TextOf(Error), reason, TextOf(Ok));
    });
}

ProjectLogViewerDlg_14::Told
ProjectLogViewerDlg_14::Read(const OV::PagedArray<LogDataLine>& lines) const
{
    std::unordered_set<OV::StringView> users, operations;
    SYC::LogFilter ofProject;
    ofProject.projectId = projectId_;
    for (const std::uint32_t row : ofProject.Select(lines)) {
        const SYC::LogRecord record = lines[row].Record();
        users.insert(record.user);
        operations.insert(record.operation);
    }
    std::set<OV::UniString, decltype(&CompareUniStrings)> userTexts(&CompareUniStrings),
        actionTexts(&CompareUniStrings);
    for (const auto user : users)
        userTexts.insert(OV::FromUtf8(user));
    for (const auto operation : operations) {
        LogDataLine line;
        line.SetOperation(OV::FromUtf8(operation));
        actionTexts.insert(line.GetOperationText());
    }
    return {std::make_shared<const OV::PagedArray<LogDataLine>>(lines),
            {userTexts.begin(), userTexts.end()},
            {actionTexts.begin(), actionTexts.end()}};
}

void ProjectLogViewerDlg_14::TakeLines(const Told& told, bool isAll)
{
    told_ = told;
    if (isAll)
        progress_.Hide();
    IntersectFilters(isAll);
}

SYC::LogFilter ProjectLogViewerDlg_14::ReadFilter() const
{
    SYC::LogFilter filter;
    filter.from = StartOf(from_.GetDate());
    filter.to = EndOf(to_.GetDate());
    filter.projectId = projectId_;
    filter.user = Selected(userMenu_);
    filter.operationText = Selected(actionMenu_);
    const auto size = static_cast<std::size_t>(std::max(0, sizeMenu_.GetSelected()));
    filter.smallestSize = size < std::size(Thresholds) ? Thresholds[size] : 0;
    return filter;
}

void ProjectLogViewerDlg_14::Make(std::function<void(Making&)> make,
                                  std::function<void(Making made, std::uint64_t asked)> show)
{
    const auto work = [this, home = GetHome(), making = making_, asked = ++asked_,
                       make = std::move(make), show = std::move(show)] {
        make(*making);
        home([this, asked, show, made = *making] {
            shownFor_ = asked;
            show(made, asked);
        });
    };
    if (!worker_->Execute(OV::MakeTask(work)))
        work();
}

void ProjectLogViewerDlg_14::IntersectFilters(bool warns)
{
    sortColumn_ = 0;  // in the order of the log again
    Make(
        [filter = ReadFilter(), lines = told_.lines](Making& making) {
            making.table = std::make_shared<SYC::LogTable>(lines, filter.Select(*lines));
        },
        [this, warns, run = ++filterRun_](const Making& made, std::uint64_t) {
            if (run == filterRun_)
                ShowFiltered(made.table, warns);
        });
}

void ProjectLogViewerDlg_14::ShowFiltered(const std::shared_ptr<const SYC::LogTable>& table,
                                          bool warns)
{
    const auto count = static_cast<std::size_t>(table->GetCount());
    if (warns && count >= ManyLines) {
        const std::weak_ptr<ProjectLogViewerDlg_14*> self = self_;
        const auto run = filterRun_;
        Dlg::ShowWarningAlert(TextOf(Warning), OV::FormatText(TextOf(TooLarge), {count}),
                              TextOf(Ok));
        // While it was shown, other lines may have come and been filtered; these rows are not
        // theirs.
        if (self.expired() || run != filterRun_)
            return;
    }
    Rebuild(userMenu_, told_.users);
    Rebuild(actionMenu_, told_.actions);
    shown_ = table;
    ShowData();
    table_.SetSortMark(0, true);
}

void ProjectLogViewerDlg_14::_HeaderPressed(Dlg::ListBox&, int column)
{
    isAscending_ = column != sortColumn_ || !isAscending_;
    sortColumn_ = column;
    Make([column, isAscending = isAscending_](
             Making& making) { making.table = making.table->Sorted(column, isAscending); },
         [this, column, isAscending = isAscending_](const Making& made, std::uint64_t asked) {
             if (asked != asked_)
                 return;  // what was asked for behind it shows soon
             shown_ = made.table;
             ShowData();
             table_.SetSortMark(column, isAscending);
         });
}

void ProjectLogViewerDlg_14::ShowData()
{
    table_.SetRows(shown_);
    count_.SetText(OV::FormatText(u"% lines", {shown_->GetCount()}));
}

void ProjectLogViewerDlg_14::ExportData()
{
    const auto file = Dlg::AskSaveFile(Title(), projectName_ + u".csv");
    if (!file)
        return;
    try {
        shown_->Export(*file);
    } catch (const std::exception& failure) {
        OV::Logger::Info(OV::Logger::Library, u"ProjectLogViewerDlg_14::ExportData: %",
                         {failure.what()});
        Dlg::ShowWarningAlert(TextOf(Error), TextOf(SavingFailed), TextOf(Ok));
    }
}

}  // namespace Syncra::Server::ManagementTool::GUI
