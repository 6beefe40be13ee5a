#include "Dlg/ListBox.hpp"

namespace Dlg {

void ListBox::SetRows(std::shared_ptr<const ListRows> rows)
{
    rows_ = std::move(rows);
    Window().SetRows(GetNumber(), rows_);
}

void ListBox::SetRows(OV::Array<ListRow> rows)
{
    SetRows(std::make_shared<const TextRows>(std::move(rows)));
}

void ListBox::Used()
{
    Tell(observers_, [this](ListBoxObserver& observer) { observer._RowSelected(*this); });
}

void ListBox::HeaderUsed(int column)
{
    Tell(observers_, [&](ListBoxObserver& observer) { observer._HeaderPressed(*this, column); });
}

}  // namespace Dlg
