#pragma once

#include <cstdint>

namespace Syncra::Server::ManagementTool::Core {

/// The kind of server object that an alert names; the number is that of its word in the resources.
enum class ObjectType : std::int32_t {
    None = 0,
    CustomProperty = 1,
    Permission = 2,
    PermissionSet = 3,
    User = 4,
    Role = 5,
    Group = 6,
    Project = 7,
    ProjectCategory = 8,
};

}  // namespace Syncra::Server::ManagementTool::Core
