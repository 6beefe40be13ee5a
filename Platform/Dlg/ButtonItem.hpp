#pragma once

#include "Dlg/ButtonItemObserver.hpp"
#include "Dlg/Item.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

class SYC_API ButtonItem final : public Item {
public:
    ButtonItem(Panel& panel, int number) : Item(panel, number, {ItemType::Button}) {}

    void SetText(const OV::UniString& text) { Window().SetText(GetNumber(), text); }
    void Attach(ButtonItemObserver& observer) { observers_.Attach(observer); }

private:
    void Used() override
    {
        Tell(observers_, [this](ButtonItemObserver& observer) { observer._ButtonClicked(*this); });
    }

    OV::EventSource<ButtonItemObserver> observers_{OV::ObserversOutlive()};
};

}  // namespace Dlg
