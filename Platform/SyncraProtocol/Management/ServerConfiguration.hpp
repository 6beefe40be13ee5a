#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// What administrators decide for the whole server.
struct SYC_API ServerConfiguration {
    /// Shown to people; empty for none.
    OV::UniString serverName;
    /// The fewest UTF-16 code units of a new password, 1 to 64.
    std::int32_t minimumPasswordLength = 8;

    friend bool operator==(const ServerConfiguration&, const ServerConfiguration&) = default;
};

}  // namespace Syncra::Server::Management
