#pragma once

#include <arpa/inet.h>
#include <chrono>
#include <cstdlib>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

/// A connection to a port of 127.0.0.1 that sends whatever bytes a test likes, right or wrong, and
/// reads HTTP answers. Nothing waits longer than TimeLimit.
class RawHttp {
public:
    static constexpr std::chrono::seconds TimeLimit{30};
    static constexpr int Closed = 0;     ///< status when the server closed instead of answering
    static constexpr int TimedOut = -1;  ///< status when it did neither

    struct Answer {
        int status = Closed;
        std::string head;
        std::string body;
    };

    explicit RawHttp(std::uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("nobody listens on port " + std::to_string(port));
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const timeval limit{TimeLimit.count(), 0};
        setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    }
    ~RawHttp() { Close(); }
    RawHttp(RawHttp&& other) noexcept
        : socket_(std::exchange(other.socket_, -1)), unread_(std::move(other.unread_))
    {}
    RawHttp& operator=(RawHttp&&) = delete;

    void Close()
    {
        if (socket_ >= 0)
            close(std::exchange(socket_, -1));
    }
    /// Sends nothing more but goes on reading.
    void HalfClose() const { shutdown(socket_, SHUT_WR); }

    /// False when the server takes no more.
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

    bool SendRequest(std::string_view method, std::string_view target, std::string_view token = {},
                     std::string_view body = {}) const
    {
        std::string request =
            std::string(method) + " " + std::string(target) +
            " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + std::to_string(body.size()) +
            "\r\n";
        if (!token.empty())
            request += "Authorization: Bearer " + std::string(token) + "\r\n";
        return Send(request + "\r\n" + std::string(body));
    }

    /// Whether an answer, or its end, can be read within the time.
    [[nodiscard]] bool HasAnswer(std::chrono::milliseconds time) const
    {
        pollfd ready{socket_, POLLIN, 0};
        return !unread_.empty() || poll(&ready, 1, static_cast<int>(time.count())) > 0;
    }

    Answer Receive()
    {
        Answer answer;
        std::size_t end = 0;
        while ((end = unread_.find("\r\n\r\n")) == std::string::npos)
            if (const int failure = ReadMore(); failure != 1)
                return {failure, unread_, {}};
        answer.head = unread_.substr(0, end + 2);
        unread_.erase(0, end + 4);
        answer.status = std::atoi(answer.head.c_str() + answer.head.find(' '));
        std::size_t length = 0;
        if (const auto at = answer.head.find("\r\nContent-Length: "); at != std::string::npos)
            length = std::strtoul(answer.head.c_str() + at + 18, nullptr, 10);
        while (unread_.size() < length)
            if (const int failure = ReadMore(); failure != 1)
                return {failure, std::move(answer.head), unread_};
        answer.body = unread_.substr(0, length);
        unread_.erase(0, length);
        return answer;
    }

private:
    int ReadMore()
    {
        char block[16384];
        pollfd ready{socket_, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(1000 * TimeLimit.count())) <= 0)
            return TimedOut;
        const ssize_t count = recv(socket_, block, sizeof block, 0);
        if (count <= 0)
            return Closed;
        unread_.append(block, static_cast<std::size_t>(count));
        return 1;
    }

    int socket_;
    std::string unread_;
};
