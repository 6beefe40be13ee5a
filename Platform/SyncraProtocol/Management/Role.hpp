#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// What a member may do in his project: the permissions named here and those of the set.
struct SYC_API Role {
    /// The server's identifier; empty for a role that the server has not seen yet.
    OV::UniString id;
    OV::UniString name;         ///< unique on the server
    OV::UniString description;  ///< for people; may be empty
    /// Identifiers.
    OV::HashSet<OV::UniString> permissions;
    /// Identifier; empty for none.
    OV::UniString permissionSet;
    /// The server's: such a role can be neither renamed nor deleted.
    bool builtIn = false;

    friend bool operator==(const Role&, const Role&) = default;
};

}  // namespace Syncra::Server::Management
