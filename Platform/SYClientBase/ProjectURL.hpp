#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Export.hpp"

namespace SYCB {

/// Server and project of a project URL: the host, and the first component. Empty when absent.
[[nodiscard]] SYC_API OV::UniString GetServerName(const IO::Location& location);
[[nodiscard]] SYC_API OV::UniString GetProjectName(const IO::Location& location);
SYC_API void SetServerName(IO::Location& location, OV::UniString serverName);
/// The name becomes the only component, whatever characters it holds.
SYC_API void SetProjectName(IO::Location& location, OV::UniString projectName);

}  // namespace SYCB
