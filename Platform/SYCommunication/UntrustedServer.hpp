#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "SYCommunication/CommunicationException.hpp"

namespace Communication {

/// What a server showed of itself before anything was sent to it. Everything but the fingerprint is
/// what the server claims; control characters are left out.
struct ServerCertificate {
    /// SHA-256 of the whole certificate: "AB:CD:...", 32 bytes. Empty when none was shown.
    OV::UniString fingerprint;
    /// Whom it was made for, as the certificate says.
    OV::UniString subject;
    /// Who made it, as the certificate says.
    OV::UniString issuer;
    /// Host names and addresses.
    OV::Array<OV::UniString> names;
    /// Seconds since 1970-01-01 UTC.
    std::int64_t validFrom = 0;
    /// The last second of its use, seconds since 1970-01-01 UTC.
    std::int64_t validUntil = 0;
};

/// Why a server gets nothing; the numbers are those of its words in string list 32110.
enum class TrustProblem : int {
    UnknownAuthority = 1,
    SelfSigned,
    WrongName,
    Expired,
    NotYetValid,
    UnusableCertificate,
    Changed,    ///< another certificate is trusted for this host and port
    ClearText,  ///< plain HTTP beyond this computer was not allowed by name
    NoTls,      ///< TLS was asked for, and something else answers, or TLS that is too old
};

/// A server to which nothing was sent, and why.
struct SYC_API UntrustedServer {
    OV::UniString host;      ///< as it was asked for
    std::uint16_t port = 0;  ///< of the service
    /// Empty when an authority vouches for the server.
    OV::Array<TrustProblem> problems;
    /// What it showed; empty without TLS.
    ServerCertificate certificate;
    /// The one that is trusted, for Changed.
    OV::UniString trustedFingerprint;

    /// Whether that is among what is wrong.
    [[nodiscard]] bool Has(TrustProblem problem) const noexcept;
    /// Whether the user may trust the certificate: it is all that is wrong, and none is trusted
    /// yet.
    [[nodiscard]] bool MayBeTrusted() const noexcept;
    /// "host:port", an IPv6 host in brackets.
    [[nodiscard]] OV::UniString GetPlace() const;
    /// What is wrong, a sentence for each problem.
    [[nodiscard]] OV::UniString DescribeProblems() const;
    /// The fingerprints, and what to do.
    [[nodiscard]] OV::UniString GetAdvice() const;
    /// Both in one text.
    [[nodiscard]] OV::UniString Describe() const;
};

/// The server is not the one that was asked for, or nothing shows that it is. Neither a password
/// nor a token nor a request has left this process for it.
class SYC_API UntrustedServerException : public ConnectionException {
public:
    /// The message is what Describe says.
    explicit UntrustedServerException(UntrustedServer server,
                                      OV::SourcePlace place = OV::SourcePlace::Here())
        : ConnectionException(server.Describe(), place), server_(std::move(server))
    {}
    /// Which one, and why.
    [[nodiscard]] const UntrustedServer& GetServer() const noexcept { return server_; }
    OV_EXCEPTION_IDENTITY(UntrustedServerException)

private:
    UntrustedServer server_;
};

}  // namespace Communication
