#pragma once

#include "Dlg/Item.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A bar that tells how far something has come. It cannot be seen before it is told anything.
class SYC_API ProgressItem final : public Item {
public:
    /// Item `number` of the panel; throws as Item does.
    ProgressItem(Panel& panel, int number) : Item(panel, number, {ItemType::Progress}) {}

    /// `done` of `total`; a total of 0 means that nobody knows how much there is.
    void Show(std::uint64_t done, std::uint64_t total)
    {
        Window().SetProgress(GetNumber(), done, total);
    }
    /// The bar can be seen no longer.
    void Hide() { Window().HideProgress(GetNumber()); }
};

}  // namespace Dlg
