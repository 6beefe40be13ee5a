#pragma once

#include "OVRoot/Secret.hpp"

namespace Syncra::Protocol {

/// The version of the protocol that this build speaks. An answer or a request with another number
/// is incompatible.
inline constexpr std::uint32_t ProtocolVersion = 1;

/// A request of the user to be known to a service. The password goes over the wire as it is, so a
/// server outside this machine belongs behind TLS.
struct SignInRequest {
    OV::UniString userName;
    OV::Secret password;
    std::uint32_t protocol = ProtocolVersion;
};

struct SignInAnswer {
    OV::String token;  ///< goes into the header "Authorization: Bearer ..." of every request
    OV::UniString userId;
    OV::UniString userName;  ///< display name
    std::uint32_t protocol = 0;
    std::uint32_t serverVersion = 0;  ///< its ProductVersion
};

}  // namespace Syncra::Protocol
