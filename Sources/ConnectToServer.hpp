#pragma once

#include "Diagnosis/Diagnosis.hpp"
#include "Flow/Flow.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraClient/SyncraClient.hpp"

namespace SYC {

/// Of the model service, where nobody says another one.
inline constexpr std::uint16_t UsualPort = 19001;

/// Signs in to a server for the first time, and finds out what keeps a user from it.
class SYC_API ConnectToServer final : public Flow {
public:
    /// Asks nobody.
    explicit ConnectToServer(const FlowExecutors& executors) : Flow(executors) {}

    /// Signs in, and remembers the server as the last one; with `storePassword` this computer keeps
    /// the password, after the sign-in succeeded. A password that is empty is the stored one.
    /// Whether a server that nobody vouches for is trusted, the question of
    /// Communication::ServerTrust asks.
    void Connect(Syncra::Client::SignInData login, bool storePassword);
    /// Who signed in, with the password that was used, once Connect succeeded.
    [[nodiscard]] const Syncra::Client::SignInData& GetLogin() const noexcept { return login_; }

    /// Walks the way to the server; succeeds whatever it finds.
    void Diagnose(Syncra::Client::SignInData login);
    /// What Diagnose found, in the order of the way.
    [[nodiscard]] const OV::Array<Diagnosis::Step>& GetSteps() const noexcept { return steps_; }
    /// What keeps the user from the server, with what he can do; null when nothing does.
    [[nodiscard]] const Diagnosis::Step* GetHindrance() const noexcept
    {
        return FindHindrance(steps_);
    }

private:
    Syncra::Client::SignInData login_;
    OV::Array<Diagnosis::Step> steps_;
};

}  // namespace SYC
