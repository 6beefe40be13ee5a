#pragma once

#include "Dlg/ItemDescription.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A dialog as the resources describe it.
struct SYC_API DialogDescription {
    int number = 0;       ///< by which the resources know it
    OV::UniString title;  ///< of its window
    int width = 0;        ///< inside the frame, in the units of Rectangle
    int height = 0;       ///< likewise
    /// In the order in which the keyboard goes through them.
    OV::Array<ItemDescription> items;

    /// Throws IllegalReferenceException when there is no such item.
    [[nodiscard]] const ItemDescription& GetItem(int item) const;
    /// Whether the user may change its size: some item has a rule for that.
    [[nodiscard]] bool IsResizable() const;
};

/// A dialog of the library's resources. An unknown number throws IllegalReferenceException.
[[nodiscard]] SYC_API const DialogDescription& GetDialogDescription(int number);

/// The numbers of all dialogs, in no particular order.
[[nodiscard]] SYC_API OV::Array<int> GetDialogNumbers();

}  // namespace Dlg
