#pragma once

#include "Dlg/Item.hpp"
#include "Dlg/ListBoxObserver.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A table of texts, rows and columns counted from 1, of which at most one row is selected.
class SYC_API ListBox final : public Item {
public:
    /// Item `number` of the panel; throws as Item does.
    ListBox(Panel& panel, int number) : Item(panel, number, {ItemType::ListBox}) {}

    /// The observer is not owned and outlives the list box.
    void Attach(ListBoxObserver& observer) { observers_.Attach(observer); }
    /// Replaces the columns; to be set before the rows.
    void SetColumns(const OV::Array<ListColumn>& columns)
    {
        Window().SetColumns(GetNumber(), columns);
    }
    /// Replaces all rows. No row is selected then.
    void SetRows(std::shared_ptr<const ListRows> rows);
    /// The same with rows that are there as texts.
    void SetRows(OV::Array<ListRow> rows);
    /// Those that were set last; none at first.
    [[nodiscard]] const ListRows& GetRows() const noexcept { return *rows_; }
    /// Marks the column that the rows are sorted by; 0: none.
    void SetSortMark(int column, bool ascending)
    {
        Window().SetSortMark(GetNumber(), column, ascending);
    }

    /// 0: none.
    void Select(int row) { Window().SetSelection(GetNumber(), row); }
    /// The selected row; 0: none.
    [[nodiscard]] int GetSelected() const { return Window().GetSelection(GetNumber()); }

private:
    void Used() override;
    void HeaderUsed(int column) override;

    std::shared_ptr<const ListRows> rows_ = std::make_shared<TextRows>(OV::Array<ListRow>());
    OV::EventSource<ListBoxObserver> observers_{OV::ObserversOutlive()};
};

}  // namespace Dlg
