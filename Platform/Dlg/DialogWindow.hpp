#pragma once

#include "Dlg/Date.hpp"
#include "Dlg/ListRows.hpp"
#include "OVRoot/Export.hpp"

#include <cstdint>
#include <memory>

namespace Dlg {

/// The back end of one dialog: what a toolkit has to be able to do. Items go by their number in the
/// dialog's description, and are asked only for what their type can do; entries and rows count
/// from 1, and 0 is none. What the program sets causes no event. For the main thread.
class SYC_API DialogWindow {
public:
    virtual ~DialogWindow() = default;

    /// The title of the window.
    virtual void SetTitle(const OV::UniString& title) = 0;
    /// Whether the user may use the item; it can be seen either way.
    virtual void SetEnabled(int item, bool enabled) = 0;

    /// Of texts, edit texts and buttons. Shown to the letter: no mark-up, no mnemonics.
    virtual void SetText(int item, const OV::UniString& text) = 0;
    /// What the item shows or the user typed. Who asks a password edit wipes the answer.
    [[nodiscard]] virtual OV::UniString GetText(int item) const = 0;

    /// Drops all entries, and with them the selection.
    virtual void ClearEntries(int popUp) = 0;
    /// Adds an entry behind the others.
    virtual void AppendEntry(int popUp, const OV::UniString& text) = 0;
    /// It counts as an entry that cannot be selected.
    virtual void AppendSeparator(int popUp) = 0;

    /// Replaces the columns; to be set before the rows.
    virtual void SetColumns(int listBox, const OV::Array<ListColumn>& columns) = 0;
    /// Replaces all rows and selects none. The caller may keep them too.
    virtual void SetRows(int listBox, std::shared_ptr<const ListRows> rows) = 0;
    /// Marks the column that the rows are sorted by; 0: none.
    virtual void SetSortMark(int listBox, int column, bool ascending) = 0;

    /// Shows how far something has come; a total of 0 is an unknown one.
    virtual void SetProgress(int item, std::uint64_t done, std::uint64_t total) = 0;
    /// The item can be seen no longer.
    virtual void HideProgress(int item) = 0;

    /// The entry of a pop-up or the row of a list box.
    virtual void SetSelection(int item, int number) = 0;
    /// 0 when nothing is selected.
    [[nodiscard]] virtual int GetSelection(int item) const = 0;

    /// Shows that day.
    virtual void SetDate(int item, Date date) = 0;
    /// The day that is shown.
    [[nodiscard]] virtual Date GetDate(int item) const = 0;

    /// Idle events come several times a second while the window runs and nothing else happens.
    virtual void EnableIdleEvents() = 0;

    /// Shows the window and runs the message loop until EndModal; other windows take no input
    /// meanwhile.
    virtual void RunModal() = 0;
    /// RunModal returns once everything that was begun in it has ended. Does nothing for a window
    /// that does not run.
    virtual void EndModal() noexcept = 0;
};

}  // namespace Dlg
