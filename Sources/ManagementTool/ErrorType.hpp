#pragma once

#include <cstdint>

namespace Syncra::Server::ManagementTool::Core {

/// How a request to a server failed.
enum class ErrorType : std::int32_t {
    NoError = 0,
    CannotConnect = 1,      ///< the server could not be reached
    ObjectRemoved = 2,      ///< what the user worked on no longer exists on the server
    NameAlreadyExists = 3,  ///< a new name collides with an existing one
    OtherError = 4,         ///< a failure of which the user is told by no alert
    ObjectMissing = 5,      ///< told like ObjectRemoved
    ServerRefused = 6,      ///< the server did not process the request
    RequestFailed = 7,      ///< told like ServerRefused
};

}  // namespace Syncra::Server::ManagementTool::Core
