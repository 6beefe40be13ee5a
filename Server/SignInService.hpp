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
    [[nodiscard]] nlohmann::json Grant(TokenTable::Login login, const std::string& address,
                                       const std::string& userName);
    void KeepUpToDate(const std::string& hash, const std::string& login,
                      const std::string& password);
    /// The answer; throws the refusal of who may not come in.
    [[nodiscard]] nlohmann::json Finish(const PasswordWorker::Attempt& attempt,
                                        bool passwordIsRight);

    UserStore& users_;
    PasswordWorker& passwords_;
    TokenTable& tokens_;
};

}  // namespace Nexar
