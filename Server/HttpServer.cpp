// The one unit that sees Beast: it takes most of the server's compile time.
#include "HttpServer.hpp"

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
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <csignal>
#include <list>
#include <stdexcept>
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
constexpr std::uint32_t MaximumHeaderBytes = 16u << 10;
constexpr std::size_t MaximumConnections = 2000;
constexpr seconds IdleTime{120};
constexpr seconds DeliveryTime{30};
constexpr seconds LongestStop{10};

using Parser = http::request_parser<http::string_body>;

/// What the connections share with their server.
struct Shared {
    asio::io_context context{1};
    std::list<beast::tcp_stream*> idle;  ///< wait for a request, may be closed at any time
    std::size_t connections = 0;
    bool stopping = false;
};

HttpResponse RefusalOf(const beast::error_code& error)
{
    const auto refuse = [](int status, ErrorCode code, const char* message) {
        return ErrorResponse(status, static_cast<std::int32_t>(code), message);
    };
    if (error == http::error::body_limit)
        return refuse(413, ErrorCode::TooLarge, "The body is larger than 16 MiB.");
    if (error == http::error::header_limit)
        return refuse(431, ErrorCode::TooLarge, "The header is larger than 16 KiB.");
    return refuse(400, ErrorCode::BadRequest, "This is no HTTP/1.1 request.");
}

/// Errors after which nobody listens for an answer.
bool IsGone(const beast::error_code& error)
{
    return error == http::error::end_of_stream || error == http::error::partial_message ||
           error == beast::error::timeout ||
           error.category() != http::make_error_code(http::error::bad_value).category();
}

http::response<http::string_body> ToBeast(HttpResponse response, unsigned version, bool keepAlive)
{
    http::response<http::string_body> message{static_cast<http::status>(response.status), version};
    message.set(http::field::content_type, "application/json");
    message.keep_alive(keepAlive);
    message.body() = std::move(response.body);
    message.prepare_payload();
    return message;
}

std::string BearerToken(beast::string_view header)
{
    constexpr beast::string_view scheme = "Bearer ";
    return header.starts_with(scheme) ? std::string(header.substr(scheme.size())) : std::string();
}

asio::awaitable<HttpResponse> Handle(const HttpHandler& handler, Parser::value_type message)
{
    HttpRequest request;
    if (!ParseTarget({message.target().data(), message.target().size()}, request))
        co_return ErrorResponse(400, static_cast<std::int32_t>(ErrorCode::BadRequest),
                                "The path or the query is damaged.");
    request.method = std::string(message.method_string());
    request.token = BearerToken(message[http::field::authorization]);
    request.body = std::move(message.body());
    co_return co_await asio::async_initiate<const asio::use_awaitable_t<>&, void(HttpResponse)>(
        [&handler, &request](auto completion) {
            auto shared = std::make_shared<decltype(completion)>(std::move(completion));
            handler(std::move(request), Reply([shared](HttpResponse response) {
                        // Posted: a handler that answers at once must not resume inside itself.
                        auto executor = asio::get_associated_executor(*shared);
                        asio::post(executor, [shared, response = std::move(response)]() mutable {
                            (*shared)(std::move(response));
                        });
                    }));
        },
        asio::use_awaitable);
}

class Connection {
public:
    Connection(Shared& shared, tcp::socket socket, const HttpHandler& handler)
        : shared_(shared), stream_(std::move(socket)), handler_(handler)
    {
        beast::error_code ignored;
        stream_.socket().set_option(tcp::no_delay(true), ignored);
        ++shared_.connections;
    }
    ~Connection() { --shared_.connections; }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    asio::awaitable<void> Serve()
    {
        bool keepAlive = true;
        while (keepAlive && !shared_.stopping) {
            if (buffer_.size() == 0 && !co_await WaitForRequest())
                break;
            Parser parser;
            parser.body_limit(MaximumBodyBytes);
            parser.header_limit(MaximumHeaderBytes);
            stream_.expires_after(DeliveryTime);
            auto [readError, size] = co_await http::async_read(stream_, buffer_, parser,
                                                               asio::as_tuple(asio::use_awaitable));
            (void)size;
            if (readError) {
                if (!IsGone(readError))
                    co_await Write(ToBeast(RefusalOf(readError), 11, false));
                break;
            }
            keepAlive = parser.get().keep_alive();
            const unsigned version = parser.get().version();
            // A held request waits longer than any delivery; its handler bounds it.
            stream_.expires_never();
            HttpResponse response = co_await Handle(handler_, parser.release());
            keepAlive = keepAlive && !shared_.stopping;
            if (!co_await Write(ToBeast(std::move(response), version, keepAlive)))
                break;
        }
        beast::error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
    }

private:
    asio::awaitable<bool> WaitForRequest()
    {
        const auto place = shared_.idle.insert(shared_.idle.end(), &stream_);
        stream_.expires_after(IdleTime);
        auto [error, size] = co_await stream_.async_read_some(buffer_.prepare(4096),
                                                              asio::as_tuple(asio::use_awaitable));
        shared_.idle.erase(place);
        buffer_.commit(size);
        co_return !error && size > 0;
    }

    asio::awaitable<bool> Write(http::response<http::string_body> message)
    {
        stream_.expires_after(DeliveryTime);
        auto [error, size] =
            co_await http::async_write(stream_, message, asio::as_tuple(asio::use_awaitable));
        (void)size;
        co_return !error;
    }

    Shared& shared_;
    beast::tcp_stream stream_;
    const HttpHandler& handler_;
    beast::flat_buffer buffer_{MaximumBodyBytes + 2 * MaximumHeaderBytes};
};

asio::awaitable<void> ServeConnection(Shared& shared, tcp::socket socket,
                                      const HttpHandler& handler)
{
    Connection connection(shared, std::move(socket), handler);
    try {
        co_await connection.Serve();
    } catch (const std::exception&) {
        // A broken connection concerns its client only.
    }
}

struct Listener {
    tcp::acceptor acceptor;
    HttpHandler handler;
};

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
        if (shared.connections < MaximumConnections)
            asio::co_spawn(shared.context,
                           ServeConnection(shared, std::move(socket), listener.handler),
                           asio::detached);
    }
}

}  // namespace

struct HttpServer::State {
    Shared shared;
    std::list<Listener> listeners;
    asio::signal_set signals{shared.context, SIGTERM, SIGINT};
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
            beforeStop();
        for (auto* stream : shared.idle)
            stream->cancel();
        stopLimit.expires_after(LongestStop);
        stopLimit.async_wait([this](const beast::error_code& error) {
            if (!error)
                shared.context.stop();
        });
        WaitForEnd();
    }

    /// The limit must not keep an idle server alive.
    void WaitForEnd()
    {
        if (shared.connections == 0) {
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
                                 HttpHandler handler)
{
    try {
        const tcp::endpoint place(asio::ip::make_address(address), port);
        auto& listener = state_->listeners.emplace_back(
            Listener{tcp::acceptor(state_->shared.context, place), std::move(handler)});
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

void HttpServer::Post(std::function<void()> work)
{
    asio::post(state_->shared.context, std::move(work));
}

std::shared_ptr<void> HttpServer::HoldOpen()
{
    using Guard = asio::executor_work_guard<asio::io_context::executor_type>;
    return std::make_shared<Guard>(state_->shared.context.get_executor());
}

std::shared_ptr<void> HttpServer::After(std::chrono::milliseconds time, std::function<void()> work)
{
    // Dropping the timer cancels its wait, which then ends with an error.
    auto timer = std::make_shared<asio::steady_timer>(state_->shared.context, time);
    timer->async_wait([work = std::move(work)](const beast::error_code& error) {
        if (!error)
            work();
    });
    return timer;
}

}  // namespace Nexar
