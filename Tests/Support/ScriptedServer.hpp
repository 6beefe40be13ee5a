#pragma once

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <list>
#include <mutex>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

/// A TCP server on a free port of 127.0.0.1 that reads HTTP requests and does with each what the
/// test's script says, right or wrong. The destructor ends every connection and joins its threads.
class ScriptedServer {
public:
    struct Request {
        std::string method;
        std::string target;
        std::string head;     ///< all header lines, in small letters
        std::string rawHead;  ///< the same as they came
        std::string body;
        int connection = 0;  ///< number of its connection, from 1
        int number = 0;      ///< number of the request on the server, from 1
    };

    /// What a script may do with its connection.
    class Peer {
    public:
        Peer(int socket, const std::atomic<bool>& ending) : socket_(socket), ending_(ending) {}

        /// False when the client is gone.
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
        bool Answer(int status, std::string_view body, std::string_view headers = "") const
        {
            return Send("HTTP/1.1 " + std::to_string(status) +
                        " Status\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
                        std::string(headers) + "\r\n" + std::string(body));
        }
        void Close() const { shutdown(socket_, SHUT_RDWR); }
        /// Sends nothing more but goes on reading.
        void HalfClose() const { shutdown(socket_, SHUT_WR); }
        /// Waits until the client has gone or the server ends.
        void HoldUntilGone() const
        {
            char byte = 0;
            while (!ending_ && recv(socket_, &byte, 1, 0) > 0) {
            }
        }
        [[nodiscard]] bool IsEnding() const { return ending_; }

    private:
        int socket_;
        const std::atomic<bool>& ending_;
    };

    using Script = std::function<void(Peer&, const Request&)>;

    explicit ScriptedServer(Script script)
        : script_(std::move(script)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            listen(listener_, 64) != 0 ||
            getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            throw std::runtime_error("the scripted server cannot listen");
        port_ = ntohs(address.sin_port);
        acceptor_ = std::thread([this] { Accept(); });
    }

    ~ScriptedServer()
    {
        ending_ = true;
        shutdown(listener_, SHUT_RDWR);
        acceptor_.join();
        {
            const std::lock_guard guard(lock_);
            for (const Connection& connection : connections_)
                shutdown(connection.socket, SHUT_RDWR);
        }
        for (Connection& connection : connections_) {
            connection.thread.join();
            close(connection.socket);
        }
        close(listener_);
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    [[nodiscard]] std::uint16_t Port() const { return port_; }
    [[nodiscard]] int Connections() const { return accepted_; }
    [[nodiscard]] int Requests() const { return requests_; }

private:
    struct Connection {
        int socket;
        std::thread thread;
    };

    void Accept()
    {
        while (!ending_) {
            const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (client < 0)
                continue;
            const int on = 1;
            setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            const int number = ++accepted_;
            const std::lock_guard guard(lock_);
            connections_.push_back(
                {client, std::thread([this, client, number] { Serve(client, number); })});
        }
    }

    void Serve(int client, int number)
    {
        Peer peer(client, ending_);
        std::string unread;
        Request request;
        request.connection = number;
        while (!ending_ && ReadRequest(client, unread, request)) {
            request.number = ++requests_;
            script_(peer, request);
        }
        shutdown(client, SHUT_RDWR);
    }

    static bool ReadMore(int client, std::string& unread)
    {
        char block[16384];
        const ssize_t count = recv(client, block, sizeof block, 0);
        if (count > 0)
            unread.append(block, static_cast<std::size_t>(count));
        return count > 0;
    }

    static bool ReadRequest(int client, std::string& unread, Request& request)
    {
        std::size_t end = 0;
        while ((end = unread.find("\r\n\r\n")) == std::string::npos)
            if (!ReadMore(client, unread))
                return false;
        std::string head = unread.substr(0, end + 2);
        unread.erase(0, end + 4);
        request.rawHead = head;
        const std::size_t first = head.find(' ');
        const std::size_t second = head.find(' ', first + 1);
        request.method = head.substr(0, first);
        request.target = head.substr(first + 1, second - first - 1);
        std::transform(head.begin(), head.end(), head.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        request.head = head;
        std::size_t length = 0;
        if (const std::size_t at = head.find("\r\ncontent-length:"); at != std::string::npos)
            length = std::strtoul(head.c_str() + at + 17, nullptr, 10);
        while (unread.size() < length)
            if (!ReadMore(client, unread))
                return false;
        request.body = unread.substr(0, length);
        unread.erase(0, length);
        return true;
    }

    Script script_;
    int listener_;
    std::uint16_t port_ = 0;
    std::atomic<bool> ending_ = false;
    std::atomic<int> accepted_ = 0;
    std::atomic<int> requests_ = 0;
    std::mutex lock_;
    std::list<Connection> connections_;
    std::thread acceptor_;
};
