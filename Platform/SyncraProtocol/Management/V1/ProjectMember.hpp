#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <functional>

namespace Syncra::Server::Management::V1 {

/// A user's place in a project.
struct SYC_API ProjectMember {
    /// The server's identifier of the user.
    OV::UniString id;
    /// The server's identifier of the role that the user has in this project.
    OV::UniString roleId;

    friend bool operator==(const ProjectMember&, const ProjectMember&) = default;
    /// Equal apart from whose place it is.
    [[nodiscard]] bool IsContentEqual(const ProjectMember& other) const noexcept
    {
        return roleId == other.roleId;
    }
};

}  // namespace Syncra::Server::Management::V1

template <>
struct std::hash<Syncra::Server::Management::V1::ProjectMember> {
    std::size_t
    operator()(const Syncra::Server::Management::V1::ProjectMember& member) const noexcept
    {
        return std::hash<OV::UniString>()(member.id);
    }
};
