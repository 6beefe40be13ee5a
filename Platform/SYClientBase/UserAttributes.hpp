#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"

namespace SYCB {

/// What a member may do in a project.
struct UserAttributes {
    OV::UniString roleName;                  ///< empty when the server did not tell
    OV::HashSet<OV::UniString> permissions;  ///< names of what the role allows

    friend bool operator==(const UserAttributes&, const UserAttributes&) = default;
};

}  // namespace SYCB
