#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <cstdlib>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

/// A TCP connection to 127.0.0.1 that sends bytes as they are, so that a test can say what no HTTP
/// library would. Reading waits at most 30 s.
class RawHttp {
public:
    struct Response {
        int status = 0;  ///< 0 when the connection ended before an answer
        std::string head;
        std::string body;
    };

    explicit RawHttp(std::uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            close(socket_);
            throw std::runtime_error("no connection to port " + std::to_string(port));
        }
    }
    ~RawHttp()
    {
        if (socket_ >= 0)
            close(socket_);
    }
    RawHttp(RawHttp&& other) noexcept
        : socket_(std::exchange(other.socket_, -1)), buffer_(std::move(other.buffer_))
    {}
    RawHttp& operator=(RawHttp&& other) noexcept
    {
        std::swap(socket_, other.socket_);
        std::swap(buffer_, other.buffer_);
        return *this;
    }

    /// False when the server has closed the connection.
    bool Send(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }
    void HalfClose() { shutdown(socket_, SHUT_WR); }

    /// The next answer, by its Content-Length.
    Response Read()
    {
        std::size_t end = 0;
        while ((end = buffer_.find("\r\n\r\n")) == std::string::npos)
            if (!Fill())
                return {};
        Response response;
        response.head = Take(end + 4);
        response.status = std::atoi(response.head.c_str() + std::string_view("HTTP/1.1 ").size());
        const auto size = ContentLength(response.head);
        while (buffer_.size() < size)
            if (!Fill())
                return {};
        response.body = Take(size);
        return response;
    }
    /// Whether the server closes the connection without another byte.
    bool IsClosedByServer() { return buffer_.empty() && !Fill(); }

private:
    static constexpr int ReadMilliseconds = 30'000;

    bool Fill()
    {
        pollfd waiting{socket_, POLLIN, 0};
        if (poll(&waiting, 1, ReadMilliseconds) <= 0)
            throw std::runtime_error("the server sends nothing and does not close");
        char bytes[65536];
        const ssize_t size = recv(socket_, bytes, sizeof bytes, 0);
        if (size > 0)
            buffer_.append(bytes, static_cast<std::size_t>(size));
        return size > 0;
    }
    std::string Take(std::size_t size)
    {
        std::string taken = buffer_.substr(0, size);
        buffer_.erase(0, size);
        return taken;
    }
    static std::size_t ContentLength(const std::string& head)
    {
        constexpr std::string_view name = "\r\nContent-Length: ";
        const auto at = head.find(name);
        return at == std::string::npos
                   ? 0
                   : static_cast<std::size_t>(std::atol(head.c_str() + at + name.size()));
    }

    int socket_;
    std::string buffer_;
};
