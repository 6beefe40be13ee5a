#include "Router.hpp"

#include "Database.hpp"
#include "OVRoot/Logger.hpp"
#include "SyncraProtocol/Detail/Json.hpp"

#include <nlohmann/json.hpp>

#include <charconv>
#include <utility>

namespace Nexar {

using Syncra::Protocol::ErrorCode;

int Refusal::StatusOf(ErrorCode code) noexcept
{
    switch (code) {
    case ErrorCode::InternalError:
        return 500;
    case ErrorCode::NoSuchRoute:
    case ErrorCode::NotFound:
        return 404;
    case ErrorCode::TooLarge:
        return 413;
    case ErrorCode::BadCredentials:
    case ErrorCode::TokenExpired:
        return 401;
    case ErrorCode::AccessDenied:
    case ErrorCode::UserDisabled:
        return 403;
    case ErrorCode::SessionExists:
    case ErrorCode::NameAlreadyExists:
    case ErrorCode::ObjectInUse:
        return 409;
    case ErrorCode::RuleBroken:
        return 422;
    case ErrorCode::ProjectUnavailable:
        return 423;
    case ErrorCode::StoreUnavailable:
        return 503;
    case ErrorCode::TooManyRequests:
        return 429;
    case ErrorCode::IncompatibleVersion:
        return 426;
    case ErrorCode::BadRequest:
        break;
    }
    return 400;
}

nlohmann::json Call::Body() const
{
    auto body = Syncra::Protocol::ParseJson(request.body);
    if (!body.is_object())
        throw Refusal(ErrorCode::BadRequest, "The body must be a JSON object.");
    return body;
}

std::uint64_t Call::QueryNumber(const std::string& name, std::uint64_t fallback) const
{
    const auto found = request.query.find(name);
    if (found == request.query.end())
        return fallback;
    std::uint64_t number = 0;
    const auto& text = found->second;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw Refusal(ErrorCode::BadRequest, "\"" + name + "\" in the query is no whole number.");
    return number;
}

std::string Call::QueryText(const std::string& name) const
{
    const auto found = request.query.find(name);
    if (found == request.query.end())
        throw Refusal(ErrorCode::BadRequest, "\"" + name + "\" is missing in the query.");
    return OV::ToUtf8(OV::UnescapeFromCarrier(OV::FromUtf8(found->second)));
}

namespace {

std::vector<std::string> SplitPattern(const std::string& pattern)
{
    HttpRequest request;
    (void)ParseTarget(pattern, request);
    return request.path;
}

bool Fits(const std::vector<std::string>& pattern, const std::vector<std::string>& path,
          std::vector<std::string>& parameters)
{
    if (pattern.size() != path.size())
        return false;
    parameters.clear();
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (pattern[i] == "{}")
            parameters.push_back(OV::ToUtf8(OV::UnescapeFromCarrier(OV::FromUtf8(path[i]))));
        else if (pattern[i] != path[i])
            return false;
    }
    return true;
}

HttpResponse AnswerOfCurrentException()
{
    try {
        throw;
    } catch (const Refusal& refusal) {
        return ErrorResponse(refusal);
    } catch (const Syncra::Protocol::MalformedRecordException& error) {
        return ErrorResponse(Refusal(ErrorCode::BadRequest, error.what()));
    } catch (const DatabaseError& error) {
        OV::Logger::Error("nexar-server", u"A request failed: %", {error.what()});
        return ErrorResponse(
            error.IsUnavailable()
                ? Refusal(ErrorCode::StoreUnavailable,
                          "The store is busy or has no room; the server's log says why. Try again.")
                      .With("Retry-After", "1")
                : Refusal(ErrorCode::InternalError,
                          "The server failed; its log says why. Try again later."));
    } catch (const std::exception& error) {
        OV::Logger::Error("nexar-server", u"A request failed: %", {error.what()});
        return ErrorResponse(Refusal(ErrorCode::InternalError,
                                     "The server failed; its log says why. Try again later."));
    }
}

}  // namespace

void Router::Add(const std::string& method, const std::string& pattern, Handler handler,
                 std::size_t bodyLimit)
{
    Insert(
        method, pattern,
        [handler = std::move(handler)](const Call& call, const Reply& reply) {
            reply(JsonResponse(handler(call)));
        },
        false, bodyLimit);
}

void Router::AddAsync(const std::string& method, const std::string& pattern, AsyncHandler handler)
{
    Insert(method, pattern, std::move(handler), false, OrdinaryBody);
}

void Router::AddOpen(const std::string& method, const std::string& pattern, AsyncHandler handler)
{
    Insert(method, pattern, std::move(handler), true, OpenBody);
}

void Router::Insert(const std::string& method, const std::string& pattern, AsyncHandler handler,
                    bool open, std::size_t bodyLimit)
{
    routes_.push_back(
        {method, SplitPattern(pattern), std::move(handler), open, allowBuiltIn_, bodyLimit});
}

void Router::operator()(HttpRequest request, const Reply& reply) const
{
    try {
        Call call{std::move(request), {}, {}};
        const Route& route = Match(call);
        Admit(route, call);
        route.handler(std::move(call), reply);
    } catch (...) {
        reply(AnswerOfCurrentException());
    }
}

HeadVerdict Router::CheckHead(const HttpRequest& head) const
{
    try {
        Call call{head, {}, {}};
        const Route& route = Match(call);
        Admit(route, call);
        // A page in a browser can send other types to any server in reach of its visitor.
        if (!head.isJson)
            throw Refusal(ErrorCode::BadRequest, "A body must be of the type application/json.",
                          415);
        return {route.bodyLimit, std::nullopt};
    } catch (...) {
        return {0, AnswerOfCurrentException()};
    }
}

void Router::Answer(const Reply& reply, const std::function<nlohmann::json()>& work)
{
    try {
        reply(JsonResponse(work()));
    } catch (...) {
        reply(AnswerOfCurrentException());
    }
}

const Router::Route& Router::Match(Call& call) const
{
    std::string allowed;
    for (const auto& route : routes_) {
        if (!Fits(route.pattern, call.request.path, call.parameters))
            continue;
        if (route.method == call.request.method)
            return route;
        allowed += (allowed.empty() ? "" : ", ") + route.method;
    }
    if (allowed.empty())
        throw Refusal(ErrorCode::NoSuchRoute, "There is no such path on this service.");
    throw Refusal(ErrorCode::NoSuchRoute, "This path takes " + allowed + " alone.", 405)
        .With("Allow", allowed);
}

void Router::Admit(const Route& route, Call& call) const
{
    if (route.open)
        return;
    auto login = tokens_.Find(call.request.token);
    if (!login)
        throw Refusal(ErrorCode::TokenExpired, "The token is unknown or too old. Sign in again.");
    if (login->isBuiltIn && !route.builtIn)
        throw Refusal(ErrorCode::AccessDenied, "This account may only read presence.");
    if (!login->isBuiltIn)
        RequireAccount(*login, call.request.token);
    call.user = *login;
}

/// A token is worth nothing once its user was deleted or switched off. Its login name may be
/// another one by now.
void Router::RequireAccount(TokenTable::Login& login, const std::string& token) const
{
    auto account = users_.FindAccount(login.userId);
    if (account && account->enabled) {
        login.userLogin = std::move(account->login);
        return;
    }
    tokens_.Remove(token);
    if (!account)
        throw Refusal(ErrorCode::TokenExpired, "The token is void: its user was deleted.");
    throw Refusal(ErrorCode::UserDisabled, "This account is switched off. Ask your administrator.");
}

HttpResponse ErrorResponse(const Refusal& refusal)
{
    auto response =
        ErrorResponse(refusal.Status(), static_cast<std::int32_t>(refusal.Code()), refusal.what());
    response.headers = refusal.Headers();
    if (response.status == 401)
        response.headers.emplace_back("WWW-Authenticate", "Bearer");
    return response;
}

HttpResponse JsonResponse(const nlohmann::json& value)
{
    return {200, Syncra::Protocol::DumpJson(value)};
}

}  // namespace Nexar
