#pragma once

#include "Dlg/Toolkit.hpp"
#include "OVRoot/HeldLocks.hpp"

namespace Dlg {

/// Asks for a file to save to; nothing when the user cancels. An existing file was agreed to.
[[nodiscard]] inline std::optional<IO::Location> AskSaveFile(const OV::UniString& title,
                                                             const OV::UniString& suggestedName)
{
    OV::AssertNoLockHeld("Dlg::AskSaveFile");
    return Toolkit::Current().AskSaveFile(title, suggestedName);
}

}  // namespace Dlg
