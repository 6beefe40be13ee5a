#pragma once

#include "IO/Location.hpp"

namespace SYC {

/// The user's roaming profile folder; see
/// Syncra::Server::ManagementTool::Core::GetRoamingProfileFolderLocation, which answers.
[[nodiscard]] IO::Location GetRoamingProfileFolderLocation();

}  // namespace SYC
