#pragma once

#include "SYCommunication/Detail/Curl.hpp"
#include "SYCommunication/ServerAddress.hpp"
#include "SYCommunication/UntrustedServer.hpp"

#include <openssl/ossl_typ.h>

#include <optional>

namespace Communication::Detail {

/// Judges the certificate of a server in the middle of the handshake: name, time, authorities, and
/// what the user trusts. So whoever is not trusted never gets a byte of a request.
class CertificateCheck {
public:
    explicit CertificateCheck(const ServerAddress& server) : server_(server) {}
    CertificateCheck(const CertificateCheck&) = delete;
    CertificateCheck& operator=(const CertificateCheck&) = delete;

    /// Judges every TLS connection that the handle makes, in place of curl. Throws
    /// ConnectionException when curl was built on another TLS library.
    void Install(CURL* handle);

    /// Refuses every certificate from now on, to tell what it is.
    void OnlyLook() { onlyLook_ = true; }
    /// Forgets what was refused.
    void Begin() { refused_.reset(); }
    /// What was refused since, and why.
    [[nodiscard]] const std::optional<UntrustedServer>& GetRefused() const { return refused_; }

private:
    static CURLcode TakeContext(CURL*, void* context, void* self);
    static int Verify(X509_STORE_CTX* store, void* self);
    [[nodiscard]] bool IsTrusted(X509_STORE_CTX* store);

    const ServerAddress server_;
    std::optional<UntrustedServer> refused_;
    bool onlyLook_ = false;
};

}  // namespace Communication::Detail
