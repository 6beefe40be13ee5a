#include "Dlg/PopUpItem.hpp"

#include "OVRoot/Exception.hpp"

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
    if (entry < 1 || static_cast<std::size_t>(entry) > texts_.size())
        throw OV::IllegalArgumentException(u"There is no entry " + OV::ToText(entry) +
                                           u": they count from 1.");
    return texts_[static_cast<std::size_t>(entry) - 1];
}

void PopUpItem::Used()
{
    Tell(observers_, [this](PopUpItemObserver& observer) { observer._PopUpSelected(*this); });
}

}  // namespace Dlg
