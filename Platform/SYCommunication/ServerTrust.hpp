#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"
#include "SYCommunication/UntrustedServer.hpp"

#include <optional>

namespace Communication {

/// What the user says about a certificate that no authority vouches for.
enum class TrustAnswer {
    Refuse,
    TrustOnce,    ///< until this process ends
    TrustAlways,  ///< for the user, on this computer
};

/// How a host asks its user. Called on the thread of the request, which waits for the answer and
/// holds no lock; a host with a main thread takes it there (the library's dialogs do). While it
/// waits the thread may be asked to stop: OV::InterruptedException may leave here, and nothing
/// else.
class SYC_API TrustQuestion {
public:
    virtual ~TrustQuestion() = default;
    /// No authority vouches for the certificate, and none is trusted yet. Nothing was sent.
    virtual TrustAnswer Ask(const UntrustedServer& server) = 0;
    /// The request is refused whatever the user says: the certificate changed, the server speaks no
    /// TLS, or plain HTTP was not allowed.
    virtual void Tell(const UntrustedServer& server) = 0;
};

/// A server that the user trusts although no authority vouches for it.
struct TrustedServer {
    OV::UniString host;         ///< name or address, in any letter case
    std::uint16_t port = 0;     ///< of the service
    OV::UniString fingerprint;  ///< SHA-256 of its certificate, "AB:CD:..."
};

/// Which certificates count although no authority vouches for them: each for one host, in any
/// letter case, and one port. Those that the user trusts always stand below "Orvant" in his roaming
/// application data, "TrustedServers", a file each, which several processes read and write without
/// waiting for each other; a file that cannot be read trusts nobody and harms no other. While a
/// certificate is trusted no other one is, whoever vouches for it. Safe on any thread.
class SYC_API ServerTrust {
public:
    /// The one of this process, which lives until its end.
    [[nodiscard]] static ServerTrust& GetInstance();

    /// Asks the user from now on; null refuses without asking, as at first. Returns the former one;
    /// the caller keeps it alive.
    TrustQuestion* SetQuestion(TrustQuestion* question);

    /// The certificate that is trusted there, whatever others vouch for.
    [[nodiscard]] std::optional<OV::UniString> Find(OV::UniStringView host,
                                                    std::uint16_t port) const;
    /// Trusts it in this process, and `always` in later ones; throws IO::IOException when that
    /// cannot be kept, and trusts it in this process all the same.
    void Trust(const TrustedServer& server, bool always);
    /// False when none was trusted there. Throws IO::IOException when the file stays.
    bool Distrust(OV::UniStringView host, std::uint16_t port);
    /// Those that are trusted always, by host and port.
    [[nodiscard]] OV::Array<TrustedServer> List() const;

    /// The server at `port`, which is trusted, says that a service of its own listens at
    /// `servicePort`: there the certificate of `port` counts as well, in this process.
    void AddService(OV::UniStringView host, std::uint16_t port, std::uint16_t servicePort);

    /// Asks or tells the user; whether the request may be tried again.
    [[nodiscard]] bool Settle(const UntrustedServer& server);

    /// Requests of the calling thread refuse without a word while it lives: for threads of the
    /// library that try again and again by themselves.
    class WithoutQuestion {
    public:
        WithoutQuestion() noexcept;
        ~WithoutQuestion();
        WithoutQuestion(const WithoutQuestion&) = delete;
        WithoutQuestion& operator=(const WithoutQuestion&) = delete;
    };

private:
    ServerTrust() = default;
    [[nodiscard]] std::optional<OV::UniString> FindAt(OV::UniStringView host,
                                                      std::uint16_t port) const;

    mutable OV::Lock lock_;
    TrustQuestion* question_ OV_GUARDED_BY(lock_) = nullptr;
    /// By "host:port".
    OV::HashTable<OV::UniString, OV::UniString> once_ OV_GUARDED_BY(lock_);
    OV::HashTable<OV::UniString, std::uint16_t> services_ OV_GUARDED_BY(lock_);
};

}  // namespace Communication
