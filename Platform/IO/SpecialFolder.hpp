#pragma once

#include "IO/Location.hpp"

namespace IO {

/// Places that the operating system sets aside for a user; the numbers are those of the toolkit.
enum class SpecialFolder : std::int32_t {
    ApplicationData = 5,         ///< Linux: $XDG_DATA_HOME, else ~/.local/share
    RoamingApplicationData = 8,  ///< Linux: $XDG_CONFIG_HOME, else ~/.config
    Temporary = 9,               ///< Linux: $TMPDIR, else /tmp
};

/// The folder, which need not exist yet. The environment is read at each call. Throws IOException
/// for a folder whose name is no UTF-8.
[[nodiscard]] Location GetSpecialFolder(SpecialFolder folder);

/// The folder "Orvant" below it, created when missing. Throws IOException when it cannot be.
[[nodiscard]] Location GetCompanyFolder(SpecialFolder folder);

}  // namespace IO
