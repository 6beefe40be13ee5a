#pragma once

#include "OVRoot/Export.hpp"
#include "SyncraProtocol/Management/CustomPropertyDefinition.hpp"
#include "SyncraProtocol/Management/Permission.hpp"
#include "SyncraProtocol/Management/PermissionSet.hpp"
#include "SyncraProtocol/Management/Role.hpp"

namespace Syncra::Server::Management {

/// What one server's user repository can hand to another: everything but users and groups. The
/// identifiers are those of the server that it comes from.
struct SYC_API RepositoryContents {
    /// All that the signed-in user may see.
    /// @{
    OV::Array<Permission> permissions;
    OV::Array<PermissionSet> permissionSets;
    OV::Array<Role> roles;
    OV::Array<CustomPropertyDefinition> customProperties;
    /// @}

    friend bool operator==(const RepositoryContents&, const RepositoryContents&) = default;
};

}  // namespace Syncra::Server::Management
