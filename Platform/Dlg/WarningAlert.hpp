#pragma once

#include "OVRoot/Resources.hpp"

namespace Dlg {

/// Warns with a text that is no alert of the resources, and one button to go on. An empty title is
/// that of the application.
inline void ShowWarningAlert(const OV::UniString& title, const OV::UniString& message,
                             const OV::UniString& button)
{
    OV::ShowAlert(OV::AlertResource{0, title, message, {}, {button}});
}

}  // namespace Dlg
