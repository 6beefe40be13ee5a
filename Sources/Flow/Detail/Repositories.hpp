#pragma once

#include "Flow/Detail/Doubt.hpp"
#include "Flow/Detail/QuickClient.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/UntrustedServer.hpp"

namespace SYC {

/// A repository of the server, signed in; `login` names the model service. Where nobody is found at
/// the port that was known, the server is asked for it anew. Throws what the repository throws, and
/// Communication::CommunicationException for a server without one.
template <class Repository>
[[nodiscard]] std::unique_ptr<Repository>
ConnectRepository(const Syncra::Client::SignInData& login,
                  const Communication::HttpOptions& options = Communication::DefaultHttpOptions())
{
    auto& ports = SYCB::ServicePortCache::GetInstance();
    const auto find = [&](bool mayAsk) {
        return ports.GetServicePort(login.serverName, login.port, login.userName, login.password,
                                    SYCB::ServiceType::Management, mayAsk);
    };
    Syncra::Client::SignInData data = login;
    const auto connect = [&] {
        return SYCB::WithServerVersionException(
            [&] { return std::make_unique<Repository>(data, options); });
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

/// Carries out a change by a repository of the server. None when it is done; otherwise why it is
/// not, as Settle tells, to which `isDone` goes.
template <class Repository, class Change>
[[nodiscard]] Failure ChangeOnServer(const Syncra::Client::SignInData& login, Change&& change,
                                     const std::function<bool()>& isDone)
{
    std::unique_ptr<Repository> repository;
    try {
        repository = ConnectRepository<Repository>(login);
        change(*repository);
        return {};
    } catch (...) {
        Failure failure = DescribeException();
        return repository ? Settle(std::move(failure), isDone) : failure;
    }
}

}  // namespace SYC
