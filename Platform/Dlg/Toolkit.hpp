#pragma once

#include "Dlg/DialogDescription.hpp"
#include "Dlg/DialogWindow.hpp"
#include "Dlg/WindowEvents.hpp"
#include "IO/Location.hpp"
#include "OVRoot/Export.hpp"

#include <optional>

namespace Dlg {

/// Where dialogs come to be seen: windows of the host's desktop, or a script (see Headless/). The
/// process has one at a time. For the main thread.
class SYC_API Toolkit {
public:
    virtual ~Toolkit() = default;

    /// A window with the items of `description`, not shown yet. Both references outlive it.
    [[nodiscard]] virtual std::unique_ptr<DialogWindow>
    MakeWindow(const DialogDescription& description, WindowEvents& events) = 0;
    /// Asks for a file to save to; nothing when the user cancels. An existing file was agreed to.
    [[nodiscard]] virtual std::optional<IO::Location>
    AskSaveFile(const OV::UniString& title, const OV::UniString& suggestedName) = 0;

    /// Throws OV::IllegalReferenceException when none is installed.
    [[nodiscard]] static Toolkit& Current();
    /// Installs `toolkit` for the process (null: none) and returns the former one. The caller keeps
    /// it alive.
    static Toolkit* SetCurrent(Toolkit* toolkit);
};

}  // namespace Dlg
