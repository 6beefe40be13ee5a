#pragma once

#include "Dlg/Item.hpp"
#include "OVRoot/Export.hpp"

namespace Dlg {

/// A text to be read, left-aligned, on as many lines as it takes.
class SYC_API TextItem final : public Item {
public:
    TextItem(Panel& panel, int number) : Item(panel, number, {ItemType::Text}) {}

    void SetText(const OV::UniString& text) { Window().SetText(GetNumber(), text); }
    [[nodiscard]] OV::UniString GetText() const { return Window().GetText(GetNumber()); }
};

}  // namespace Dlg
