#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// A heading that lists show projects under. A project names it by its name.
struct SYC_API ProjectCategory {
    /// The server's identifier; empty for a category that the server has not seen yet.
    OV::UniString id;
    OV::UniString name;  ///< unique on the server

    friend bool operator==(const ProjectCategory&, const ProjectCategory&) = default;
};

}  // namespace Syncra::Server::Management
