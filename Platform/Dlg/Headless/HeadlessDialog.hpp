#pragma once

#include "Dlg/Toolkit.hpp"
#include "OVRoot/Export.hpp"

#include <exception>
#include <functional>
#include <map>
#include <optional>

namespace Dlg {

class HeadlessToolkit;

/// A dialog without a window: a script does with it what a user could, and sees what he would. What
/// a user could not do (press a disabled button, choose a separator, use an item that is not there)
/// throws OV::IllegalArgumentException or OV::IllegalReferenceException, and leaves the dialog's
/// Invoke.
class SYC_API HeadlessDialog final : public DialogWindow {
public:
    /// The toolkit makes it. All three outlive it.
    HeadlessDialog(HeadlessToolkit& toolkit, const DialogDescription& description,
                   WindowEvents& events);
    ~HeadlessDialog() override;

    /// What the user does.
    void Press(int button);
    /// The same for the other items. Entries, rows and columns count from 1.
    /// @{
    void Choose(int popUp, int entry);
    void Type(int edit, const OV::UniString& text);
    void SelectRow(int listBox, int row);
    void PressHeader(int listBox, int column);
    void PickDate(int item, Date date);
    /// @}
    /// Escape, or the close box.
    void Leave() { events_._LeaveRequested(); }
    /// What the window does.
    void SendIdle();
    /// The window got another size.
    void SendResize() { events_._Resized(); }

    /// What the user sees.
    [[nodiscard]] const OV::UniString& GetTitle() const noexcept { return title_; }
    /// Whether the user could use the item.
    [[nodiscard]] bool IsEnabled(int item) const { return At(item).isEnabled; }
    /// A separator is "-".
    [[nodiscard]] const OV::Array<OV::UniString>& GetEntries(int popUp) const
    {
        return At(popUp).entries;
    }
    /// Those that were set last; valid until the next are.
    [[nodiscard]] const ListRows& GetRows(int listBox) const;
    /// The column that is marked as sorted by, negative when descending; 0: none.
    [[nodiscard]] int GetSortMark(int listBox) const { return At(listBox).sortMark; }
    /// Nothing when it is hidden.
    using Progress = std::pair<std::uint64_t, std::uint64_t>;
    /// How much of how much the bar shows.
    [[nodiscard]] const std::optional<Progress>& GetProgress(int item) const
    {
        return At(item).progress;
    }

    /// What the program sets is kept for the script to look at, and given back.
    /// @{
    void SetTitle(const OV::UniString& title) override { title_ = title; }
    void SetEnabled(int item, bool enabled) override { At(item).isEnabled = enabled; }
    void SetText(int item, const OV::UniString& text) override;
    [[nodiscard]] OV::UniString GetText(int item) const override { return At(item).text; }
    void ClearEntries(int popUp) override;
    void AppendEntry(int popUp, const OV::UniString& text) override;
    void AppendSeparator(int popUp) override { AppendEntry(popUp, u"-"); }
    void SetColumns(int listBox, const OV::Array<ListColumn>& columns) override;
    void SetRows(int listBox, std::shared_ptr<const ListRows> rows) override;
    void SetSortMark(int listBox, int column, bool ascending) override
    {
        At(listBox).sortMark = ascending ? column : -column;
    }
    void SetProgress(int item, std::uint64_t done, std::uint64_t total) override
    {
        At(item).progress = {done, total};
    }
    void HideProgress(int item) override { At(item).progress.reset(); }
    void SetSelection(int item, int number) override { At(item).selection = number; }
    [[nodiscard]] int GetSelection(int item) const override { return At(item).selection; }
    void SetDate(int item, Date date) override { At(item).date = date; }
    [[nodiscard]] Date GetDate(int item) const override { return At(item).date; }
    /// @}
    void EnableIdleEvents() override { isIdleEnabled_ = true; }
    void RunModal() override;
    void EndModal() noexcept override { isRunning_ = false; }

private:
    struct ItemState {
        ItemType type = ItemType::Text;
        bool isEnabled = true;
        OV::UniString text;
        OV::Array<OV::UniString> entries;
        OV::Array<ListColumn> columns;
        std::shared_ptr<const ListRows> rows;
        int sortMark = 0;
        std::optional<Progress> progress;
        int selection = 0;
        Date date;
    };

    [[nodiscard]] ItemState& At(int item);
    [[nodiscard]] const ItemState& At(int item) const;
    /// The state of an item of one of these types that a user can use now.
    [[nodiscard]] ItemState& Usable(int item, std::initializer_list<ItemType> types);
    void RunScript() noexcept;

    HeadlessToolkit& toolkit_;
    const DialogDescription& description_;
    WindowEvents& events_;
    OV::UniString title_;
    std::map<int, ItemState> items_;
    std::function<void(HeadlessDialog&)> script_;
    std::exception_ptr scriptFailure_;
    bool isIdleEnabled_ = false;
    bool isRunning_ = false;
};

}  // namespace Dlg
