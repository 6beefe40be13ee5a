#pragma once

#include "Dlg/DialogResult.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// What a window tells its panel, on the main thread, while it runs. Nothing is thrown from here.
class SYC_API WindowEvents {
public:
    virtual ~WindowEvents() = default;
    /// The user pressed the button, or changed the selection or the date of the item.
    virtual void _ItemUsed(int item) noexcept = 0;
    /// The user pressed the title of a column, counted from 1.
    virtual void _HeaderUsed(int listBox, int column) noexcept = 0;
    /// Nothing else happened for a moment; only after EnableIdleEvents.
    virtual void _Idle() noexcept = 0;
    /// The user wants to leave by the window's own means (Escape, its close box).
    virtual void _LeaveRequested() noexcept = 0;
    /// The user changed the size; the items have moved already.
    virtual void _Resized() noexcept = 0;
};

}  // namespace Dlg
