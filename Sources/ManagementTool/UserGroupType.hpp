#pragma once

#include <cstdint>

namespace Syncra::Server::ManagementTool::Core {

/// The group that a user has to belong to.
struct UserGroupType {
    /// The numbers are those of the management tool.
    enum Value : std::int32_t {
        AnyUser = 0,  ///< every user who can sign in
        ProjectManagers = 1,
        Administrators = 2,
        ProjectWorkflowManagers = 3,
    };
};

}  // namespace Syncra::Server::ManagementTool::Core
