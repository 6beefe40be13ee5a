#pragma once

#include "HttpServer.hpp"
#include "PasswordHash.hpp"

#include "OVRoot/PooledExecutor.hpp"

namespace Nexar {

/// Password hashes on a thread of their own, so that a sign-in holds nobody else up. Results come
/// back on the server's thread; the server does not end before.
class PasswordWorker {
public:
    PasswordWorker(HttpServer& server, PasswordHash& hash) : server_(server), hash_(hash) {}

    /// As PasswordHash::Check; `then` is called within the call when the answer is known already.
    void Check(const std::string& hash, const std::string& password,
               std::function<void(bool)> then);
    void Make(const std::string& password, std::function<void(const std::string& hash)> then);

private:
    HttpServer& server_;
    PasswordHash& hash_;
    OV::PooledExecutor worker_{1, 1, 60'000};
};

}  // namespace Nexar
