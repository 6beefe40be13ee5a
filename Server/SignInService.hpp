#pragma once

#include "PasswordWorker.hpp"
#include "Router.hpp"
#include "SyncraProtocol/SignIn.hpp"
#include "UserStore.hpp"

namespace Nexar {

/// Version, sign-in and sign-out, which every service offers.
class SignInService {
public:
    SignInService(StoreWorkers& workers, UserStore& users, PasswordWorker& passwords,
                  Tokens& tokens, Database& database);

    void AddRoutes(Router& router);
    /// The same, and the built-in account that reads presence may sign in.
    void AddRoutesWithBuiltIn(Router& router);

    /// Name and password of the built-in account; no user's login.
    static constexpr const char* BuiltInLogin = "lookout";

private:
    void AddCommonRoutes(Router& router);
    void SignIn(const Router& router, Call call, const Reply& reply);
    void SignInBuiltIn(const Router& router, const Call& call, const Reply& reply);
    void Finish(const Router& router, const Call& call, const Reply& reply,
                const std::shared_ptr<PasswordWorker::Attempt>& attempt, bool isRight);
    /// Who may come in with the token; throws the refusal of who may not.
    [[nodiscard]] StoredUser RequireUser(const PasswordWorker::Attempt& attempt,
                                         const std::string& token);
    /// Who counts refused sign-ins with this process.
    void TellOthers(const PasswordWorker::Attempt& attempt);
    void KeepUpToDate(const PasswordWorker::Attempt& attempt);
    [[nodiscard]] static Syncra::Protocol::SignInAnswer Grant(const StoredUser& user,
                                                              const std::string& token);

    StoreWorkers& workers_;
    UserStore& users_;
    PasswordWorker& passwords_;
    Tokens& tokens_;
    SignInLimitStore refused_;  ///< as the processes on the store tell each other
};

}  // namespace Nexar
