#pragma once

#include "HttpServer.hpp"
#include "PasswordHash.hpp"
#include "Router.hpp"
#include "UserStore.hpp"

#include "OVRoot/PooledExecutor.hpp"

namespace Nexar {

/// Version, sign-in and sign-out, which every service offers. Password hashes are computed on a
/// worker thread, so that a sign-in holds nobody else up.
class SignInService {
public:
    SignInService(HttpServer& server, UserStore& users, PasswordHash& hash, TokenTable& tokens);

    void AddRoutes(Router& router);
    /// The same, and the built-in account that reads presence may sign in.
    void AddRoutesWithBuiltIn(Router& router);

    /// Name and password of the built-in account; no user's login.
    static constexpr const char* BuiltInLogin = "lookout";

private:
    void AddCommonRoutes(Router& router);
    void SignIn(const Call& call, const Reply& reply);
    void SignInBuiltIn(const Call& call, const Reply& reply);
    void Grant(TokenTable::Login login, const std::string& userName, const Reply& reply);
    void Finish(const std::optional<User>& user, bool passwordIsRight, const std::string& login,
                const Reply& reply);

    HttpServer& server_;
    UserStore& users_;
    PasswordHash& hash_;
    TokenTable& tokens_;
    OV::PooledExecutor worker_{1, 1, 60'000};
};

}  // namespace Nexar
