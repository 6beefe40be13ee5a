#pragma once

#include "Support/HttpSocket.hpp"

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

/// A TCP server on a free port of 127.0.0.1 that reads HTTP requests and does with each what the
/// test's script says, right or wrong. The destructor ends every connection and joins its threads.
class ScriptedServer {
public:
    struct Request {
        std::string method;
        std::string target;
        std::string head;
        std::string body;
        int connection = 0;  ///< number of its connection, from 1
        int number = 0;      ///< number of the request on the server, from 1
    };

    /// What a script may do with its connection.
    class Peer {
    public:
        Peer(const HttpSocket& socket, const std::atomic<bool>& ending)
            : socket_(socket), ending_(ending)
        {}

        /// False when the client is gone.
        bool Send(std::string_view bytes) const { return socket_.Send(bytes); }
        bool Answer(int status, std::string_view body, std::string_view headers = "") const
        {
            return Send("HTTP/1.1 " + std::to_string(status) +
                        " Status\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
                        std::string(headers) + "\r\n" + std::string(body));
        }
        void Close() const { socket_.ShutDown(SHUT_RDWR); }
        /// Sends nothing more but goes on reading.
        void HalfClose() const { socket_.ShutDown(SHUT_WR); }
        /// Waits until the client has gone or the server ends.
        void HoldUntilGone() const
        {
            while (!ending_ && socket_.Drop()) {
            }
        }
        [[nodiscard]] bool IsEnding() const { return ending_; }

    private:
        const HttpSocket& socket_;
        const std::atomic<bool>& ending_;
    };

    using Script = std::function<void(Peer&, const Request&)>;

    /// Answers of a model service that signs everybody in and has one project, "p".
    static constexpr const char* SignedIn =
        R"({"token":"T","userId":"u","userName":"U","protocol":1,"serverVersion":1400})";
    static constexpr const char* OneProject =
        R"({"projects":[{"id":"p","name":"P","location":"","category":"","state":3,)"
        R"("version":"","build":0}]})";
    /// The list of ports with one service, or with none when the port is 0.
    static std::string Ports(const std::string& service, std::uint16_t port)
    {
        return port == 0 ? R"({"ports":[]})"
                         : R"({"ports":[{"service":")" + service + R"(","port":)" +
                               std::to_string(port) + "}]}";
    }

    explicit ScriptedServer(Script script, in_addr_t place = INADDR_LOOPBACK)
        : script_(std::move(script)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = HttpSocket::Loopback(0);
        address.sin_addr.s_addr = htonl(place);
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
                connection.socket.ShutDown(SHUT_RDWR);
        }
        for (Connection& connection : connections_)
            connection.thread.join();
        close(listener_);
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    [[nodiscard]] std::uint16_t Port() const { return port_; }
    [[nodiscard]] int Connections() const { return accepted_; }
    [[nodiscard]] int Requests() const { return requests_; }

private:
    struct Connection {
        HttpSocket socket;
        std::thread thread;
    };

    void Accept()
    {
        while (!ending_) {
            const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (client < 0)
                continue;
            const int number = ++accepted_;
            const std::lock_guard guard(lock_);
            auto& connection = connections_.emplace_back(Connection{HttpSocket(client), {}});
            connection.thread =
                std::thread([this, &connection, number] { Serve(connection.socket, number); });
        }
    }

    void Serve(HttpSocket& client, int number)
    {
        Peer peer(client, ending_);
        while (!ending_) {
            const auto message = client.Read();
            if (!message)
                break;
            const std::string& head = message->head;
            const std::size_t first = head.find(' '), second = head.find(' ', first + 1);
            script_(peer, {head.substr(0, first), head.substr(first + 1, second - first - 1), head,
                           message->body, number, ++requests_});
        }
        client.ShutDown(SHUT_RDWR);
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
