#pragma once

#include "Guarded.hpp"
#include "Http.hpp"

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace Nexar {

/// What clients may take of the server before it knows who they are.
struct HttpLimits {
    std::size_t connections = 10'000;
    std::size_t connectionsOfAddress = 1'000;
    std::size_t bytesInFlight = 256u << 20;  ///< of all bodies that are on their way
    std::uint32_t idleSeconds = 120;
    std::uint32_t deliverySeconds = 30;  ///< of a request, and of an answer
    std::uint32_t drainSeconds = 0;      ///< between being asked to end and ending
    /// Requests come from a proxy, which names the address of each client.
    bool isBehindProxy = false;
    /// Connections of a proxy begin with a header that names the client (see ProxyHeader.hpp).
    bool readsProxyHeader = false;
    /// From whose addresses such names are believed.
    std::vector<std::string> proxies = {"127.0.0.1", "::1"};

    [[nodiscard]] bool IsNamed(const std::string& address) const
    {
        return std::find(proxies.begin(), proxies.end(), address) != proxies.end();
    }
    /// Whether others may stand behind it.
    [[nodiscard]] bool IsProxy(const std::string& address) const
    {
        return (isBehindProxy || readsProxyHeader) && IsNamed(address);
    }
};

/// HTTP/1.1 for several ports on one thread: handlers, completions and timers all run in Run, so
/// that what they share needs no lock. Held requests cost memory only.
class HttpServer {
public:
    explicit HttpServer(const HttpLimits& limits);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// From here on connections are protected with this certificate (PEM, with its chain) and key,
    /// which are read again at SIGHUP. Throws std::runtime_error when they cannot be used.
    void UseCertificate(const std::string& certificate, const std::string& key);
    /// Whether nobody but this machine reaches an address.
    [[nodiscard]] static bool IsLoopback(const std::string& address);

    /// For clients, who may come through a proxy, or for whoever operates the server.
    enum class Audience { Clients, Operators };
    /// Listens; port 0 picks a free one. Returns the port. Throws std::runtime_error naming the
    /// place.
    std::uint16_t Listen(const std::string& address, std::uint16_t port, Audience audience,
                         HttpHandler handler, HeadCheck check);

    /// Runs until SIGTERM, SIGINT or Stop, then until what is under way has been answered. Before
    /// that a signal lets it drain for a while, so that a balancer sends new requests elsewhere: it
    /// serves as before, but each answer ends its connection; a second one cuts that short. Nothing
    /// else ends it: what fails, for lack of memory say, is logged, and costs at most a connection.
    void Run();
    /// From any thread: no new connections; `beforeStop` lets held requests go; the rest is
    /// answered.
    void Stop();
    void SetBeforeStop(std::function<void()> beforeStop);
    /// Whether it was asked to end.
    [[nodiscard]] bool IsEnding() const;

    /// What the server did since it was last asked.
    struct Traffic {
        std::uint64_t requests = 0;
        std::uint64_t bytes = 0;  ///< bodies of requests, and answers
        /// The longest time that the work for a request took; who is held or waits takes none.
        std::chrono::microseconds longest{0};
    };
    [[nodiscard]] Traffic TakeTraffic();
    /// Work for a request took so long. On the server's thread.
    void NoteWork(std::chrono::microseconds time);

    struct Load {
        std::size_t connections = 0;
        std::size_t underWay = 0;  ///< requests that are being answered or held
        std::size_t bytesInFlight = 0;
    };
    [[nodiscard]] Load GetLoad() const;

    /// Runs a copy of `work` on the server's thread. For other threads: what they did for a client
    /// must be told him, so they wait when there is no memory for that.
    template <class Work>
    void Post(const Work& work)
    {
        WithMemory([&] { PostOnce(work); });
    }
    /// Keeps the server from ending while work elsewhere will still Post; released with the last
    /// copy.
    [[nodiscard]] std::shared_ptr<void> HoldOpen();
    /// Runs `work` after a time, unless the returned handle is dropped before.
    [[nodiscard]] std::shared_ptr<void> After(std::chrono::milliseconds time,
                                              std::function<void()> work);

private:
    struct State;
    void PostOnce(std::function<void()> work);

    std::unique_ptr<State> state_;
};

}  // namespace Nexar
