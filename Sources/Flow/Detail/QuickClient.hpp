#pragma once

#include "SyncraClient/SyncraClient.hpp"

namespace SYC {

/// Two seconds a request at most: for what is set right behind a failure, while somebody waits for
/// its end.
[[nodiscard]] inline Communication::HttpOptions QuickOptions()
{
    constexpr std::uint32_t patience = 2000;
    auto options = Communication::DefaultHttpOptions();
    options.connectTimeoutMilliseconds = options.requestTimeoutMilliseconds = patience;
    return options;
}

[[nodiscard]] inline std::unique_ptr<Syncra::Client::SyncraClient>
ConnectQuickly(const Syncra::Client::SignInData& login)
{
    return Syncra::Client::Connect(login, QuickOptions());
}

}  // namespace SYC
