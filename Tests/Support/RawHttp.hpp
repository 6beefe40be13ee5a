#pragma once

#include "Support/HttpSocket.hpp"

/// A TCP connection to 127.0.0.1 that sends bytes as they are, so that a test can say what no HTTP
/// library would. Reading waits at most 30 s.
class RawHttp {
public:
    struct Response {
        int status = 0;  ///< 0 when the connection ended before an answer
        std::string head;
        std::string body;
    };

    explicit RawHttp(std::uint16_t port) : socket_(Connect(port)) {}

    /// False when the server has closed the connection.
    bool Send(std::string_view bytes) { return socket_.Send(bytes); }
    void HalfClose() { socket_.ShutDown(SHUT_WR); }
    /// The next answer, by its Content-Length.
    Response Read()
    {
        auto message = socket_.Read(ReadMilliseconds);
        if (!message)
            return {};
        const int status = std::atoi(message->head.c_str() + std::string_view("HTTP/1.1 ").size());
        return {status, std::move(message->head), std::move(message->body)};
    }
    /// Whether the server closes the connection without another byte.
    bool IsClosedByServer() { return socket_.IsClosed(ReadMilliseconds); }

private:
    static constexpr int ReadMilliseconds = 30'000;

    static int Connect(std::uint16_t port)
    {
        const int made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in address = HttpSocket::Loopback(port);
        if (connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            close(made);
            throw std::runtime_error("no connection to port " + std::to_string(port));
        }
        return made;
    }

    HttpSocket socket_;
};
