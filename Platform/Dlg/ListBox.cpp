#include "Dlg/ListBox.hpp"

namespace Dlg {

void ListBox::SetRows(OV::Array<ListRow> rows)
{
    rows_ = std::make_shared<const OV::Array<ListRow>>(std::move(rows));
    Window().SetRows(GetNumber(), rows_);
}

const ListRow& ListBox::GetRow(int row) const
{
    return rows_->at(static_cast<std::size_t>(row) - 1);
}

void ListBox::Used()
{
    observers_.Notify([this](ListBoxObserver& observer) { observer._RowSelected(*this); });
}

}  // namespace Dlg
