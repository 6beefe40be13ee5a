#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/UniString.hpp"

namespace Dlg {

/// A column of a list box. The width is in the units of the dialog.
struct ListColumn {
    OV::UniString title;          ///< what stands above it
    int width = 0;                ///< in the units of the dialog
    bool isRightAligned = false;  ///< as numbers are; otherwise left-aligned
};

/// The cells of a row, one a column.
using ListRow = OV::Array<OV::UniString>;

}  // namespace Dlg
