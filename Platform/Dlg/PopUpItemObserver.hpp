#pragma once

namespace Dlg {

class PopUpItem;

class PopUpItemObserver {
public:
    virtual ~PopUpItemObserver() = default;
    /// The user selected an entry, the selected one again included.
    virtual void _PopUpSelected(PopUpItem& popUp) = 0;
};

}  // namespace Dlg
