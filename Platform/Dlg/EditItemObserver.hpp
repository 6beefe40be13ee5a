#pragma once

#include "OVRoot/Export.hpp"

namespace Dlg {

class EditItem;

/// Hears of an edit; on the main thread.
class SYC_API EditItemObserver {
public:
    virtual ~EditItemObserver() = default;
    /// The user changed the text, by a key or otherwise.
    virtual void _EditChanged(EditItem& edit) = 0;
};

}  // namespace Dlg
