// The one unit that sees Beast: it takes most of the server's compile time.
#include "HttpServer.hpp"

#include "OVRoot/Logger.hpp"
#include "OVRoot/System.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <array>
#include <csignal>
#include <list>
#include <memory>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace Nexar {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using std::chrono::seconds;
using Syncra::Protocol::ErrorCode;

constexpr std::size_t MaximumBodyBytes = 16u << 20;
/// Of all bodies that are on their way.
constexpr std::size_t MaximumBytesInFlight = 256u << 20;
constexpr std::uint32_t MaximumHeaderBytes = 16u << 10;
constexpr std::size_t MaximumConnections = 2000;
/// Of the store, the log, the ports and of those who are turned away.
constexpr std::size_t OtherDescriptors = 64;
constexpr seconds IdleTime{120};
/// Until the first byte of a new connection.
constexpr seconds FirstTime{10};
constexpr seconds DeliveryTime{30};
constexpr seconds LongestStop{10};
/// What a client has begun to send when the server stops may still arrive for so long.
constexpr seconds LateDelivery{1};
/// How long a refused client may go on sending before the connection is cut.
constexpr seconds DrainTime{5};

using Parser = http::request_parser<http::string_body>;

using Streams = std::list<beast::tcp_stream*>;

/// What the connections share with their server. The context comes last: it goes first, and with it
/// the connections.
struct Shared {
    Streams idle;       ///< wait for a request, may be closed at any time
    Streams receiving;  ///< have begun a request, or drain a refused one
    std::size_t connections = 0;
    const std::size_t maximumConnections =
        std::min(MaximumConnections, OV::System::RaiseDescriptorLimit() - OtherDescriptors);
    std::size_t bytesInFlight = 0;
    bool stopping = false;
    HttpServer::Traffic traffic;
    asio::io_context context{1};
};

/// Keeps a stream in a list while it lives.
class Listed {
public:
    Listed(Streams& list, beast::tcp_stream& stream)
        : list_(list), place_(list.insert(list.end(), &stream))
    {}
    ~Listed() { list_.erase(place_); }
    Listed(const Listed&) = delete;
    Listed& operator=(const Listed&) = delete;

private:
    Streams& list_;
    Streams::iterator place_;
};

void CancelAll(const Streams& streams)
{
    for (auto* stream : streams)
        stream->cancel();
}

HttpResponse RefusalOf(const beast::error_code& error)
{
    const auto refuse = [](int status, ErrorCode code, const char* message) {
        return ErrorResponse(status, static_cast<std::int32_t>(code), message);
    };
    if (error == http::error::body_limit)
        return refuse(413, ErrorCode::TooLarge, "The body is larger than this request may have.");
    if (error == http::error::header_limit)
        return refuse(431, ErrorCode::TooLarge, "The header is larger than 16 KiB.");
    return refuse(400, ErrorCode::BadRequest, "This is no HTTP/1.1 request.");
}

HttpResponse TooMuchInFlight()
{
    HttpResponse response =
        ErrorResponse(429, static_cast<std::int32_t>(ErrorCode::TooManyRequests),
                      "The server receives as much as it can. Try again in a moment.");
    response.headers.emplace_back("Retry-After", "2");
    return response;
}

/// Errors after which nobody listens for an answer: all that are not about what the request says.
bool IsGone(const beast::error_code& error)
{
    return error == http::error::end_of_stream || error == http::error::partial_message ||
           error.category() != http::make_error_code(http::error::bad_value).category();
}

http::response<http::string_body> ToBeast(HttpResponse response, unsigned version, bool keepAlive)
{
    http::response<http::string_body> message{static_cast<http::status>(response.status), version};
    message.set(http::field::content_type, "application/json");
    for (const auto& [name, value] : response.headers)
        message.set(name, value);
    message.keep_alive(keepAlive);
    message.body() = std::move(response.body);
    message.prepare_payload();
    return message;
}

std::string BearerToken(beast::string_view header)
{
    constexpr beast::string_view scheme = "Bearer ";
    return beast::iequals(header.substr(0, scheme.size()), scheme)
               ? std::string(header.substr(scheme.size()))
               : std::string();
}

bool ReadHead(const Parser::value_type& message, HttpRequest& request)
{
    if (!ParseTarget({message.target().data(), message.target().size()}, request))
        return false;
    request.method = std::string(message.method_string());
    request.token = BearerToken(message[http::field::authorization]);
    const beast::string_view type = message[http::field::content_type];
    request.isJson = beast::iequals(type.substr(0, type.find(';')), "application/json");
    return true;
}

/// Takes part in a sum while it lives.
class Share {
public:
    Share(std::size_t& sum, std::size_t bytes) : sum_(sum), bytes_(bytes) { sum_ += bytes_; }
    ~Share() { sum_ -= bytes_; }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

private:
    std::size_t& sum_;
    std::size_t bytes_;
};

/// One request with its handler. Whichever comes first ends it: the answer, or the client's going.
class Exchange : public std::enable_shared_from_this<Exchange> {
public:
    using Outcome = std::shared_ptr<HttpResponse>;  ///< empty when the client has gone

    explicit Exchange(tcp::socket& socket) : socket_(socket) {}

    /// `watch`: whether to notice the client's going. Not possible when it has sent more already.
    asio::awaitable<Outcome> Run(const HttpHandler& handler, HttpRequest request, bool watch)
    {
        // Not a temporary of the call below: the compiler would end it too early.
        auto begin = [this, &handler, &request, watch](auto completion) {
            auto shared = std::make_shared<decltype(completion)>(std::move(completion));
            finish_ = [shared](Outcome outcome) { (*shared)(std::move(outcome)); };
            const Reply reply([self = shared_from_this()](HttpResponse response) {
                self->Finish(std::make_shared<HttpResponse>(std::move(response)));
            });
            if (watch)
                Watch(reply.MakeAbandon());
            try {
                handler(std::move(request), reply);
            } catch (...) {
                // Must not leave here while the reply may still resume the coroutine. Dropping the
                // reply answers with an internal error.
            }
        };
        auto outcome = co_await asio::async_initiate<const asio::use_awaitable_t<>&, void(Outcome)>(
            std::move(begin), asio::use_awaitable);
        beast::error_code ignored;
        socket_.cancel(ignored);
        co_return outcome;
    }

private:
    void Finish(Outcome outcome)
    {
        // Posted: a handler that answers at once must not resume inside itself.
        if (auto finish = std::exchange(finish_, nullptr))
            asio::post(socket_.get_executor(),
                       [finish = std::move(finish), outcome = std::move(outcome)]() mutable {
                           finish(std::move(outcome));
                       });
    }

    void Watch(std::function<void()> abandon)
    {
        socket_.async_wait(tcp::socket::wait_read,
                           [self = shared_from_this(),
                            abandon = std::move(abandon)](const beast::error_code& error) {
                               // Once finished, the socket may be gone. Readable and nothing there
                               // is its end.
                               beast::error_code ignored;
                               if (error || !self->finish_ || self->socket_.available(ignored) > 0)
                                   return;
                               abandon();
                               self->Finish(nullptr);
                           });
    }

    tcp::socket& socket_;
    std::function<void(Outcome)> finish_;
};

struct Listener {
    tcp::acceptor acceptor;
    HttpHandler handler;
    HeadCheck check;
};

class Connection {
public:
    Connection(Shared& shared, tcp::socket socket, const Listener& listener)
        : shared_(shared), stream_(std::move(socket)), handler_(listener.handler),
          check_(listener.check)
    {
        beast::error_code ignored;
        stream_.socket().set_option(tcp::no_delay(true), ignored);
        address_ = stream_.socket().remote_endpoint(ignored).address().to_string(ignored);
        ++shared_.connections;
    }
    ~Connection() { --shared_.connections; }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    asio::awaitable<void> Serve()
    {
        while (co_await ServeOne()) {
        }
        beast::error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
    }

private:
    /// Whether another request may follow.
    asio::awaitable<bool> ServeOne()
    {
        if (shared_.stopping || (buffer_.size() == 0 && !co_await WaitForRequest()))
            co_return false;
        Parser parser;
        HttpRequest request;
        if (!co_await Receive(parser, request))
            co_return false;
        const bool isHead = parser.get().method() == http::verb::head;
        const bool keepAlive = parser.get().keep_alive() && !isHead;
        const unsigned version = parser.get().version();
        request.body = std::move(parser.get().body());
        auto response = co_await Answer(std::move(request));
        if (!response)
            co_return false;
        // An answer to HEAD carries no body, or the client takes it for the next answer.
        if (isHead)
            response->body.clear();
        const bool goOn = keepAlive && !shared_.stopping;
        co_return co_await Write(ToBeast(std::move(*response), version, goOn)) && goOn;
    }

    asio::awaitable<bool> WaitForRequest()
    {
        const Listed listed(shared_.idle, stream_);
        stream_.expires_after(hadRequest_ ? IdleTime : FirstTime);
        auto [error, size] = co_await stream_.async_read_some(buffer_.prepare(4096),
                                                              asio::as_tuple(asio::use_awaitable));
        buffer_.commit(size);
        hadRequest_ = true;
        co_return !error && size > 0;
    }

    /// Head and body; false when there is nothing to answer any more.
    asio::awaitable<bool> Receive(Parser& parser, HttpRequest& request)
    {
        parser.body_limit(MaximumBodyBytes);
        parser.header_limit(MaximumHeaderBytes);
        auto error = co_await ReceiveHead(parser);
        if (!error && !ReadHead(parser.get(), request)) {
            co_await Refuse(ErrorResponse(400, static_cast<std::int32_t>(ErrorCode::BadRequest),
                                          "The path or the query is damaged."));
            co_return false;
        }
        request.address = address_;
        if (error || parser.is_done())
            co_return co_await IsWhole(error);
        const HeadVerdict verdict = check_(request);
        if (verdict.refusal) {
            co_await Refuse(*verdict.refusal);
            co_return false;
        }
        const std::uint64_t size = parser.content_length().value_or(verdict.bodyLimit);
        if (size > verdict.bodyLimit)
            co_return co_await IsWhole(http::error::body_limit);
        if (shared_.bytesInFlight + size > MaximumBytesInFlight) {
            co_await Refuse(TooMuchInFlight());
            co_return false;
        }
        const Share share(shared_.bytesInFlight, static_cast<std::size_t>(size));
        parser.body_limit(verdict.bodyLimit);
        error = co_await ReceiveBody(parser);
        co_return co_await IsWhole(error);
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
        const Listed listed(shared_.receiving, stream_);
        stream_.expires_after(DeliveryTime);
        auto [error, size] = co_await http::async_read_header(stream_, buffer_, parser,
                                                              asio::as_tuple(asio::use_awaitable));
        co_return error;
    }

    asio::awaitable<beast::error_code> ReceiveBody(Parser& parser)
    {
        const Listed listed(shared_.receiving, stream_);
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

    asio::awaitable<Exchange::Outcome> Answer(HttpRequest request)
    {
        // A held request waits longer than any delivery; its handler bounds it.
        stream_.expires_never();
        const auto exchange = std::make_shared<Exchange>(stream_.socket());
        const HttpHandler measured = [this](HttpRequest taken, Reply reply) {
            Measure(std::move(taken), std::move(reply));
        };
        co_return co_await exchange->Run(measured, std::move(request), buffer_.size() == 0);
    }

    void Measure(HttpRequest request, Reply reply)
    {
        auto& traffic = shared_.traffic;
        ++traffic.requests;
        traffic.bytes += request.body.size();
        const auto begin = std::chrono::steady_clock::now();
        handler_(std::move(request), std::move(reply));
        traffic.longest =
            std::max(traffic.longest, std::chrono::duration_cast<std::chrono::microseconds>(
                                          std::chrono::steady_clock::now() - begin));
    }

    asio::awaitable<bool> Write(http::response<http::string_body> message)
    {
        stream_.expires_after(DeliveryTime);
        auto [error, size] =
            co_await http::async_write(stream_, message, asio::as_tuple(asio::use_awaitable));
        shared_.traffic.bytes += size;
        co_return !error;
    }

    /// Answers and reads on for a while: closing with unread data would reset the connection, and
    /// the client would never see the answer.
    asio::awaitable<void> Refuse(HttpResponse response)
    {
        if (!co_await Write(ToBeast(std::move(response), 11, false)))
            co_return;
        beast::error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
        const Listed listed(shared_.receiving, stream_);
        stream_.expires_after(DrainTime);
        std::array<char, 16384> dropped;
        for (std::size_t total = 0; total < 2 * MaximumBodyBytes;) {
            auto [error, size] = co_await stream_.async_read_some(
                asio::buffer(dropped), asio::as_tuple(asio::use_awaitable));
            if (error)
                break;
            total += size;
        }
    }

    Shared& shared_;
    beast::tcp_stream stream_;
    const HttpHandler& handler_;
    const HeadCheck& check_;
    std::string address_;
    bool hadRequest_ = false;
    beast::flat_buffer buffer_{MaximumBodyBytes + 2 * MaximumHeaderBytes};
};

asio::awaitable<void> ServeConnection(Shared& shared, tcp::socket socket, const Listener& listener)
{
    Connection connection(shared, std::move(socket), listener);
    try {
        co_await connection.Serve();
    } catch (const std::exception&) {
        // A broken connection concerns its client only.
    }
}

/// What is no request has nobody to answer, and must not end the server either.
void RunGuarded(const std::function<void()>& work)
{
    try {
        work();
    } catch (const std::exception& error) {
        OV::Logger::Error("nexar-server", u"Work of the server failed: %", {error.what()});
    }
}

asio::awaitable<void> Accept(Shared& shared, Listener& listener)
{
    while (!shared.stopping) {
        auto [error, socket] =
            co_await listener.acceptor.async_accept(asio::as_tuple(asio::use_awaitable));
        if (error == asio::error::operation_aborted)
            break;
        if (error) {
            // Out of descriptors, mostly: give connections time to end.
            asio::steady_timer pause(shared.context, std::chrono::milliseconds(50));
            co_await pause.async_wait(asio::as_tuple(asio::use_awaitable));
            continue;
        }
        if (shared.connections < shared.maximumConnections)
            asio::co_spawn(shared.context, ServeConnection(shared, std::move(socket), listener),
                           asio::detached);
    }
}

}  // namespace

struct HttpServer::State {
    Shared shared;
    std::list<Listener> listeners;
    asio::signal_set signals{shared.context, SIGTERM, SIGINT};
    asio::steady_timer lateDelivery{shared.context};
    asio::steady_timer stopLimit{shared.context};
    std::function<void()> beforeStop;

    void Stop()
    {
        if (std::exchange(shared.stopping, true))
            return;
        signals.cancel();
        for (auto& listener : listeners)
            listener.acceptor.close();
        if (beforeStop)
            RunGuarded(beforeStop);
        CancelAll(shared.idle);
        lateDelivery.expires_after(LateDelivery);
        lateDelivery.async_wait([this](const beast::error_code& error) {
            if (!error)
                CancelAll(shared.receiving);
        });
        stopLimit.expires_after(LongestStop);
        stopLimit.async_wait([this](const beast::error_code& error) {
            if (!error)
                shared.context.stop();
        });
        WaitForEnd();
    }

    /// The limits must not keep an idle server alive.
    void WaitForEnd()
    {
        if (shared.connections == 0) {
            lateDelivery.cancel();
            stopLimit.cancel();
            return;
        }
        auto timer =
            std::make_shared<asio::steady_timer>(shared.context, std::chrono::milliseconds(10));
        timer->async_wait([this, timer](const beast::error_code&) { WaitForEnd(); });
    }
};

HttpServer::HttpServer() : state_(std::make_unique<State>()) {}
HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::Listen(const std::string& address, std::uint16_t port,
                                 HttpHandler handler, HeadCheck check)
{
    try {
        const tcp::endpoint place(asio::ip::make_address(address), port);
        auto& listener = state_->listeners.emplace_back(Listener{
            tcp::acceptor(state_->shared.context, place), std::move(handler), std::move(check)});
        asio::co_spawn(state_->shared.context, Accept(state_->shared, listener), asio::detached);
        return listener.acceptor.local_endpoint().port();
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("Cannot listen on " + address + ":" + std::to_string(port) + ": " +
                                 error.code().message() + ".");
    }
}

void HttpServer::Run()
{
    state_->signals.async_wait([this](const beast::error_code& error, int) {
        if (!error)
            state_->Stop();
    });
    state_->shared.context.run();
}

void HttpServer::Stop()
{
    asio::post(state_->shared.context, [this] { state_->Stop(); });
}

void HttpServer::SetBeforeStop(std::function<void()> beforeStop)
{
    state_->beforeStop = std::move(beforeStop);
}

HttpServer::Traffic HttpServer::TakeTraffic()
{
    return std::exchange(state_->shared.traffic, {});
}

void HttpServer::Post(std::function<void()> work)
{
    asio::post(state_->shared.context, [work = std::move(work)] { RunGuarded(work); });
}

std::shared_ptr<void> HttpServer::HoldOpen()
{
    using Guard = asio::executor_work_guard<asio::io_context::executor_type>;
    return std::make_shared<Guard>(state_->shared.context.get_executor());
}

std::shared_ptr<void> HttpServer::After(std::chrono::milliseconds time, std::function<void()> work)
{
    // Dropping the timer cancels its wait; one that has just run out is told by the handle alone.
    auto timer = std::make_shared<asio::steady_timer>(state_->shared.context, time);
    timer->async_wait(
        [handle = std::weak_ptr(timer), work = std::move(work)](const beast::error_code& error) {
            if (!error && !handle.expired())
                RunGuarded(work);
        });
    return timer;
}

}  // namespace Nexar
