#pragma once

#include "Dlg/ButtonItemObserver.hpp"
#include "Dlg/Item.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A button. It tells its observers that it was pressed, on the main thread.
class SYC_API ButtonItem final : public Item {
public:
    /// Item `number` of the panel; throws as Item does.
    ButtonItem(Panel& panel, int number) : Item(panel, number, {ItemType::Button}) {}

    /// What stands on the button, to the letter.
    void SetText(const OV::UniString& text) { Window().SetText(GetNumber(), text); }
    /// The observer is not owned and outlives the button.
    void Attach(ButtonItemObserver& observer) { observers_.Attach(observer); }

private:
    void Used() override
    {
        Tell(observers_, [this](ButtonItemObserver& observer) { observer._ButtonClicked(*this); });
    }

    OV::EventSource<ButtonItemObserver> observers_{OV::ObserversOutlive()};
};

}  // namespace Dlg
