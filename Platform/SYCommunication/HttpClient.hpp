#pragma once

#include "OVRoot/Export.hpp"
#include "SYCommunication/CommunicationException.hpp"
#include "SYCommunication/HttpOptions.hpp"
#include "SYCommunication/ServerAddress.hpp"
#include "SYCommunication/UntrustedServer.hpp"

#include <memory>
#include <stop_token>

namespace Communication {

/// What is done with the target.
enum class HttpMethod { Get, Post, Put, Delete };

/// What is asked of a service.
struct HttpRequest {
    HttpMethod method = HttpMethod::Get;  ///< what is done with the target
    /// Path and query, already percent-encoded; begins with "/".
    OV::String target;
    /// JSON, or the bytes of a picture; empty for none.
    OV::String body;
    /// For "Authorization: Bearer"; empty for none.
    OV::String token;
    /// How long the transfer may stand still; 0 for what the client's options say.
    std::uint32_t timeoutMilliseconds = 0;
};

/// What a service answered.
struct HttpResponse {
    int status = 0;   ///< HTTP's number, 200 for "here you are"
    OV::String body;  ///< all of it, of at most HttpOptions::maximumAnswerBytes
    /// How many seconds the server asks to wait before the next try; 0 when it does not.
    std::uint32_t retryAfterSeconds = 0;
};

/// Sets up what clients stand on, which otherwise the first of them does. Whoever ends requests
/// when the process ends calls it before he registers that: then they end before it is taken down.
SYC_API void PrepareTransport();

/// One keep-alive connection to one service. Perform is synchronous; one thread at a time, but
/// Cancel may be called from any. A request whose kept connection turned out dead before it was
/// sent is sent once more on a new one; one that a busy server refused (429, 503) and wants later
/// is sent again when the server says, within the time that a request may take. Nothing is sent to
/// a server that is not trusted (see ServerTrust.hpp).
class SYC_API HttpClient {
public:
    /// Connects to nothing before the first request.
    HttpClient(ServerAddress address, HttpOptions options = {});
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// Any status is an answer, not an error. Throws UntrustedServerException, after the user was
    /// asked or told, ConnectionException, TimeoutException, MalformedResponseException, and
    /// OV::InterruptedException when the calling thread's interruption flag is set or Cancel is
    /// called, within 100 ms.
    [[nodiscard]] HttpResponse Perform(const HttpRequest& request);

    /// Sends a last word that nobody depends on, on the connection that is kept; without one
    /// nothing happens. Neither connects, nor asks anybody, nor waits for more than a millisecond.
    void SendLast(HttpRequest request) noexcept;

    /// Makes a TLS connection and ends it in the handshake: the certificate of the server, and what
    /// is wrong with it. Asks nobody and sends no request. Throws as Perform does.
    [[nodiscard]] UntrustedServer ReadCertificate();

    /// Ends the request under way, and every later one, with OV::InterruptedException.
    void Cancel();

    /// Where the service listens.
    [[nodiscard]] const ServerAddress& GetAddress() const noexcept { return address_; }

private:
    struct State;
    void ThrowIfUnusable() const;
    [[nodiscard]] HttpResponse PerformTrusted(const HttpRequest& request,
                                              const std::stop_token& token);
    [[nodiscard]] HttpResponse PerformOnce(const HttpRequest& request, std::stop_token token);
    ServerAddress address_;
    std::unique_ptr<State> state_;
};

}  // namespace Communication
