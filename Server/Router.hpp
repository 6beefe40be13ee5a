#pragma once

#include "Http.hpp"
#include "Refusal.hpp"
#include "TokenTable.hpp"
#include "UserStore.hpp"

#include "SyncraProtocol/Detail/JsonText.hpp"

#include <functional>
#include <string>
#include <vector>

namespace Nexar {

/// One request on its way through a handler.
struct Call {
    HttpRequest request;
    std::vector<std::string> parameters;  ///< what stood for each {} of the pattern, in order
    TokenTable::Login user;

    /// The record of the body. Throws MalformedRecordException.
    template <class Record>
    [[nodiscard]] Record Read() const
    {
        return Syncra::Protocol::ReadRequest<Record>(request.body);
    }
    /// A query value as a whole number; `fallback` when absent. Throws Refusal.
    [[nodiscard]] std::uint64_t QueryNumber(const std::string& name, std::uint64_t fallback) const;
    /// A query value that must be there. Throws Refusal.
    [[nodiscard]] std::string QueryText(const std::string& name) const;
};

/// Finds the handler of a request, checks its token, and turns whatever a handler throws into an
/// answer: nothing that a client sends ends the process.
class Router {
public:
    /// Answers through `reply`, later if need be.
    using AsyncHandler = std::function<void(Call, Reply)>;

    Router(TokenTable& tokens, UserStore& users) : tokens_(tokens), users_(users) {}

    /// The most bytes of a body, but for the routes that say otherwise.
    static constexpr std::size_t OrdinaryBody = std::size_t{4} << 20;
    static constexpr std::size_t LargeBody = std::size_t{16} << 20;
    /// Enough for a name and a password, however they are escaped.
    static constexpr std::size_t OpenBody = std::size_t{16} << 10;

    /// `pattern` is like "/syncra/v1/projects/{}/state". `handler` takes a Call and answers at
    /// once: with the record that it returns, the text when that is JSON already, {} when it
    /// returns nothing, or what it throws.
    template <class Handler>
    void Add(const std::string& method, const std::string& pattern, Handler handler,
             std::size_t bodyLimit = OrdinaryBody)
    {
        Insert(
            method, pattern,
            [handler = std::move(handler)](const Call& call, const Reply& reply) {
                Answer(reply, [&] { return handler(call); });
            },
            false, bodyLimit);
    }
    void AddAsync(const std::string& method, const std::string& pattern, AsyncHandler handler);
    /// A route for which nobody needs to be signed in.
    void AddOpen(const std::string& method, const std::string& pattern, AsyncHandler handler);
    /// Lets the built-in presence account use the routes added from here on.
    void AllowBuiltIn(bool allow) { allowBuiltIn_ = allow; }

    void operator()(HttpRequest request, const Reply& reply) const;
    /// Whether the request will be let in, and how large its body may be.
    [[nodiscard]] HeadVerdict CheckHead(const HttpRequest& head) const;
    /// Answers with what `work` returns, as a handler of Add does: for one that answers later.
    template <class Work>
    static void Answer(const Reply& reply, Work&& work)
    {
        AnswerText(reply, [&] { return JsonOf(work); });
    }

private:
    static void AnswerText(const Reply& reply, const std::function<std::string()>& makeText);
    template <class Work>
    static std::string JsonOf(Work& work)
    {
        using Result = decltype(work());
        if constexpr (std::is_void_v<Result>) {
            work();
            return "{}";
        } else if constexpr (std::same_as<Result, std::string>) {
            return work();
        } else {
            return Syncra::Protocol::WriteJson(work());
        }
    }

    struct Route {
        std::string method;
        std::vector<std::string> pattern;
        AsyncHandler handler;
        bool open;
        bool builtIn;
        std::size_t bodyLimit;
    };
    void Insert(const std::string& method, const std::string& pattern, AsyncHandler handler,
                bool open, std::size_t bodyLimit);
    [[nodiscard]] const Route& Match(Call& call) const;
    void Admit(const Route& route, Call& call) const;
    void RequireAccount(TokenTable::Login& login, const std::string& token) const;

    TokenTable& tokens_;
    UserStore& users_;
    std::vector<Route> routes_;
    bool allowBuiltIn_ = false;
};

/// The answer for a caught refusal.
[[nodiscard]] HttpResponse ErrorResponse(const Refusal& refusal);
template <class Record>
[[nodiscard]] HttpResponse JsonResponse(const Record& record)
{
    return {200, Syncra::Protocol::WriteJson(record)};
}

}  // namespace Nexar
