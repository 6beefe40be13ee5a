#pragma once

#include <string>

struct ssl_ctx_st;

namespace Nexar {

/// What protects connections: TLS 1.2 and newer with forward secrecy, HTTP/1.1 by ALPN, and this
/// certificate with its chain and its key, both PEM files. The caller owns it (SSL_CTX_free).
/// Throws std::runtime_error that says which file is wrong and why.
[[nodiscard]] ssl_ctx_st* MakeTlsContext(const std::string& certificate, const std::string& key);

/// A certificate for a host name or address that no authority vouches for, with a new key, good for
/// a year from now; and its SHA-256 fingerprint, as people compare it.
struct SelfSigned {
    std::string certificate;
    std::string key;
    std::string fingerprint;
};
/// Throws std::runtime_error.
[[nodiscard]] SelfSigned MakeCertificate(const std::string& host);

}  // namespace Nexar
