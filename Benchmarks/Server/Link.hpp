#pragma once

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/connect.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Load {

namespace asio = boost::asio;
using asio::ip::tcp;
template <class Result = void>
using Task = asio::awaitable<Result>;

/// Where a server listens, and whether with TLS.
struct Place {
    std::uint16_t port = 0;
    bool isProtected = false;
    std::string address = "127.0.0.1";
};

struct Response {
    int status = 0;  ///< 0 when the connection ended before an answer
    std::string head;
    std::string body;
};

inline std::string RequestText(std::string_view method, std::string_view target,
                               std::string_view token = {}, std::string_view body = {})
{
    std::string text = std::string(method) + ' ' + std::string(target) + " HTTP/1.1\r\nHost: h\r\n";
    if (!token.empty())
        text += "Authorization: Bearer " + std::string(token) + "\r\n";
    return text +
           "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + std::string(body);
}

/// One connection to a server, with as little between the caller and the socket as there can be.
class Link {
public:
    explicit Link(asio::io_context& context) : socket_(context) {}

    /// From this address of the machine itself. False when the server does not take it.
    Task<bool> Open(Place place, const char* from = "127.0.0.1")
    {
        boost::system::error_code error;
        socket_.open(tcp::v4(), error);
        socket_.set_option(tcp::acceptor::reuse_address(true), error);
        socket_.bind({asio::ip::make_address(from), 0}, error);
        socket_.set_option(tcp::no_delay(true), error);
        const tcp::endpoint to(asio::ip::make_address(place.address), place.port);
        auto [refused] = co_await socket_.async_connect(to, asio::as_tuple(asio::use_awaitable));
        bool isOpen = !refused;
        if (isOpen && place.isProtected)
            isOpen = co_await ShakeHands();
        co_return isOpen;
    }
    /// Whoever waits on it is told that it ended.
    void Close()
    {
        boost::system::error_code ignored;
        socket_.close(ignored);
    }
    Task<bool> Send(std::string_view text)
    {
        return tls_ ? SendOn(*tls_, text) : SendOn(socket_, text);
    }
    Task<Response> Receive()
    {
        Response response;
        bool goesOn = true;
        while (goesOn && buffer_.find("\r\n\r\n") == std::string::npos)
            goesOn = co_await ReadMore();
        if (!goesOn)
            co_return response;
        const auto end = buffer_.find("\r\n\r\n") + 4;
        response.head = buffer_.substr(0, end);
        buffer_.erase(0, end);
        // A balancer writes names as it likes.
        std::transform(response.head.begin(), response.head.end(), response.head.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
        const std::string_view name = "\r\ncontent-length: ";
        const auto at = response.head.find(name);
        const auto size = at == std::string::npos ? 0 : Number(response.head, at + name.size());
        while (goesOn && buffer_.size() < size)
            goesOn = co_await ReadMore();
        if (!goesOn)
            co_return response;
        response.body = buffer_.substr(0, size);
        buffer_.erase(0, size);
        response.status = static_cast<int>(Number(response.head, 9));
        co_return response;
    }
    Task<Response> Ask(std::string_view text)
    {
        Response response;
        const bool isSent = co_await Send(text);
        if (isSent)
            response = co_await Receive();
        co_return response;
    }

private:
    // Functions of their own for each kind of stream: g++ 12 loses what a coroutine keeps that
    // waits in one of two branches.
    template <class Stream>
    static Task<bool> SendOn(Stream& stream, std::string_view text)
    {
        auto [error, size] = co_await asio::async_write(stream, asio::buffer(text),
                                                        asio::as_tuple(asio::use_awaitable));
        co_return !error;
    }
    template <class Stream>
    Task<bool> ReadFrom(Stream& stream)
    {
        auto [error, size] = co_await stream.async_read_some(asio::buffer(room_),
                                                             asio::as_tuple(asio::use_awaitable));
        buffer_.append(room_, 0, size);
        co_return size > 0;
    }
    Task<bool> ReadMore() { return tls_ ? ReadFrom(*tls_) : ReadFrom(socket_); }
    Task<bool> ShakeHands()
    {
        static asio::ssl::context client(asio::ssl::context::tls_client);
        tls_.emplace(socket_, client);
        auto [failed] = co_await tls_->async_handshake(asio::ssl::stream_base::client,
                                                       asio::as_tuple(asio::use_awaitable));
        co_return !failed;
    }
    static std::size_t Number(const std::string& text, std::size_t at)
    {
        std::size_t number = 0;
        std::from_chars(text.data() + at, text.data() + text.size(), number);
        return number;
    }

    tcp::socket socket_;
    std::optional<asio::ssl::stream<tcp::socket&>> tls_;
    std::string room_ = std::string(1 << 14, '\0');
    std::string buffer_;
};

/// The text of a value in an answer, where it is given first.
inline std::string TextOf(const std::string& body, std::string_view name)
{
    const std::string key = '"' + std::string(name) + "\":\"";
    const auto at = body.find(key);
    if (at == std::string::npos)
        return {};
    const auto begin = at + key.size();
    return body.substr(begin, body.find('"', begin) - begin);
}

inline std::string SignInText(const std::string& user, const std::string& password)
{
    return RequestText("POST", "/syncra/v1/sign-in", {},
                       R"({"userName":")" + user + R"(","password":")" + password +
                           R"(","protocol":1})");
}

}  // namespace Load
