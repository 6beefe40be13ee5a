#pragma once

#include "Dlg/DateItemObserver.hpp"
#include "Dlg/Item.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

class SYC_API DateItem final : public Item {
public:
    DateItem(Panel& panel, int number) : Item(panel, number, {ItemType::Date}) {}

    void Attach(DateItemObserver& observer) { observers_.Attach(observer); }
    void SetDate(Date date) { Window().SetDate(GetNumber(), date); }
    [[nodiscard]] Date GetDate() const { return Window().GetDate(GetNumber()); }

private:
    void Used() override
    {
        Tell(observers_, [this](DateItemObserver& observer) { observer._DateChanged(*this); });
    }

    OV::EventSource<DateItemObserver> observers_{OV::ObserversOutlive()};
};

}  // namespace Dlg
