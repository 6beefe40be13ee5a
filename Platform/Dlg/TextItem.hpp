#pragma once

#include "Dlg/Item.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A text to be read, left-aligned, on as many lines as it takes.
class SYC_API TextItem final : public Item {
public:
    /// Item `number` of the panel; throws as Item does.
    TextItem(Panel& panel, int number) : Item(panel, number, {ItemType::Text}) {}

    /// Shown to the letter: no mark-up.
    void SetText(const OV::UniString& text) { Window().SetText(GetNumber(), text); }
    /// What is shown.
    [[nodiscard]] OV::UniString GetText() const { return Window().GetText(GetNumber()); }
};

}  // namespace Dlg
