#include "Dlg/PopUpItem.hpp"

namespace Dlg {

void PopUpItem::Clear()
{
    Window().ClearEntries(GetNumber());
    texts_.clear();
}

void PopUpItem::Append(const OV::UniString& text)
{
    Window().AppendEntry(GetNumber(), text);
    texts_.push_back(text);
}

void PopUpItem::AppendSeparator()
{
    Window().AppendSeparator(GetNumber());
    texts_.emplace_back();
}

const OV::UniString& PopUpItem::GetText(int entry) const
{
    return texts_.at(static_cast<std::size_t>(entry) - 1);
}

void PopUpItem::Used()
{
    Tell(observers_, [this](PopUpItemObserver& observer) { observer._PopUpSelected(*this); });
}

}  // namespace Dlg
