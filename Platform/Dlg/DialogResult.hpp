#pragma once

#include <cstdint>

namespace Dlg {

/// How a dialog is, or is to be, closed.
enum class DialogResult : std::int16_t { Accept = 1, Cancel = 2 };

}  // namespace Dlg
