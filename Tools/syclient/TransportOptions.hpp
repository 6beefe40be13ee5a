#pragma once

#include "Output.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "SYCommunication/ServerTrust.hpp"

namespace CLI {
class App;
}

/// How every command reaches servers, and which servers it believes.
class TransportOptions {
public:
    void AddOptions(CLI::App& app);
    /// Makes them those of the process.
    void Apply() const;

private:
    Communication::HttpOptions options_ = Communication::DefaultHttpOptions();
    std::uint32_t seconds_ = 0;
};

/// Tells of a server that is not trusted, as soon as a request meets it, and of the command that
/// trusts it. Stands for the process while it lives; requests of several threads may tell.
class TrustNotice final : public Communication::TrustQuestion {
public:
    explicit TrustNotice(const Output& output);
    ~TrustNotice() override;
    TrustNotice(const TrustNotice&) = delete;
    TrustNotice& operator=(const TrustNotice&) = delete;

private:
    Communication::TrustAnswer Ask(const Communication::UntrustedServer& server) override;
    void Tell(const Communication::UntrustedServer& server) override;

    const Output& output_;
};
