#pragma once

// A connection of the server, whatever lies below it. For HttpServer.cpp alone: Beast takes most of
// the server's compile time.

#include "Guarded.hpp"
#include "HttpServer.hpp"
#include "Share.hpp"

#include "SyncraProtocol/ErrorCode.hpp"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/network_v6.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <array>
#include <list>
#include <memory>
#include <new>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace Nexar::Http {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using std::chrono::seconds;
using Syncra::Protocol::ErrorCode;

inline constexpr std::uint32_t MaximumHeaderBytes = 16u << 10;
/// Until the first byte of a new connection.
inline constexpr seconds FirstTime{10};
/// How long a refused client may go on sending before the connection is cut.
inline constexpr seconds DrainTime{5};
inline constexpr std::size_t MostDrained = 32u << 20;

using Parser = http::request_parser<http::string_body>;
using Plain = beast::tcp_stream;
using Tls = asio::ssl::stream<beast::tcp_stream>;
using Streams = std::list<Plain*>;

/// What the connections share with their server. The context comes last: it goes first, and with it
/// the connections.
struct Shared {
    HttpLimits limits;
    Streams idle;       ///< wait for a request, may be closed at any time
    Streams receiving;  ///< have begun a request, or drain a refused one
    std::size_t connections = 0;
    std::size_t turnedAway = 0;  ///< are being told that there is no room for them
    std::unordered_map<std::string, std::size_t> addresses;  ///< connections of each
    std::size_t bytesInFlight = 0;
    std::size_t underWay = 0;  ///< requests that are being answered, the held ones among them
    bool draining = false;     ///< goes on, but no connection outlives its answer
    bool stopping = false;
    HttpServer::Traffic traffic;
    std::shared_ptr<asio::ssl::context> tls;  ///< none: plain connections
    asio::io_context context{1};
};

inline constexpr std::size_t ReadBytes = 4096;
/// Of a client that waits for an answer, from whom nothing is expected.
inline constexpr std::size_t WatchBytes = 64;
/// At a time, so that a large answer keeps nobody waiting while the system takes it.
inline constexpr std::size_t WriteBytes = 256u << 10;
/// Of what a client sends while it waits for an answer, and of a body that is being received.
inline constexpr std::size_t MostBuffered = 16u << 20;
/// For the last words of a protected connection.
inline constexpr seconds FarewellTime{2};

/// Whom the limits of an address are for: of the long addresses, which every client has many of,
/// the network.
inline std::string AddressShare(const asio::ip::address& address)
{
    if (!address.is_v6())
        return address.to_string();
    const auto v6 = address.to_v6();
    if (v6.is_v4_mapped())
        return asio::ip::make_address_v4(asio::ip::v4_mapped, v6).to_string();
    return asio::ip::make_network_v6(v6, 64).canonical().to_string();
}

/// Keeps a stream in a list while it lives.
class Listed {
public:
    Listed(Streams& list, Plain& stream) : list_(list), place_(list.insert(list.end(), &stream)) {}
    ~Listed() { list_.erase(place_); }
    Listed(const Listed&) = delete;
    Listed& operator=(const Listed&) = delete;

private:
    Streams& list_;
    Streams::iterator place_;
};

inline void CancelAll(const Streams& streams)
{
    for (auto* stream : streams)
        stream->cancel();
}

inline HttpResponse ComeAgain(const char* message)
{
    HttpResponse response =
        ErrorResponse(429, static_cast<std::int32_t>(ErrorCode::TooManyRequests), message);
    response.headers.emplace_back("Retry-After", "2");
    return response;
}

inline HttpResponse TooMuchInFlight()
{
    return ComeAgain("The server receives as much as it can. Try again in a moment.");
}

inline HttpResponse RefusalOf(const beast::error_code& error)
{
    // As Beast tells that there is no memory for a body.
    if (error == http::error::buffer_overflow)
        return TooMuchInFlight();
    const auto refuse = [](int status, ErrorCode code, const char* message) {
        return ErrorResponse(status, static_cast<std::int32_t>(code), message);
    };
    if (error == http::error::body_limit)
        return refuse(413, ErrorCode::TooLarge, "The body is larger than this request may have.");
    if (error == http::error::header_limit)
        return refuse(431, ErrorCode::TooLarge, "The header is larger than 16 KiB.");
    return refuse(400, ErrorCode::BadRequest, "This is no HTTP/1.1 request.");
}

/// Errors after which nobody listens for an answer: all that are not about what the request says.
inline bool IsGone(const beast::error_code& error)
{
    return error == http::error::end_of_stream || error == http::error::partial_message ||
           error.category() != http::make_error_code(http::error::bad_value).category();
}

/// All that stands before the body.
inline std::string HeadOf(const HttpResponse& response, unsigned version, bool keepAlive)
{
    constexpr unsigned version10 = 10;
    const beast::string_view reason =
        http::obsolete_reason(static_cast<http::status>(response.status));
    constexpr std::size_t usualBytes = 256;
    std::string head;
    head.reserve(usualBytes);
    head += version == version10 ? "HTTP/1.0 " : "HTTP/1.1 ";
    head.append(std::to_string(response.status)).append(" ");
    head.append(reason.data(), reason.size());
    head += "\r\n";
    bool hasType = false;
    for (const auto& [name, value] : response.headers) {
        head.append(name).append(": ").append(value).append("\r\n");
        hasType = hasType || name == "Content-Type";
    }
    if (!hasType)
        head += "Content-Type: application/json\r\n";
    if (!keepAlive)
        head += "Connection: close\r\n";
    else if (version == version10)
        head += "Connection: keep-alive\r\n";
    head.append("Content-Length: ").append(std::to_string(response.body.size()));
    return head.append("\r\n\r\n");
}

inline std::string BearerToken(beast::string_view header)
{
    constexpr beast::string_view scheme = "Bearer ";
    return beast::iequals(header.substr(0, scheme.size()), scheme)
               ? std::string(header.substr(scheme.size()))
               : std::string();
}

/// Null, or what is wrong with it.
inline const char* ReadHead(const Parser::value_type& message, HttpRequest& request)
{
    if (!ParseTarget({message.target().data(), message.target().size()}, request))
        return "The path or the query is damaged.";
    const beast::string_view coding = message[http::field::transfer_encoding];
    if (!coding.empty() && !beast::iequals(coding, "chunked"))
        return "A body may come in chunks, and coded in no other way.";
    request.method = std::string(message.method_string());
    request.token = BearerToken(message[http::field::authorization]);
    const beast::string_view type = message[http::field::content_type];
    request.isJson = beast::iequals(type.substr(0, type.find(';')), "application/json");
    return nullptr;
}

/// One request with its handler. Whichever comes first ends it: the answer, or the client's going.
template <class Stream>
class Exchange : public std::enable_shared_from_this<Exchange<Stream>> {
public:
    using Outcome = std::shared_ptr<HttpResponse>;  ///< empty when the client has gone

    /// What the client sends meanwhile goes into the buffer.
    Exchange(Stream& stream, beast::flat_buffer& buffer) : stream_(stream), buffer_(buffer) {}

    asio::awaitable<Outcome> Run(const HttpHandler& handler, HttpRequest request)
    {
        // A reply that outlives the connection has nobody to resume.
        const std::shared_ptr<void> end(nullptr, [this](void*) { hasFinished_ = true; });
        Begin(handler, std::move(request));
        if (!hasFinished_ || isReading_) {
            auto wait = [this](auto completion) {
                auto shared = std::make_shared<decltype(completion)>(std::move(completion));
                resume_ = [shared] { (*shared)(); };
            };
            co_await asio::async_initiate<const asio::use_awaitable_t<>&, void()>(
                std::move(wait), asio::use_awaitable);
        }
        co_return std::move(outcome_);
    }

private:
    /// Most handlers have answered when it returns.
    void Begin(const HttpHandler& handler, HttpRequest&& request)
    {
        const Reply reply([self = this->shared_from_this()](HttpResponse response) {
            self->Finish(std::move(response));
        });
        try {
            handler(std::move(request), reply);
            // More requests may have come already: his going is noticed behind them.
            if (!hasFinished_ && buffer_.size() == 0)
                Watch(reply.MakeAbandon());
        } catch (...) {
            // Must not leave here while the reply may still come. Dropping it answers with an
            // internal error.
        }
    }

    void Finish(HttpResponse response)
    {
        if (hasFinished_)
            return;
        hasFinished_ = true;
        try {
            outcome_ = std::make_shared<HttpResponse>(std::move(response));
        } catch (const std::bad_alloc&) {
            // His connection is closed instead.
        }
        if (isReading_) {
            // The buffer is the read's until that has ended, too.
            beast::error_code ignored;
            beast::get_lowest_layer(stream_).socket().cancel(ignored);
        } else {
            Resume();
        }
    }

    /// Posted: a handler must not resume what it is a part of.
    void Resume()
    {
        if (resume_)
            asio::post(stream_.get_executor(), std::exchange(resume_, nullptr));
    }

    void Watch(std::function<void()> abandon)
    {
        // Thousands of requests are held at once.
        buffer_.shrink_to_fit();
        stream_.async_read_some(buffer_.prepare(WatchBytes),
                                [self = this->shared_from_this(), abandon = std::move(abandon)](
                                    const beast::error_code& error, std::size_t size) {
                                    self->isReading_ = false;
                                    self->buffer_.commit(size);
                                    if (!self->hasFinished_ && error) {
                                        self->hasFinished_ = true;
                                        RunGuarded(abandon);
                                    }
                                    if (self->hasFinished_)
                                        self->Resume();
                                });
        isReading_ = true;
    }

    Stream& stream_;
    beast::flat_buffer& buffer_;
    bool isReading_ = false;
    bool hasFinished_ = false;
    Outcome outcome_;
    std::function<void()> resume_;
};

struct Listener {
    tcp::acceptor acceptor;
    asio::steady_timer pause;
    HttpServer::Audience audience;
    HttpHandler handler;
    HeadCheck check;
};

/// A place among the connections of all and of one address.
class Place {
public:
    Place(Shared& shared, std::string address) : shared_(shared), address_(std::move(address))
    {
        ++shared_.addresses[address_];
        ++shared_.connections;
    }
    ~Place()
    {
        --shared_.connections;
        if (--shared_.addresses[address_] == 0)
            shared_.addresses.erase(address_);
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

private:
    Shared& shared_;
    std::string address_;
};

// A function of its own for each kind of stream: within the template below g++ 12 loses what a
// waiting handshake has to keep.
inline asio::awaitable<bool> ShakeHands(Shared&, Plain&)
{
    co_return true;
}

inline asio::awaitable<bool> ShakeHands(Shared& shared, Tls& stream)
{
    const Listed listed(shared.idle, stream.next_layer());
    stream.next_layer().expires_after(FirstTime);
    auto [error] = co_await stream.async_handshake(asio::ssl::stream_base::server,
                                                   asio::as_tuple(asio::use_awaitable));
    co_return !error;
}

inline asio::awaitable<void> EndSending(Shared&, Plain& stream)
{
    beast::error_code ignored;
    stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
    co_return;
}

inline asio::awaitable<void> EndSending(Shared& shared, Tls& stream)
{
    {
        const Listed listed(shared.receiving, stream.next_layer());
        stream.next_layer().expires_after(FarewellTime);
        co_await stream.async_shutdown(asio::as_tuple(asio::use_awaitable));
    }
    co_await EndSending(shared, stream.next_layer());
}

template <class Stream>
class Connection {
public:
    Connection(Shared& shared, Stream stream, const Listener& listener, std::string address)
        : shared_(shared), stream_(std::move(stream)), handler_(listener.handler),
          check_(listener.check), address_(std::move(address))
    {
        beast::error_code ignored;
        Lowest().socket().set_option(tcp::no_delay(true), ignored);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    asio::awaitable<void> Serve()
    {
        bool goesOn = co_await ShakeHands(shared_, stream_);
        if (!goesOn)
            co_return;
        while (goesOn)
            goesOn = co_await ServeOne();
        co_await EndSending(shared_, stream_);
    }

    /// Tells a client for whom there is no room.
    asio::awaitable<void> TurnAway()
    {
        const Share told(shared_.turnedAway, 1);
        co_await Refuse(
            ComeAgain("There are too many connections, of the server or of your address."));
    }

private:
    /// How a request is to be answered.
    struct Manner {
        bool isHead;
        bool keepAlive;
        unsigned version;
    };

    [[nodiscard]] Plain& Lowest() { return beast::get_lowest_layer(stream_); }

    /// Whether another request may follow.
    asio::awaitable<bool> ServeOne()
    {
        bool goesOn = !shared_.stopping;
        if (goesOn && buffer_.size() == 0)
            goesOn = co_await WaitForRequest();
        if (!goesOn)
            co_return false;
        buffer_.reserve(ReadBytes);
        HttpRequest request;
        const auto manner = co_await Receive(request);
        if (!manner)
            co_return false;
        auto response = co_await Answer(std::move(request));
        if (!response)
            co_return false;
        // An answer to HEAD carries no body, or the client takes it for the next answer.
        if (manner->isHead)
            response->body.clear();
        const bool goOn = manner->keepAlive && !shared_.draining && !shared_.stopping;
        const bool isWritten = co_await Write(*response, manner->version, goOn);
        co_return isWritten&& goOn;
    }

    asio::awaitable<bool> WaitForRequest()
    {
        const Listed listed(shared_.idle, Lowest());
        Lowest().expires_after(hadRequest_ ? seconds(shared_.limits.idleSeconds) : FirstTime);
        auto [error, size] = co_await stream_.async_read_some(buffer_.prepare(ReadBytes),
                                                              asio::as_tuple(asio::use_awaitable));
        buffer_.commit(size);
        hadRequest_ = true;
        co_return !error && size > 0;
    }

    /// Head and body; none when there is nothing to answer any more. What it was parsed with is
    /// gone when the request is answered, which may take a minute.
    asio::awaitable<std::optional<Manner>> Receive(HttpRequest& request)
    {
        Parser parser;
        const bool isWhole = co_await Receive(parser, request);
        if (!isWhole)
            co_return std::nullopt;
        request.body = std::move(parser.get().body());
        const bool isHead = parser.get().method() == http::verb::head;
        co_return Manner{isHead, parser.get().keep_alive() && !isHead, parser.get().version()};
    }

    asio::awaitable<bool> Receive(Parser& parser, HttpRequest& request)
    {
        // What the body may be the head's check says.
        parser.body_limit(boost::none);
        parser.header_limit(MaximumHeaderBytes);
        auto error = co_await ReceiveHead(parser);
        const char* const problem = error ? nullptr : ReadHead(parser.get(), request);
        if (problem != nullptr) {
            auto refusal =
                ErrorResponse(400, static_cast<std::int32_t>(ErrorCode::BadRequest), problem);
            co_await Refuse(std::move(refusal));
            co_return false;
        }
        request.address = Address(parser.get());
        if (error || parser.is_done()) {
            const bool isWhole = co_await IsWhole(error);
            co_return isWhole;
        }
        const HeadVerdict verdict = check_(request);
        if (verdict.refusal) {
            co_await Refuse(*verdict.refusal);
            co_return false;
        }
        const std::uint64_t size = parser.content_length().value_or(verdict.bodyLimit);
        if (size > verdict.bodyLimit) {
            const bool isWhole = co_await IsWhole(http::error::body_limit);
            co_return isWhole;
        }
        if (shared_.bytesInFlight + size > shared_.limits.bytesInFlight) {
            co_await Refuse(TooMuchInFlight());
            co_return false;
        }
        const Share share(shared_.bytesInFlight, static_cast<std::size_t>(size));
        parser.body_limit(verdict.bodyLimit);
        error = co_await ReceiveBody(parser);
        const bool isWhole = co_await IsWhole(error);
        co_return isWhole;
    }

    /// Answers an error that the client hears of.
    asio::awaitable<bool> IsWhole(beast::error_code error)
    {
        if (error && !IsGone(error))
            co_await Refuse(RefusalOf(error));
        co_return !error;
    }

    asio::awaitable<beast::error_code> ReceiveHead(Parser& parser)
    {
        const Listed listed(shared_.receiving, Lowest());
        Lowest().expires_after(seconds(shared_.limits.deliverySeconds));
        auto [error, size] = co_await http::async_read_header(stream_, buffer_, parser,
                                                              asio::as_tuple(asio::use_awaitable));
        co_return error;
    }

    asio::awaitable<beast::error_code> ReceiveBody(Parser& parser)
    {
        const Listed listed(shared_.receiving, Lowest());
        // Without this a client waits a second or more before it sends a large body.
        if (beast::iequals(parser.get()[http::field::expect], "100-continue"))
            co_await SendContinue();
        auto [error, size] = co_await http::async_read(stream_, buffer_, parser,
                                                       asio::as_tuple(asio::use_awaitable));
        co_return error;
    }

    asio::awaitable<void> SendContinue()
    {
        constexpr std::string_view line = "HTTP/1.1 100 Continue\r\n\r\n";
        co_await asio::async_write(stream_, asio::buffer(line),
                                   asio::as_tuple(asio::use_awaitable));
    }

    asio::awaitable<typename Exchange<Stream>::Outcome> Answer(HttpRequest request)
    {
        // A held request waits longer than any delivery; its handler bounds it.
        Lowest().expires_never();
        const Share underWay(shared_.underWay, 1);
        const auto exchange = std::make_shared<Exchange<Stream>>(stream_, buffer_);
        ++shared_.traffic.requests;
        shared_.traffic.bytes += request.body.size();
        auto outcome = co_await exchange->Run(handler_, std::move(request));
        co_return outcome;
    }

    asio::awaitable<bool> Write(const HttpResponse& response, unsigned version, bool keepAlive)
    {
        Lowest().expires_after(seconds(shared_.limits.deliverySeconds));
        // A small answer goes in one piece.
        std::string text = HeadOf(response, version, keepAlive);
        std::string_view rest = response.body;
        text += rest.substr(0, WriteBytes);
        rest.remove_prefix(std::min(rest.size(), WriteBytes));
        auto [error, size] = co_await asio::async_write(stream_, asio::buffer(text),
                                                        asio::as_tuple(asio::use_awaitable));
        shared_.traffic.bytes += size;
        while (!error && !rest.empty()) {
            std::tie(error, size) =
                co_await asio::async_write(stream_, asio::buffer(rest.substr(0, WriteBytes)),
                                           asio::as_tuple(asio::use_awaitable));
            shared_.traffic.bytes += size;
            rest.remove_prefix(std::min(rest.size(), WriteBytes));
        }
        co_return !error;
    }

    /// Answers and reads on for a while: closing with unread data would reset the connection, and
    /// the client would never see the answer.
    asio::awaitable<void> Refuse(HttpResponse response)
    {
        const bool isWritten = co_await Write(response, 11, false);
        if (!isWritten)
            co_return;
        co_await EndSending(shared_, stream_);
        const Listed listed(shared_.receiving, Lowest());
        Lowest().expires_after(DrainTime);
        std::array<char, 16384> dropped;
        for (std::size_t total = 0; total < MostDrained;) {
            auto [error, size] = co_await Lowest().async_read_some(
                asio::buffer(dropped), asio::as_tuple(asio::use_awaitable));
            if (error)
                break;
            total += size;
        }
    }

    /// Of the client: a proxy in front says whom it speaks for, last of all those named.
    [[nodiscard]] std::string Address(const Parser::value_type& message) const
    {
        if (!shared_.limits.isBehindProxy || !shared_.limits.IsNamed(address_))
            return address_;
        beast::string_view named = message["X-Forwarded-For"];
        named.remove_prefix(named.rfind(',') + 1);
        while (named.starts_with(' '))
            named.remove_prefix(1);
        beast::error_code error;
        const auto address = asio::ip::make_address(std::string(named), error);
        return error ? address_ : AddressShare(address);
    }

    Shared& shared_;
    Stream stream_;
    const HttpHandler& handler_;
    const HeadCheck& check_;
    std::string address_;  ///< numeric
    bool hadRequest_ = false;
    beast::flat_buffer buffer_{MostBuffered};
};

}  // namespace Nexar::Http
