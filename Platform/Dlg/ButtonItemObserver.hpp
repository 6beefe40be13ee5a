#pragma once

#include "OVRoot/Export.hpp"
namespace Dlg {

class ButtonItem;

/// Hears of a button; on the main thread.
class SYC_API ButtonItemObserver {
public:
    virtual ~ButtonItemObserver() = default;
    /// The user pressed the button.
    virtual void _ButtonClicked(ButtonItem& button) = 0;
};

}  // namespace Dlg
