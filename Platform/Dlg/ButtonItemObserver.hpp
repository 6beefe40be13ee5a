#pragma once

namespace Dlg {

class ButtonItem;

class ButtonItemObserver {
public:
    virtual ~ButtonItemObserver() = default;
    /// The user pressed the button.
    virtual void _ButtonClicked(ButtonItem& button) = 0;
};

}  // namespace Dlg
