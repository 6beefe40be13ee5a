#pragma once

#include "IO/Location.hpp"

namespace SYCB {

/// Server and project of a project URL: the host, and the first component. Empty when absent.
[[nodiscard]] OV::UniString GetServerName(const IO::Location& location);
[[nodiscard]] OV::UniString GetProjectName(const IO::Location& location);
void SetServerName(IO::Location& location, OV::UniString serverName);
/// The name becomes the only component, whatever characters it holds.
void SetProjectName(IO::Location& location, OV::UniString projectName);

}  // namespace SYCB
