#pragma once

#include "AuditLog.hpp"
#include "Http.hpp"
#include "Limits.hpp"
#include "Metrics.hpp"
#include "Refusal.hpp"
#include "StoreWorkers.hpp"
#include "Tokens.hpp"

#include "SyncraProtocol/Detail/JsonText.hpp"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Nexar {

/// One request on its way through a handler.
struct Call {
    HttpRequest request;
    std::vector<std::string> parameters;  ///< what stood for each {} of the pattern, in order
    Tokens::Login user;
    std::vector<std::string> findings = {};  ///< what a check looked up for its handler
    std::size_t mostValues = 0;              ///< of the body
    /// How the work of its route went lately; none for what was asked by no request of its own.
    struct Pace {
        std::atomic<std::int64_t> usualTime = 0;  ///< in microseconds
        int notAtOnce = 0;                        ///< so many of the next are not tried at once
    };
    std::shared_ptr<Pace> pace = nullptr;

    /// The record of the body. Throws MalformedRecordException.
    template <class Record>
    [[nodiscard]] Record Read() const
    {
        return Syncra::Protocol::ReadRequest<Record>(request.body, mostValues);
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
    /// What all routers of a server share.
    struct Watch {
        const Limits& limits;
        AuditLog& audit;
        Metrics& metrics;
        std::unordered_map<std::string, std::size_t> underWay = {};  ///< requests of each owner
    };
    /// Makes the text of an answer on a thread that reads or writes the store. May throw.
    using TextHandler = std::function<std::string(Call&)>;
    /// Looks at the store for a handler that cannot: on a thread that reads it. May throw.
    using Check = std::function<void(Call&)>;
    /// Answers through `reply`, later if need be, on the server's thread.
    using AsyncHandler = std::function<void(Call&&, const Reply&)>;

    /// `order` is that of all that its routes write.
    Router(Tokens& tokens, StoreWorkers& workers, Watch& watch,
           StoreWorkers::Order order = StoreWorkers::Order::Beside)
        : tokens_(tokens), workers_(workers), watch_(watch), order_(order)
    {}

    /// How large a body may be.
    enum class Body { Open, Ordinary, Large };

    /// `pattern` is like "/syncra/v1/projects/{}/state". `handler` takes a Call and answers with
    /// the record that it returns, the text when that is JSON already, {} when it returns nothing,
    /// or what it throws: of a GET on a thread that reads the store, otherwise on the one that
    /// writes it.
    template <class Handler>
    void Add(const std::string& method, const std::string& pattern, Handler handler,
             Body size = Body::Ordinary)
    {
        AddText(
            method, pattern,
            [handler = std::move(handler)](const Call& call) {
                const auto work = [&] { return handler(call); };
                return JsonOf(work);
            },
            size);
    }
    /// For what may wait, or is about what the server's thread alone may touch.
    void AddAsync(const std::string& method, const std::string& pattern, Check check,
                  AsyncHandler handler);
    /// A route for which nobody needs to be signed in.
    void AddOpen(const std::string& method, const std::string& pattern, AsyncHandler handler);
    /// Lets the built-in presence account use the routes added from here on.
    void AllowBuiltIn(bool allow) { allowBuiltIn_ = allow; }

    void operator()(HttpRequest&& request, const Reply& reply) const;
    /// Whether the request will be let in, and how large its body may be.
    [[nodiscard]] HeadVerdict CheckHead(const HttpRequest& head) const;
    /// Answers with what `work` returns, as a handler of Add does: for one that answers later.
    template <class Work>
    static void Answer(const Reply& reply, Work&& work)
    {
        AnswerText(reply, [&] { return JsonOf(work); });
    }
    /// The same with work that reads or writes the store, on a thread that does.
    void AnswerReading(Call call, const Reply& reply, TextHandler work) const;
    void AnswerWriting(Call call, const Reply& reply, TextHandler work) const;

private:
    enum class Access { Reads, Writes };
    void AddText(const std::string& method, const std::string& pattern, TextHandler handler,
                 Body size);
    void RunOnStore(Access access, Call&& call, const Reply& reply, TextHandler work,
                    AsyncHandler next) const;
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
        std::string name;
        std::vector<std::string> pattern;
        AsyncHandler handler;
        bool open;
        bool builtIn;
        Body size;
        std::shared_ptr<Call::Pace> pace;
    };
    [[nodiscard]] std::size_t LimitOf(Body size) const;
    void Insert(const std::string& method, const std::string& pattern, AsyncHandler handler,
                bool open, Body size);
    [[nodiscard]] const Route& Match(Call& call) const;
    /// Counts the request as the user's until it is answered or its client has gone, and notes the
    /// answer. Throws Refusal when he has too many.
    [[nodiscard]] Reply Watched(const Route& route, const Call& call, const Reply& reply) const;
    /// The answer for the exception at hand, which kept a call from its handler; noted.
    [[nodiscard]] HttpResponse Refused(const Call& call) const;
    void Admit(const Route& route, Call& call) const;
    void RequireAccount(Call& call) const;

    Tokens& tokens_;
    StoreWorkers& workers_;
    Watch& watch_;
    StoreWorkers::Order order_;
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
