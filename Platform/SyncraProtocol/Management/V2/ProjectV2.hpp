#pragma once

#include "OVRoot/Export.hpp"
#include "SyncraProtocol/Management/V1/ProjectV1.hpp"

namespace Syncra::Server::Management::V2 {

/// A project as servers of the second generation administer it: they also tell the version of its
/// data format. Members and backup schedules are those of the first generation.
struct SYC_API Project : V1::Project {
    OV::UniString version;  ///< of its data format; empty when the server does not know

    friend bool operator==(const Project&, const Project&) = default;
    /// As V1::Project::IsContentEqual, and the same version.
    [[nodiscard]] bool IsContentEqual(const Project& other) const;
};

}  // namespace Syncra::Server::Management::V2

template <>
struct std::hash<Syncra::Server::Management::V2::Project> {
    std::size_t operator()(const Syncra::Server::Management::V2::Project& project) const noexcept;
};
