#pragma once

#include "Dlg/EditItemObserver.hpp"
#include "Dlg/Item.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A line to be typed into, which a password edit shows as dots.
class SYC_API EditItem final : public Item {
public:
    /// Item `number` of the panel, an edit or a password edit; throws as Item does.
    EditItem(Panel& panel, int number) : Item(panel, number, {ItemType::Edit, ItemType::Password})
    {}

    /// The observer is not owned and outlives the item.
    void Attach(EditItemObserver& observer) { observers_.Attach(observer); }
    /// Replaces what was typed. Tells no observer.
    void SetText(const OV::UniString& text) { Window().SetText(GetNumber(), text); }
    /// A copy: who asks for a password wipes what he got.
    [[nodiscard]] OV::UniString GetText() const { return Window().GetText(GetNumber()); }

private:
    void Used() override
    {
        Tell(observers_, [this](EditItemObserver& observer) { observer._EditChanged(*this); });
    }

    OV::EventSource<EditItemObserver> observers_{OV::ObserversOutlive()};
};

}  // namespace Dlg
