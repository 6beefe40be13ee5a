#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"

namespace SYCB {

/// What a member may do in a project.
struct UserAttributes {
    OV::UniString roleName;
    OV::HashSet<OV::UniString> permissions;

    friend bool operator==(const UserAttributes&, const UserAttributes&) = default;
};

}  // namespace SYCB
