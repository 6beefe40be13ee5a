#pragma once

#include "OVRoot/UniString.hpp"

namespace SYCB {

/// What is known of a way to reach a project server.
struct ServerConnectionInfo {
    OV::UniString host;               ///< name or address as the user wrote it
    std::uint16_t port = 0;           ///< of the model service
    OV::UniString validatedHost{};    ///< the name that worked when it is not `host`; mostly empty
    OV::UniString title{};            ///< name for people; mostly empty
    std::uint32_t serverVersion = 0;  ///< product version as major * 100 + minor; 0 when unknown
    std::int32_t category = 0;        ///< the platform's kind of server; 0 when unknown

    friend bool operator==(const ServerConnectionInfo&, const ServerConnectionInfo&) = default;
};

}  // namespace SYCB
