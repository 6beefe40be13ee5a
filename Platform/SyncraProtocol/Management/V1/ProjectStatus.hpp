#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management::V1 {

/// Where a project stands on its server: the category that lists show it under, and its state.
struct SYC_API ProjectStatus {
    /// States as the server stores them. A record may hold another code, made by a newer server; it
    /// is kept and sent back as it came, therefore `state` is a number.
    enum State : std::int32_t { Locked = 1, Maintenance = 2, Active = 3 };

    /// Name of the category; empty for a project without one.
    OV::UniString category;
    std::int32_t state = Active;  ///< one of State, or a newer server's

    friend bool operator==(const ProjectStatus&, const ProjectStatus&) = default;
    /// The same: no identifier is in it.
    [[nodiscard]] bool IsContentEqual(const ProjectStatus& other) const { return *this == other; }
};

}  // namespace Syncra::Server::Management::V1
