#include "Router.hpp"

#include "OVRoot/Logger.hpp"
#include "Store/Database.hpp"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

namespace Nexar {

using Syncra::Protocol::ErrorCode;

namespace {

/// What a client means with a part of a path or query, in which it escapes what none can have.
std::string TextOf(const std::string& part)
{
    const bool isPlain = std::all_of(part.begin(), part.end(), [](char byte) {
        return static_cast<unsigned char>(byte) < 0x80 && byte != '\\';
    });
    return isPlain ? part : OV::ToUtf8(OV::UnescapeFromCarrier(OV::FromUtf8(part)));
}

}  // namespace

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

std::uint64_t Call::QueryNumber(const std::string& name, std::uint64_t fallback) const
{
    const auto found = request.query.find(name);
    if (found == request.query.end())
        return fallback;
    if (const auto number = ReadNumber(found->second))
        return *number;
    throw Refusal(ErrorCode::BadRequest, "\"" + name + "\" in the query is no whole number.");
}

std::string Call::QueryText(const std::string& name) const
{
    const auto found = request.query.find(name);
    if (found == request.query.end())
        throw Refusal(ErrorCode::BadRequest, "\"" + name + "\" is missing in the query.");
    return TextOf(found->second);
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
    for (std::size_t i = 0; i < path.size(); ++i)
        if (pattern[i] != path[i] && pattern[i] != "{}")
            return false;
    parameters.clear();
    for (std::size_t i = 0; i < path.size(); ++i)
        if (pattern[i] == "{}")
            parameters.push_back(TextOf(path[i]));
    return true;
}

/// From then on a request is one that others should not wait for.
constexpr std::int64_t CostlyMicroseconds = 2'000;
/// After one that was not done at once, so many are left to other threads.
constexpr int AttemptsSaved = 16;

StoreWorkers::Cost CostOf(const Call& call)
{
    return call.pace && call.pace->usualTime >= CostlyMicroseconds ? StoreWorkers::Cost::Much
                                                                   : StoreWorkers::Cost::Little;
}

bool MayBeDoneAtOnce(const Call& call)
{
    if (!call.pace || CostOf(call) == StoreWorkers::Cost::Much)
        return false;
    if (call.pace->notAtOnce == 0)
        return true;
    --call.pace->notAtOnce;
    return false;
}

/// What one request took counts an eighth.
void NoteTime(const Call& call, std::chrono::steady_clock::time_point begin)
{
    if (!call.pace)
        return;
    const auto time = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - begin);
    const std::int64_t usual = call.pace->usualTime;
    call.pace->usualTime = usual + (time.count() - usual) / 8;
}

HttpResponse AnswerOfCurrentException()
{
    try {
        throw;
    } catch (const Refusal& refusal) {
        return ErrorResponse(refusal);
    } catch (const Syncra::Protocol::TooLargeFieldException& error) {
        return ErrorResponse(Refusal(ErrorCode::TooLarge, error.what()));
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
    } catch (const std::bad_alloc&) {
        OV::Logger::Error("nexar-server", u"A request failed: there was no memory for it.");
        return ErrorResponse(Refusal(ErrorCode::StoreUnavailable,
                                     "The server has no memory for this now. Try again.")
                                 .With("Retry-After", "1"));
    } catch (const std::exception& error) {
        OV::Logger::Error("nexar-server", u"A request failed: %", {error.what()});
        return ErrorResponse(Refusal(ErrorCode::InternalError,
                                     "The server failed; its log says why. Try again later."));
    }
}

}  // namespace

void Router::AddText(const std::string& method, const std::string& pattern, TextHandler handler,
                     Body size)
{
    const auto access = method == "GET" ? Access::Reads : Access::Writes;
    Insert(
        method, pattern,
        [this, access, handler = std::move(handler)](Call&& call, const Reply& reply) {
            RunOnStore(access, std::move(call), reply, handler, nullptr);
        },
        false, size);
}

void Router::AddAsync(const std::string& method, const std::string& pattern, Check check,
                      AsyncHandler handler)
{
    Insert(
        method, pattern,
        [this, check = std::move(check), handler = std::move(handler)](Call&& call,
                                                                       const Reply& reply) {
            TextHandler work;
            if (check)
                work = [check](Call& checked) {
                    check(checked);
                    return std::string();
                };
            RunOnStore(Access::Reads, std::move(call), reply, std::move(work), handler);
        },
        false, Body::Ordinary);
}

void Router::AddOpen(const std::string& method, const std::string& pattern, AsyncHandler handler)
{
    Insert(method, pattern, std::move(handler), true, Body::Open);
}

void Router::Insert(const std::string& method, const std::string& pattern, AsyncHandler handler,
                    bool open, Body size)
{
    routes_.push_back({method, method + " " + pattern, SplitPattern(pattern), std::move(handler),
                       open, allowBuiltIn_, size, std::make_shared<Call::Pace>()});
}

void Router::operator()(HttpRequest&& request, const Reply& reply) const
{
    Call call{std::move(request), {}, {}};
    Reply answer = reply;
    const Route* route = nullptr;
    try {
        route = &Match(call);
        Admit(*route, call);
        answer = Watched(*route, call, reply);
    } catch (...) {
        return reply(Refused(call));
    }
    try {
        route->handler(std::move(call), answer);
    } catch (...) {
        answer(AnswerOfCurrentException());
    }
}

HttpResponse Router::Refused(const Call& call) const
{
    HttpResponse response = AnswerOfCurrentException();
    watch_.audit.Add(call.request, call.user.userLogin, response);
    return response;
}

Reply Router::Watched(const Route& route, const Call& call, const Reply& reply) const
{
    const std::string owner = Tokens::OwnerOf(call.user, call.request.address);
    const std::size_t most =
        call.user.userId.empty() ? watch_.limits.requestsOfAddress : watch_.limits.requestsOfUser;
    std::size_t& count = watch_.underWay[owner];
    if (count >= most)
        throw Refusal(ErrorCode::TooManyRequests,
                      "You have as many requests under way as you may. Wait for some of them.")
            .With("Retry-After", "1");
    // Named anew, for what is captured of a constant is copied where it could be moved; and from
    // here on nothing may fail.
    auto leave = [this, owner = owner](void*) {
        if (--watch_.underWay[owner] == 0)
            watch_.underWay.erase(owner);
    };
    ++count;
    const std::shared_ptr<void> place(nullptr, std::move(leave));
    HttpRequest head;
    if (watch_.audit.IsOn()) {
        head.method = call.request.method;
        head.path = call.request.path;
        head.address = call.request.address;
    }
    const Reply watched([this, &route, reply, place, head = std::move(head),
                         user = call.user.userLogin,
                         begin = std::chrono::steady_clock::now()](HttpResponse response) {
        watch_.audit.Add(head, response.user.empty() ? user : response.user, response);
        watch_.metrics.Add(route.name, response.status,
                           std::chrono::duration_cast<std::chrono::microseconds>(
                               std::chrono::steady_clock::now() - begin));
        reply(std::move(response));
    });
    reply.WhenGone([abandon = watched.MakeAbandon(), place] { abandon(); });
    return watched;
}

HeadVerdict Router::CheckHead(const HttpRequest& head) const
{
    Call call{head, {}, {}};
    try {
        const Route& route = Match(call);
        Admit(route, call);
        // A page in a browser can send other types to any server in reach of its visitor.
        if (!head.isJson)
            throw Refusal(ErrorCode::BadRequest, "A body must be of the type application/json.",
                          415);
        return {LimitOf(route.size), std::nullopt};
    } catch (...) {
        return {0, Refused(call)};
    }
}

std::size_t Router::LimitOf(Body size) const
{
    switch (size) {
    case Body::Open:
        return watch_.limits.openBodyBytes;
    case Body::Large:
        return watch_.limits.largeBodyBytes;
    case Body::Ordinary:
        break;
    }
    return watch_.limits.bodyBytes;
}

void Router::AnswerText(const Reply& reply, const std::function<std::string()>& makeText)
{
    try {
        reply({200, makeText()});
    } catch (...) {
        reply(AnswerOfCurrentException());
    }
}

void Router::AnswerReading(Call call, const Reply& reply, TextHandler work) const
{
    RunOnStore(Access::Reads, std::move(call), reply, std::move(work), nullptr);
}

void Router::AnswerWriting(Call call, const Reply& reply, TextHandler work) const
{
    RunOnStore(Access::Writes, std::move(call), reply, std::move(work), nullptr);
}

/// Answers with the text of the work, when there is work, or goes on with `next` when there is one.
void Router::RunOnStore(Access access, Call&& call, const Reply& reply, TextHandler work,
                        AsyncHandler next) const
{
    struct Job {
        Call call;
        Reply reply;
        std::string text;
        std::shared_ptr<std::atomic<bool>> isGone;
        bool isPassedOver = false;
    };
    const auto job = std::make_shared<Job>(
        Job{std::move(call), reply, {}, std::make_shared<std::atomic<bool>>(false)});
    // What was to be read is of no use then; what was to be written was asked for.
    reply.WhenGone([isGone = job->isGone] { *isGone = true; });
    const auto owner = Tokens::OwnerOf(job->call.user, job->call.request.address);
    auto run = [this, access, job, work = std::move(work)] {
        job->isPassedOver = access == Access::Reads && work && *job->isGone;
        if (job->isPassedOver)
            return;
        const auto begin = std::chrono::steady_clock::now();
        job->call.findings.clear();
        RequireAccount(job->call);
        if (work)
            job->text = work(job->call);
        NoteTime(job->call, begin);
    };
    auto then = [this, job, next = std::move(next)](std::exception_ptr error) {
        try {
            if (error)
                std::rethrow_exception(error);
            if (job->isPassedOver)
                return;  // there is nothing for what comes next, and nobody
            if (next)
                next(std::move(job->call), job->reply);
            else
                job->reply({200, std::move(job->text)});
        } catch (const Refusal& refusal) {
            // Worth nothing any more: its user was deleted or switched off.
            if (refusal.Code() == ErrorCode::TokenExpired ||
                refusal.Code() == ErrorCode::UserDisabled)
                tokens_.Remove(job->call.request.token, [](const std::exception_ptr&) {});
            job->reply(ErrorResponse(refusal));
        } catch (...) {
            job->reply(AnswerOfCurrentException());
        }
    };
    try {
        if (access == Access::Reads && !workers_.IsBehind(owner) && MayBeDoneAtOnce(job->call)) {
            if (workers_.ReadAtOnce(run, then))
                return;
            job->call.pace->notAtOnce = AttemptsSaved;
        }
        if (access == Access::Reads)
            workers_.Read(owner, std::move(run), std::move(then), CostOf(job->call));
        else
            workers_.Write(owner, std::move(run), std::move(then), order_);
    } catch (const Refusal& refusal) {
        reply(ErrorResponse(refusal));
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
    call.mostValues = watch_.limits.jsonValues;
    call.pace = route.pace;
    if (route.open)
        return;
    auto login = tokens_.Find(call.request.token);
    if (!login)
        throw Refusal(ErrorCode::TokenExpired, "The token is unknown or too old. Sign in again.");
    call.user = *std::move(login);
    if (call.user.isBuiltIn && !route.builtIn)
        throw Refusal(ErrorCode::AccessDenied, "This account may only read presence.");
}

/// A token is worth nothing once its user was deleted or switched off. Its login name may be
/// another one by now.
void Router::RequireAccount(Call& call) const
{
    if (call.user.userLogin.empty())
        return;  // nobody yet
    auto account = tokens_.FindAccount(call.user, call.request.token);
    if (account && account->enabled) {
        call.user.userLogin = std::move(account->login);
        return;
    }
    if (!account)
        throw Refusal(ErrorCode::TokenExpired,
                      "The token is void: it ended, or its user was deleted. Sign in again.");
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

}  // namespace Nexar
