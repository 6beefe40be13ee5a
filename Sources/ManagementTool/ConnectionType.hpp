#pragma once

#include <cstdint>

namespace Syncra::Server::ManagementTool::Core {

/// Which repositories a connection to a server serves.
enum class ConnectionType : std::int32_t {
    NoConnection = 0,
    UserConnection = 1,
    ProjectConnection = 2,
    FullConnection = 3,  ///< both, the users first
};

}  // namespace Syncra::Server::ManagementTool::Core
