#include "SignInService.hpp"

#include "OVRoot/Logger.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <algorithm>
#include <utility>

namespace Nexar {

using namespace Syncra::Protocol;

namespace {

constexpr std::uint32_t ProductVersion = 1400;
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

SignInService::SignInService(UserStore& users, PasswordWorker& passwords, TokenTable& tokens)
    : users_(users), passwords_(passwords), tokens_(tokens)
{}

void SignInService::AddRoutes(Router& router)
{
    AddCommonRoutes(router);
    router.AddOpen("POST", "/syncra/v1/sign-in",
                   [this](const Call& call, const Reply& reply) { SignIn(call, reply); });
}

void SignInService::AddRoutesWithBuiltIn(Router& router)
{
    AddCommonRoutes(router);
    router.AddOpen("POST", "/syncra/v1/sign-in", [this](const Call& call, const Reply& reply) {
        if (ReadCredentials(call).userName == OV::FromUtf8(BuiltInLogin))
            SignInBuiltIn(call, reply);
        else
            SignIn(call, reply);
    });
}

void SignInService::AddCommonRoutes(Router& router)
{
    router.AddOpen("GET", "/syncra/version", [](const Call&, const Reply& reply) {
        reply(JsonResponse(ServerVersion{ProtocolVersion, ProductVersion}));
    });
    router.AllowBuiltIn(true);
    router.Add("POST", "/syncra/v1/sign-out",
               [this](const Call& call) { tokens_.Remove(call.request.token); });
    router.AllowBuiltIn(false);
}

void SignInService::SignIn(const Call& call, const Reply& reply)
{
    const auto request = ReadCredentials(call);
    const std::string login = OV::ToUtf8(request.userName);
    const std::string password = OV::ToUtf8(request.password.View());
    const auto user = users_.FindByLogin(login);
    const auto hash = user ? user->passwordHash : std::string();
    const PasswordWorker::Attempt attempt{login, call.request.address, hash, password};
    passwords_.Check(attempt, reply, [this, hash, login, password, reply](bool right) {
        Router::Answer(reply, [&] { return Finish(hash, right, login); });
        if (right)
            KeepUpToDate(hash, login, password);
    });
}

void SignInService::SignInBuiltIn(const Call& call, const Reply& reply)
{
    if (ReadCredentials(call).password != OV::FromUtf8(BuiltInLogin))
        throw Refusal(ErrorCode::BadCredentials, "The user name or the password is wrong.");
    reply(JsonResponse(Grant({"", BuiltInLogin, true}, BuiltInLogin)));
}

SignInAnswer SignInService::Finish(const std::string& checkedHash, bool passwordIsRight,
                                   const std::string& login)
{
    // The password may have been changed, or the user deleted, while the old hash was computed.
    const auto user = users_.FindByLogin(login);
    const OV::UniString name = OV::FromUtf8(login).substr(0, MaximumLoggedUnits);
    if (!user || !passwordIsRight || user->passwordHash != checkedHash) {
        OV::Logger::Warning("nexar-server", u"Sign-in refused: user \"%\"", {name});
        throw Refusal(ErrorCode::BadCredentials, "The user name or the password is wrong.");
    }
    if (!user->enabled) {
        OV::Logger::Warning("nexar-server", u"Sign-in refused, account off: user \"%\"", {name});
        throw Refusal(ErrorCode::UserDisabled,
                      "This account is switched off. Ask your administrator.");
    }
    return Grant({user->id, user->login}, user->fullName);
}

/// A hash of another cost than that of today would tell by its time whether a name exists.
void SignInService::KeepUpToDate(const std::string& hash, const std::string& login,
                                 const std::string& password)
{
    if (!passwords_.IsOutdated(hash))
        return;
    const Reply nobody([](const HttpResponse&) {});
    passwords_.Make(password, nobody, [this, hash, login](const std::string& made) {
        const auto user = users_.FindByLogin(login);
        if (user && user->passwordHash == hash)
            users_.SetPasswordHash(user->id, made);
    });
}

SignInAnswer SignInService::Grant(TokenTable::Login login, const std::string& userName)
{
    SignInAnswer answer;
    answer.userId = OV::FromUtf8(login.userId);
    answer.userName = OV::FromUtf8(userName);
    answer.token = tokens_.Add(std::move(login));
    answer.protocol = ProtocolVersion;
    answer.serverVersion = ProductVersion;
    return answer;
}

}  // namespace Nexar
