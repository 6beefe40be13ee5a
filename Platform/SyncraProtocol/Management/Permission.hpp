#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// Something that a role may allow. Clients look for its name.
struct SYC_API Permission {
    /// The server's identifier; empty for a permission that the server has not seen yet.
    OV::UniString id;
    OV::UniString name;         ///< unique on the server
    OV::UniString description;  ///< for people; may be empty
    /// The server's: such a permission can be neither renamed nor deleted.
    bool builtIn = false;

    friend bool operator==(const Permission&, const Permission&) = default;
};

}  // namespace Syncra::Server::Management
