#pragma once

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <netinet/tcp.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

/// One end of a TCP connection over which HTTP goes, of a client or a server. Owns the socket.
class HttpSocket {
public:
    struct Message {
        std::string head;  ///< with the empty line at its end
        std::string body;
    };

    explicit HttpSocket(int socket) : socket_(socket)
    {
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~HttpSocket()
    {
        if (socket_ >= 0)
            close(socket_);
    }
    HttpSocket(HttpSocket&& other) noexcept
        : socket_(std::exchange(other.socket_, -1)), unread_(std::move(other.unread_))
    {}
    HttpSocket& operator=(HttpSocket&& other) noexcept
    {
        std::swap(socket_, other.socket_);
        std::swap(unread_, other.unread_);
        return *this;
    }

    /// A port of 127.0.0.1; 0 stands for one that is free.
    static sockaddr_in Loopback(std::uint16_t port)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

    /// False when the other end is gone.
    bool Send(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }
    void ShutDown(int how) const { shutdown(socket_, how); }
    /// Reads a byte and forgets it; false when the other end is gone.
    bool Drop() const
    {
        char byte = 0;
        return recv(socket_, &byte, 1, 0) > 0;
    }
    /// The next message, by its Content-Length; nothing when the other end closes before its end.
    std::optional<Message> Read(int milliseconds = -1)
    {
        std::size_t end = 0;
        while ((end = unread_.find("\r\n\r\n")) == std::string::npos)
            if (!Fill(milliseconds))
                return std::nullopt;
        Message message{Take(end + 4), {}};
        constexpr std::string_view name = "\r\nContent-Length: ";
        // A balancer writes it as it likes.
        const auto at = static_cast<std::size_t>(
            std::search(message.head.begin(), message.head.end(), name.begin(), name.end(),
                        [](char a, char b) { return std::tolower(a) == std::tolower(b); }) -
            message.head.begin());
        const std::size_t length =
            at == message.head.size()
                ? 0
                : std::strtoul(message.head.c_str() + at + name.size(), nullptr, 10);
        while (unread_.size() < length)
            if (!Fill(milliseconds))
                return std::nullopt;
        message.body = Take(length);
        return message;
    }
    /// Whether the other end closes without another byte.
    bool IsClosed(int milliseconds) { return unread_.empty() && !Fill(milliseconds); }

private:
    bool Fill(int milliseconds)
    {
        pollfd waiting{socket_, POLLIN, 0};
        int ready = 0;
        while ((ready = poll(&waiting, 1, milliseconds)) < 0 && errno == EINTR) {
        }
        if (ready <= 0)
            throw std::runtime_error("the other end sends nothing and does not close");
        char bytes[65536];
        const ssize_t size = recv(socket_, bytes, sizeof bytes, 0);
        if (size > 0)
            unread_.append(bytes, static_cast<std::size_t>(size));
        return size > 0;
    }
    std::string Take(std::size_t size)
    {
        std::string taken = unread_.substr(0, size);
        unread_.erase(0, size);
        return taken;
    }

    int socket_;
    std::string unread_;
};
