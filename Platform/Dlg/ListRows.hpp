#pragma once

#include "Dlg/ListColumn.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// What a list box shows, asked for cell by cell as it is looked at, so that a list may be long.
/// Rows and columns count from 1. What it tells does not change while a list box has it.
class SYC_API ListRows {
public:
    virtual ~ListRows() = default;

    /// How many rows there are.
    [[nodiscard]] virtual int GetCount() const = 0;
    /// What stands in a cell.
    [[nodiscard]] virtual OV::UniString GetText(int row, int column) const = 0;
    /// The number of a picture of the resources that stands before the text; 0: none.
    [[nodiscard]] virtual int GetPicture(int /*row*/, int /*column*/) const { return 0; }
};

/// Rows that are there as texts.
class SYC_API TextRows final : public ListRows {
public:
    /// Takes the rows over; their cells stand in the order of the columns.
    explicit TextRows(OV::Array<ListRow> rows) : rows_(std::move(rows)) {}

    /// How many rows were given.
    [[nodiscard]] int GetCount() const override { return static_cast<int>(rows_.size()); }
    /// Empty for a cell that the row does not have. Throws OV::IllegalArgumentException for no row.
    [[nodiscard]] OV::UniString GetText(int row, int column) const override
    {
        if (row < 1 || row > GetCount())
            throw OV::IllegalArgumentException(u"There is no row " + OV::ToText(row) +
                                               u": they count from 1.");
        const ListRow& cells = rows_[static_cast<std::size_t>(row) - 1];
        const auto index = static_cast<std::size_t>(column) - 1;
        return index < cells.size() ? cells[index] : OV::UniString();
    }

private:
    OV::Array<ListRow> rows_;
};

}  // namespace Dlg
