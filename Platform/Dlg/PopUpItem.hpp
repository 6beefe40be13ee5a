#pragma once

#include "Dlg/Item.hpp"
#include "Dlg/PopUpItemObserver.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A menu of entries, counted from 1, of which at most one is selected.
class SYC_API PopUpItem final : public Item {
public:
    /// Item `number` of the panel; throws as Item does.
    PopUpItem(Panel& panel, int number) : Item(panel, number, {ItemType::PopUp}) {}

    /// The observer is not owned and outlives the item.
    void Attach(PopUpItemObserver& observer) { observers_.Attach(observer); }
    /// Drops the entries, and with them the selection.
    void Clear();
    /// Adds an entry behind the others.
    void Append(const OV::UniString& text);
    /// It counts as an entry with an empty text, which cannot be selected.
    void AppendSeparator();
    /// How many entries there are, separators included.
    [[nodiscard]] int GetCount() const noexcept { return static_cast<int>(texts_.size()); }
    /// Throws OV::IllegalArgumentException for no entry.
    [[nodiscard]] const OV::UniString& GetText(int entry) const;

    /// 0: none.
    void Select(int entry) { Window().SetSelection(GetNumber(), entry); }
    /// The selected entry; 0: none.
    [[nodiscard]] int GetSelected() const { return Window().GetSelection(GetNumber()); }

private:
    void Used() override;

    OV::Array<OV::UniString> texts_;
    OV::EventSource<PopUpItemObserver> observers_{OV::ObserversOutlive()};
};

}  // namespace Dlg
