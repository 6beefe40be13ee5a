#pragma once

#include "Dlg/Item.hpp"
#include "Dlg/ListBoxObserver.hpp"

namespace Dlg {

/// A table of texts, rows and columns counted from 1, of which at most one row is selected.
class ListBox final : public Item {
public:
    ListBox(Panel& panel, int number) : Item(panel, number, {ItemType::ListBox}) {}

    void Attach(ListBoxObserver& observer) { observers_.Attach(observer); }
    void SetColumns(const OV::Array<ListColumn>& columns)
    {
        Window().SetColumns(GetNumber(), columns);
    }
    /// Replaces all rows; each has a cell for every column. No row is selected then.
    void SetRows(OV::Array<ListRow> rows);
    [[nodiscard]] int GetRowCount() const noexcept { return static_cast<int>(rows_->size()); }
    /// Throws std::out_of_range.
    [[nodiscard]] const ListRow& GetRow(int row) const;

    /// 0: none.
    void Select(int row) { Window().SetSelection(GetNumber(), row); }
    [[nodiscard]] int GetSelected() const { return Window().GetSelection(GetNumber()); }

private:
    void Used() override;

    /// Shared with the window: a long log is not kept twice.
    std::shared_ptr<const OV::Array<ListRow>> rows_ = std::make_shared<OV::Array<ListRow>>();
    OV::EventSource<ListBoxObserver> observers_;
};

}  // namespace Dlg
