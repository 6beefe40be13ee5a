#include "SignInService.hpp"

#include "Guarded.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/SecureWipe.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"
#include "SyncraProtocol/ProductVersion.hpp"

#include <algorithm>
#include <utility>

namespace Nexar {

using namespace Syncra::Protocol;

namespace {

constexpr std::size_t MaximumCredentialUnits = 1024;
constexpr std::size_t MaximumLoggedUnits = 64;

SignInRequest ReadCredentials(const Call& call)
{
    // First: the rest of the record may look different in another version.
    if (call.Read<SpokenProtocol>().value != ProtocolVersion)
        throw Refusal(ErrorCode::IncompatibleVersion,
                      "This server speaks version 1 of the protocol. Update the older side.");
    auto request = call.Read<SignInRequest>();
    if (std::max(request.userName.size(), request.password.size()) > MaximumCredentialUnits)
        throw Refusal(ErrorCode::TooLarge,
                      "The user name or the password is longer than 1024 characters.");
    return request;
}

}  // namespace

SignInService::SignInService(StoreWorkers& workers, UserStore& users, PasswordWorker& passwords,
                             Tokens& tokens, Database& database)
    : workers_(workers), users_(users), passwords_(passwords), tokens_(tokens), refused_(database)
{}

void SignInService::AddRoutes(Router& router)
{
    AddCommonRoutes(router);
    router.AddOpen("POST", "/syncra/v1/sign-in", [this, &router](Call call, const Reply& reply) {
        SignIn(router, std::move(call), reply);
    });
}

void SignInService::AddRoutesWithBuiltIn(Router& router)
{
    AddCommonRoutes(router);
    router.AddOpen("POST", "/syncra/v1/sign-in", [this, &router](Call call, const Reply& reply) {
        if (ReadCredentials(call).userName == OV::FromUtf8(BuiltInLogin))
            SignInBuiltIn(router, call, reply);
        else
            SignIn(router, std::move(call), reply);
    });
}

void SignInService::AddCommonRoutes(Router& router)
{
    router.AddOpen("GET", "/syncra/version", [](const Call&, const Reply& reply) {
        reply(JsonResponse(ServerVersion{ProtocolVersion, ProductVersion}));
    });
    router.AllowBuiltIn(true);
    router.AddAsync(
        "POST", "/syncra/v1/sign-out", nullptr, [this](const Call& call, const Reply& reply) {
            tokens_.Remove(call.request.token, [reply](const std::exception_ptr& error) {
                Router::Answer(reply, [&] {
                    if (error)
                        std::rethrow_exception(error);
                });
            });
        });
    router.AllowBuiltIn(false);
}

void SignInService::SignIn(const Router& router, Call call, const Reply& reply)
{
    const auto request = ReadCredentials(call);
    OV::SecureWipe(call.request.body);
    const auto attempt = std::make_shared<PasswordWorker::Attempt>();
    attempt->login = OV::ToUtf8(request.userName);
    attempt->address = call.request.address;
    attempt->password = OV::ToUtf8(request.password.View());
    workers_.Read(
        Tokens::OwnerOf({}, call.request.address),
        [this, attempt] {
            const auto user = users_.FindByLogin(attempt->login);
            attempt->userId = user ? user->id : std::string();
            attempt->hash = user ? user->passwordHash : std::string();
            if (tokens_.AreInStore())
                attempt->mustWait = refused_.MustWait(attempt->login, attempt->address);
        },
        [this, &router, call, reply, attempt](std::exception_ptr error) {
            if (error)
                return Router::Answer(reply, [&] { std::rethrow_exception(error); });
            passwords_.Check(attempt, reply, [this, &router, call, reply, attempt](bool isRight) {
                if (!isRight && tokens_.AreInStore())
                    TellOthers(*attempt);
                Finish(router, call, reply, attempt, isRight);
            });
        });
}

/// A change of the password that is committed after the last look at the user must take the token
/// away again: one in memory comes before that look, one in the store with it, while it holds the
/// user.
void SignInService::Finish(const Router& router, const Call& call, const Reply& reply,
                           const std::shared_ptr<PasswordWorker::Attempt>& attempt, bool isRight)
{
    std::string token;
    if (isRight)
        token = tokens_.Add({attempt->userId, attempt->login}, attempt->address);
    const Reply checked([this, reply, token, attempt](HttpResponse response) {
        if (response.status == 200)
            KeepUpToDate(*attempt);
        else
            tokens_.Remove(token, [](const std::exception_ptr&) {});
        response.user = attempt->login;
        reply(std::move(response));
    });
    if (isRight && tokens_.AreInStore())
        router.AnswerWriting(call, checked, [this, attempt, token](const Call&) {
            users_.Hold(attempt->userId);
            const auto user = RequireUser(*attempt, token);
            refused_.Told(attempt->login, attempt->address, true);
            tokens_.Keep(token, {attempt->userId, attempt->login}, attempt->address);
            return WriteJson(Grant(user, token));
        });
    else
        router.AnswerReading(call, checked, [this, attempt, token](const Call&) {
            return WriteJson(Grant(RequireUser(*attempt, token), token));
        });
}

void SignInService::SignInBuiltIn(const Router& router, const Call& call, const Reply& reply)
{
    if (ReadCredentials(call).password != OV::FromUtf8(BuiltInLogin))
        throw Refusal(ErrorCode::BadCredentials, "The user name or the password is wrong.");
    StoredUser user;
    user.fullName = BuiltInLogin;
    const Tokens::Login login{"", BuiltInLogin, true};
    const auto token = tokens_.Add(login, call.request.address);
    const Reply granted([reply](HttpResponse response) {
        response.user = BuiltInLogin;
        reply(std::move(response));
    });
    const auto grant = [this, login, token, user](const Call& its) {
        tokens_.Keep(token, login, its.request.address);
        return WriteJson(Grant(user, token));
    };
    if (tokens_.AreInStore())
        router.AnswerWriting(call, granted, grant);
    else
        Router::Answer(granted, [&] { return grant(call); });
}

StoredUser SignInService::RequireUser(const PasswordWorker::Attempt& attempt,
                                      const std::string& token)
{
    // The password may have been changed, or the user deleted, while the old hash was computed.
    auto user = users_.FindByLogin(attempt.login);
    const OV::UniString name = OV::FromUtf8(attempt.login).substr(0, MaximumLoggedUnits);
    if (!user || token.empty() || user->passwordHash != attempt.hash) {
        OV::Logger::Warning("nexar-server", u"Sign-in refused: user \"%\"", {name});
        throw Refusal(ErrorCode::BadCredentials, "The user name or the password is wrong.");
    }
    if (!user->enabled) {
        OV::Logger::Warning("nexar-server", u"Sign-in refused, account off: user \"%\"", {name});
        throw Refusal(ErrorCode::UserDisabled,
                      "This account is switched off. Ask your administrator.");
    }
    return *std::move(user);
}

void SignInService::TellOthers(const PasswordWorker::Attempt& attempt)
{
    RunGuarded([&] {
        workers_.Write(
            attempt.address,
            [this, login = attempt.login, address = attempt.address] {
                refused_.Told(login, address, false);
            },
            [](const std::exception_ptr&) {});
    });
}

/// A hash of another cost than that of today would tell by its time whether a name exists.
void SignInService::KeepUpToDate(const PasswordWorker::Attempt& attempt)
{
    if (!passwords_.IsOutdated(attempt.hash))
        return;
    const Reply nobody([](const HttpResponse&) {});
    passwords_.Make(attempt.password, nobody, [this, attempt](const std::string& made) {
        workers_.Write(
            attempt.userId,
            [this, attempt, made] {
                const auto user = users_.FindByLogin(attempt.login);
                if (user && user->passwordHash == attempt.hash)
                    users_.SetPasswordHash(user->id, made);
            },
            [](const std::exception_ptr&) {});
    });
}

SignInAnswer SignInService::Grant(const StoredUser& user, const std::string& token)
{
    SignInAnswer answer;
    answer.userId = OV::FromUtf8(user.id);
    answer.userName = OV::FromUtf8(user.fullName);
    answer.token = token;
    answer.protocol = ProtocolVersion;
    answer.serverVersion = ProductVersion;
    return answer;
}

}  // namespace Nexar
