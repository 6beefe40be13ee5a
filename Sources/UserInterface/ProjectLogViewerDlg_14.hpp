#pragma once

#include "Dlg/ButtonItem.hpp"
#include "Dlg/DateItem.hpp"
#include "Dlg/ListBox.hpp"
#include "Dlg/ModalDialog.hpp"
#include "Dlg/PopUpItem.hpp"
#include "Dlg/ProgressItem.hpp"
#include "Dlg/TextItem.hpp"
#include "Log/EventLogObserver.hpp"
#include "Log/LogFilter.hpp"
#include "Log/LogTable.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PooledExecutor.hpp"

namespace Syncra::Server::ManagementTool::GUI {

/// The log of a project as a table that the user narrows by days, user, action and size, sorts by
/// its titles, and writes to a file. It is an observer of the log updater, which may tell it on any
/// thread; the table follows on the main thread. Filtering and sorting go on beside that, and show
/// when they are done.
class SYC_API ProjectLogViewerDlg_14 final : public Dlg::ModalDialog,
                                             public EventLogObserver,
                                             private Dlg::PanelObserver,
                                             private Dlg::ButtonItemObserver,
                                             private Dlg::PopUpItemObserver,
                                             private Dlg::DateItemObserver,
                                             private Dlg::ListBoxObserver {
public:
    /// The dialog and its items in the resources, for who answers it without a window.
    /// @{
    static constexpr int Number = 32160;
    enum Item {
        CloseButton = 1,
        ExportButton,
        FromDate,
        ToDate,
        UserMenu,
        ActionMenu,
        SizeMenu,
        Table,
        Progress,
        CountText,
    };
    /// @}
    /// So many lines and more are warned about.
    static constexpr std::size_t ManyLines = 1000;

    /// Lines of other projects are left out.
    ProjectLogViewerDlg_14(OV::UniString projectId, OV::UniString projectName);
    ~ProjectLogViewerDlg_14() override;

    /// All lines that there are, of any project.
    void RefreshLog(const OV::PagedArray<LogDataLine>& lines) override;
    /// Some of them, while the rest is on its way.
    void PreviewLog(const OV::PagedArray<LogDataLine>& lines) override;
    void UpdateProgress(std::uint64_t done, std::uint64_t total) override;
    void UpdateFailed(const OV::UniString& reason) override;

    /// The order of the texts in the menus: code unit by code unit.
    [[nodiscard]] static bool CompareUniStrings(const OV::UniString& left,
                                                const OV::UniString& right) noexcept
    {
        return left < right;
    }

    /// Whether the table is not yet the one that was asked for.
    [[nodiscard]] bool IsBusy() const noexcept { return asked_ != shownFor_; }
    /// The lines that passed the filters, as they are shown.
    [[nodiscard]] const SYC::LogTable& GetShownLines() const noexcept { return *shown_; }

private:
    void _PanelOpened(Dlg::Panel&) override;
    void _PanelCloseRequested(Dlg::Panel&, Dlg::DialogResult) override;
    void _ButtonClicked(Dlg::ButtonItem& button) override;
    void _PopUpSelected(Dlg::PopUpItem&) override { IntersectFilters(true); }
    void _DateChanged(Dlg::DateItem&) override { IntersectFilters(true); }
    void _RowSelected(Dlg::ListBox&) override {}
    void _HeaderPressed(Dlg::ListBox&, int column) override;

    /// Lines, and the texts of the project's for the menus.
    struct Told {
        SYC::LogTable::Lines lines;
        OV::Array<OV::UniString> users, actions;
    };
    /// A table that is filtered or sorted on the worker, which alone uses it.
    struct Making {
        std::shared_ptr<const SYC::LogTable> table;
    };

    /// Runs `work` on the main thread if the dialog is still there.
    using Home = std::function<void(std::function<void()> work)>;
    [[nodiscard]] Home GetHome() const;
    /// Runs `make` on the worker, one after the other, and then `show` here with the number of what
    /// was asked.
    void Make(std::function<void(Making&)> make,
              std::function<void(Making made, std::uint64_t asked)> show);
    /// On any thread: a pass over the lines is not for the main one.
    [[nodiscard]] Told Read(const OV::PagedArray<LogDataLine>& lines) const;
    void TakeLines(const Told& told, bool isAll);
    void IntersectFilters(bool warns);
    void ShowFiltered(const std::shared_ptr<const SYC::LogTable>& table, bool warns);
    [[nodiscard]] SYC::LogFilter ReadFilter() const;
    void ShowData();
    void ExportData();

    const OV::UniString projectId_;
    const OV::UniString projectName_;
    Told told_;
    std::shared_ptr<const SYC::LogTable> shown_;
    const std::shared_ptr<Making> making_;
    /// Counts what was asked of the worker, and the runs of IntersectFilters.
    std::uint64_t asked_ = 0, shownFor_ = 0, filterRun_ = 0;
    int sortColumn_ = 0;
    bool isAscending_ = true;
    std::shared_ptr<ProjectLogViewerDlg_14*> self_;

    Dlg::ButtonItem close_{*this, CloseButton};
    Dlg::ButtonItem export_{*this, ExportButton};
    Dlg::DateItem from_{*this, FromDate};
    Dlg::DateItem to_{*this, ToDate};
    Dlg::PopUpItem userMenu_{*this, UserMenu};
    Dlg::PopUpItem actionMenu_{*this, ActionMenu};
    Dlg::PopUpItem sizeMenu_{*this, SizeMenu};
    Dlg::ListBox table_{*this, Table};
    Dlg::ProgressItem progress_{*this, Progress};
    Dlg::TextItem count_{*this, CountText};

    /// Goes on without the dialog.
    std::unique_ptr<OV::PooledExecutor> worker_ = std::make_unique<OV::PooledExecutor>(0, 1, 0);
};

}  // namespace Syncra::Server::ManagementTool::GUI
