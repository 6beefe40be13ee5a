#pragma once

#include "SyncraClient/SyncraClient.hpp"

namespace SYC {

/// A client whose requests take two seconds each at most: for what is set right behind a failure,
/// while somebody waits for its end.
[[nodiscard]] inline std::unique_ptr<Syncra::Client::SyncraClient>
ConnectQuickly(const Syncra::Client::SignInData& login)
{
    constexpr std::uint32_t patience = 2000;
    auto options = Communication::DefaultHttpOptions();
    options.connectTimeoutMilliseconds = options.requestTimeoutMilliseconds = patience;
    return Syncra::Client::Connect(login, options);
}

}  // namespace SYC
