#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Communication {

/// Where a service listens. A server name that begins with "https://" asks for TLS; "http://" or
/// nothing before the host does not.
struct SYC_API ServerAddress {
    OV::UniString host;      ///< name or address, an IPv6 one without its brackets
    std::uint16_t port = 0;  ///< of the service; 0 when it is not known
    bool secure = false;     ///< whether it is reached by TLS

    /// Takes the server name as users and project URLs write it.
    [[nodiscard]] static ServerAddress FromServerName(OV::UniStringView serverName,
                                                      std::uint16_t port);
    /// Whether what is sent there stays on this computer: "localhost" or an address that never
    /// leaves it. Told by the name alone.
    [[nodiscard]] bool IsLoopback() const;
    /// "http://host:port" in UTF-8, an IPv6 host in brackets.
    [[nodiscard]] OV::String BaseUrl() const;

    friend bool operator==(const ServerAddress&, const ServerAddress&) = default;
};

}  // namespace Communication
