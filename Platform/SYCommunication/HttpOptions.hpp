#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstddef>

namespace Communication {

/// How a client reaches its server, and what it trusts.
struct HttpOptions {
    /// How long a connection may take to come about, TLS and proxy included.
    std::uint32_t connectTimeoutMilliseconds = 10'000;
    /// How long a transfer may stand still, the wait for the answer included; a held request passes
    /// its own. The whole takes at most as long, and a second more for each 8 KiB that moved.
    std::uint32_t requestTimeoutMilliseconds = 30'000;
    /// An answer beyond this ends the request with MalformedResponseException.
    std::size_t maximumAnswerBytes = 64u << 20;
    /// PEM file with the authorities to trust for TLS, instead of the system's; empty for the one
    /// that SYCLIENT_CA_FILE names, and otherwise for the system's.
    OV::String authoritiesFile;
    /// PEM files with the certificate, and its chain, by which this client shows who it is, and
    /// with its key; empty for none.
    OV::String certificateFile;
    /// PEM file with the key of `certificateFile`.
    OV::String keyFile;
    /// Proxy as curl writes it ("http://host:port", "socks5h://host:port"); empty follows the
    /// environment of the user. None is used to reach this computer itself. TLS goes through it
    /// unopened; a proxy that is itself reached by TLS is not supported.
    OV::String proxy;
    /// Hosts and domains to reach without it, separated by commas, "*" for all; empty follows the
    /// environment.
    OV::String noProxy;
    /// Plain HTTP to other computers, which shows passwords to whoever listens on the way.
    bool allowPlainHttp = false;
};

/// What a client is made with when nothing else is said. A host that knows its network sets them
/// once, before its first connection; safe on any thread.
[[nodiscard]] SYC_API HttpOptions DefaultHttpOptions();
/// Counts for clients that are made from now on.
SYC_API void SetDefaultHttpOptions(HttpOptions options);

}  // namespace Communication
