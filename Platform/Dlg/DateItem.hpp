#pragma once

#include "Dlg/DateItemObserver.hpp"
#include "Dlg/Item.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A day that the user picks.
class SYC_API DateItem final : public Item {
public:
    /// Item `number` of the panel; throws as Item does.
    DateItem(Panel& panel, int number) : Item(panel, number, {ItemType::Date}) {}

    /// The observer is not owned and outlives the item.
    void Attach(DateItemObserver& observer) { observers_.Attach(observer); }
    /// Shows that day. Tells no observer.
    void SetDate(Date date) { Window().SetDate(GetNumber(), date); }
    /// The day that is shown.
    [[nodiscard]] Date GetDate() const { return Window().GetDate(GetNumber()); }

private:
    void Used() override
    {
        Tell(observers_, [this](DateItemObserver& observer) { observer._DateChanged(*this); });
    }

    OV::EventSource<DateItemObserver> observers_{OV::ObserversOutlive()};
};

}  // namespace Dlg
