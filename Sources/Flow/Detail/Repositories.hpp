#pragma once

#include "Failure.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/UntrustedServer.hpp"

#include <optional>

namespace SYC {

/// A repository of the server, signed in; `login` names the model service. Where nobody is found at
/// the port that was known, the server is asked for it anew. Throws what the repository throws, and
/// Communication::CommunicationException for a server without one.
template <class Repository>
[[nodiscard]] std::unique_ptr<Repository> ConnectRepository(const Syncra::Client::SignInData& login)
{
    auto& ports = SYCB::ServicePortCache::GetInstance();
    const auto find = [&](bool mayAsk) {
        return ports.GetServicePort(login.serverName, login.port, login.userName, login.password,
                                    SYCB::ServiceType::Management, mayAsk);
    };
    Syncra::Client::SignInData data = login;
    const auto connect = [&] {
        return SYCB::WithServerVersionException([&] { return std::make_unique<Repository>(data); });
    };
    if ((data.port = find(false)) != 0) {
        try {
            return connect();
        } catch (const Communication::UntrustedServerException&) {
            throw;
        } catch (const Communication::ConnectionException&) {
            ports.Forget(login.serverName, login.port);
        }
    }
    if ((data.port = find(true)) == 0)
        throw Communication::CommunicationException(
            u"The server lists no management service; it cannot be administered.");
    return connect();
}

/// Whether the server has a project of that name, asked in two seconds a request although the
/// thread was interrupted: after a request of which nobody knows whether it was carried out.
/// Nothing when the server does not say.
[[nodiscard]] std::optional<bool> AskForName(const Syncra::Client::SignInData& login,
                                             const OV::UniString& projectName) noexcept;

/// Whether the server may have carried a request out that failed so.
[[nodiscard]] inline bool IsInDoubt(const Failure& failure)
{
    return failure.kind == FailureKind::NotReached || failure.kind == FailureKind::Cancelled ||
           failure.kind == FailureKind::NotUnderstood || failure.kind == FailureKind::ServerFailed;
}

}  // namespace SYC
