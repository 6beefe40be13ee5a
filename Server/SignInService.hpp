#pragma once

#include "PasswordWorker.hpp"
#include "Router.hpp"
#include "UserStore.hpp"

namespace Nexar {

/// Version, sign-in and sign-out, which every service offers.
class SignInService {
public:
    SignInService(UserStore& users, PasswordWorker& passwords, TokenTable& tokens);

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
    void Finish(const std::optional<StoredUser>& user, bool passwordIsRight,
                const std::string& login, const Reply& reply);

    UserStore& users_;
    PasswordWorker& passwords_;
    TokenTable& tokens_;
};

}  // namespace Nexar
