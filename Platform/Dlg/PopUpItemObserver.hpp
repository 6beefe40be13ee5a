#pragma once

#include "OVRoot/Export.hpp"
namespace Dlg {

class PopUpItem;

/// Hears of a pop-up menu; on the main thread.
class SYC_API PopUpItemObserver {
public:
    virtual ~PopUpItemObserver() = default;
    /// The user selected an entry, the selected one again included.
    virtual void _PopUpSelected(PopUpItem& popUp) = 0;
};

}  // namespace Dlg
