#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstddef>

namespace Communication {

struct HttpOptions {
    std::uint32_t connectTimeoutMilliseconds = 10'000;
    /// How long a transfer may stand still, the wait for the answer included; a held request passes
    /// its own. The whole takes at most as long, and a second more for each 8 KiB that moved.
    std::uint32_t requestTimeoutMilliseconds = 30'000;
    /// An answer beyond this ends the request with MalformedResponseException.
    std::size_t maximumAnswerBytes = 64u << 20;
    /// PEM file with the authorities to trust for TLS; empty for the system's.
    OV::String authoritiesFile;
    /// Proxy as curl writes it; empty follows the environment of the user.
    OV::String proxy;
};

/// What a client is made with when nothing else is said. A host that knows its network sets them
/// once, before its first connection; safe on any thread.
[[nodiscard]] SYC_API HttpOptions DefaultHttpOptions();
SYC_API void SetDefaultHttpOptions(HttpOptions options);

}  // namespace Communication
