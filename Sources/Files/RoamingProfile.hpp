#pragma once

#include "IO/Location.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// The folder whose content follows the user from computer to computer, itself without the company
/// folder "Orvant" below it. Nothing is created; the environment is read at each call. Throws
/// IO::IOException for a folder whose name is no UTF-8.
[[nodiscard]] IO::Location GetRoamingProfileFolderLocation();

}  // namespace Syncra::Server::ManagementTool::Core
