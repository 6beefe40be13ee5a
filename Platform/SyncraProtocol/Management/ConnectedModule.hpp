#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// A program that works for the server beside it, such as one that makes backups.
struct SYC_API ConnectedModule {
    /// The server's identifier; empty for a module that the server has not seen yet.
    OV::UniString id;
    OV::UniString name;     ///< for people; unique on the server
    OV::UniString version;  ///< as the module tells it; may be empty
    /// Where it listens, as "host:port"; empty when it does not.
    OV::UniString address;
    bool enabled = true;  ///< whether the server works with it

    friend bool operator==(const ConnectedModule&, const ConnectedModule&) = default;
};

}  // namespace Syncra::Server::Management
