#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Nexar {

struct HttpRequest {
    std::string method;
    std::vector<std::string> path;             ///< percent-decoded components
    std::map<std::string, std::string> query;  ///< percent-decoded
    std::string token;                         ///< of "Authorization: Bearer"
    std::string address;                       ///< of the client, without its port
    bool isJson = false;                       ///< its type says so
    std::string body;
};

struct HttpResponse {
    int status = 200;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers =
        {};                 ///< beside those of every answer
    std::string user = {};  ///< whom a sign-in was about, for the audit log
};

/// Answers one request, now or later, on the server's thread. Copies share the one answer: the
/// first call counts. When the last copy goes without a call, the client gets an internal error.
class Reply {
public:
    using Completion = std::function<void(HttpResponse)>;

    explicit Reply(Completion completion) : state_(std::make_shared<State>(std::move(completion)))
    {}
    void operator()(HttpResponse response) const { state_->Complete(std::move(response)); }

    /// Runs `gone` when the client goes before it was answered, so that nothing is kept for it.
    void WhenGone(std::function<void()> gone) const { state_->gone = std::move(gone); }
    /// For the server: what it calls when the client has gone. Does not keep the reply alive.
    [[nodiscard]] std::function<void()> MakeAbandon() const;

private:
    struct State {
        explicit State(Completion complete) : completion(std::move(complete)) {}
        ~State();
        void Complete(HttpResponse response);
        void Abandon();
        Completion completion;
        std::function<void()> gone;
    };
    std::shared_ptr<State> state_;
};

using HttpHandler = std::function<void(HttpRequest&&, const Reply&)>;

/// What is to become of a request whose head has come: its body may have at most so many bytes, or
/// it is answered without one.
struct HeadVerdict {
    std::size_t bodyLimit = 0;
    std::optional<HttpResponse> refusal;
};
/// Looks at a request that has no body yet, so that strangers cannot make the server hold theirs.
using HeadCheck = std::function<HeadVerdict(const HttpRequest&)>;

/// {"code": n, "message": "..."} with the given status.
[[nodiscard]] HttpResponse ErrorResponse(int status, std::int32_t code, std::string_view message);

/// A whole number; nothing when the text is anything else.
[[nodiscard]] std::optional<std::uint64_t> ReadNumber(std::string_view text);

/// Takes "/a/b%20c?d=e" apart; false when the encoding is damaged.
[[nodiscard]] bool ParseTarget(std::string_view target, HttpRequest& request);

}  // namespace Nexar
