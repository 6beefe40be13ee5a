#pragma once

#include "Dlg/DialogResult.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

class Panel;

/// Hears what happens to a panel, on the main thread. An exception from here closes the panel as
/// cancelled and leaves its Invoke.
class SYC_API PanelObserver {
public:
    virtual ~PanelObserver() = default;
    /// Before it is seen: the place to fill its items.
    virtual void _PanelOpened(Panel&) {}
    /// Several times a second, where the panel enabled it.
    virtual void _PanelIdle(Panel&) {}
    /// It is about to close, as accepted or cancelled.
    virtual void _PanelCloseRequested(Panel&, DialogResult) {}
    /// It can be seen no longer; Invoke is about to return.
    virtual void _PanelClosed(Panel&) {}
    /// The user changed its size; the items have moved as their descriptions say.
    virtual void _PanelResized(Panel&) {}
};

}  // namespace Dlg
