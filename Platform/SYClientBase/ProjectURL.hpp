#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Export.hpp"

namespace SYCB {

/// The server of a project URL, which is its host; empty when absent.
[[nodiscard]] SYC_API OV::UniString GetServerName(const IO::Location& location);
/// The project of a project URL, which is its first component; empty when absent.
[[nodiscard]] SYC_API OV::UniString GetProjectName(const IO::Location& location);
/// The name becomes the host; nothing is checked.
SYC_API void SetServerName(IO::Location& location, OV::UniString serverName);
/// The name becomes the only component, whatever characters it holds.
SYC_API void SetProjectName(IO::Location& location, OV::UniString projectName);

}  // namespace SYCB
