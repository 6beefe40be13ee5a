#pragma once

#include "Dlg/Panel.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// The program's hand on one item of a panel, which outlives it. One a number.
class SYC_API Item {
public:
    virtual ~Item();
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;

    /// The item's number in the description of the dialog.
    [[nodiscard]] int GetNumber() const noexcept { return number_; }
    /// The user may use it.
    void Enable() { Window().SetEnabled(number_, true); }
    /// The user may see it, and not use it.
    void Disable() { Window().SetEnabled(number_, false); }

protected:
    /// Throws OV::IllegalReferenceException when the panel has no such item, and
    /// OV::IllegalArgumentException when it is of none of these types.
    Item(Panel& panel, int number, std::initializer_list<ItemType> types);

    /// The window of the panel, which is made when it is first needed.
    [[nodiscard]] DialogWindow& Window() const { return panel_.Window(); }
    /// Tells the item's observers. What one of them throws ends the dialog (ModalDialog::Invoke).
    template <class Observer, class Told>
    void Tell(OV::EventSource<Observer>& observers, Told&& told)
    {
        observers.Notify([&](Observer& observer) { panel_.Guarded([&] { told(observer); }); });
    }

private:
    friend class Panel;
    /// The user did with it what items of its type are for.
    virtual void Used() {}
    virtual void HeaderUsed(int /*column*/) {}

    Panel& panel_;
    int number_;
};

}  // namespace Dlg
