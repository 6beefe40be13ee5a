#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/UniString.hpp"

namespace Dlg {

/// A column of a list box. The width is in the units of the dialog.
struct ListColumn {
    OV::UniString title;
    int width = 0;
    bool isRightAligned = false;
};

/// The cells of a row, one a column.
using ListRow = OV::Array<OV::UniString>;

}  // namespace Dlg
