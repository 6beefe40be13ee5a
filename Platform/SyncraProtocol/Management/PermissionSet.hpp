#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// Permissions under one name, which several roles may share.
struct SYC_API PermissionSet {
    /// The server's identifier; empty for a set that the server has not seen yet.
    OV::UniString id;
    OV::UniString name;         ///< unique on the server
    OV::UniString description;  ///< for people; may be empty
    /// Identifiers.
    OV::HashSet<OV::UniString> permissions;

    friend bool operator==(const PermissionSet&, const PermissionSet&) = default;
};

}  // namespace Syncra::Server::Management
