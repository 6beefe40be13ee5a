#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstdint>
#include <functional>
#include <stop_token>

namespace SYC {

/// The steps of a check, in order; the numbers are those of their words in string list 32123.
enum class CheckStep : std::int32_t {
    Connect = 1,
    FindProject,
    FindCache,
    CompareProject,
    TakeSession,
    FillCache,
    AskState,  ///< of a connection for writing
};

/// "Connecting to the server" and the like, for a line that shows what is done.
[[nodiscard]] SYC_API OV::UniString ToText(CheckStep step);

/// How a check goes about it, by name.
struct CheckOptions {
    /// Remembered for the host (IsFirstCheck); it changes no step.
    bool firstCheck = true;
    /// Forget the cached session and take or start the server's.
    bool newSession = false;
    /// Check even while the presence state says offline.
    bool forceOnline = false;
    /// Take the session over from another computer.
    bool allowTakeover = false;
    /// Called before each step, on the checking thread (with StartCheck on the host's executor).
    /// What it throws is logged; there, steps that were under way when it was stopped may still be
    /// told.
    std::function<void(CheckStep)> progress;
    /// Ends the check within 100 ms: result 1, and GetLastFailure says that it was cancelled; a
    /// check in its last step may have passed by then. A cache that it made stays, and is what the
    /// next check finds.
    std::stop_token stop;
};

}  // namespace SYC
