#pragma once

#include "Http.hpp"

#include <chrono>

namespace Nexar {

/// HTTP/1.1 for several ports on one thread: handlers, completions and timers all run in Run, so
/// that what they share needs no lock. Held requests cost memory only.
class HttpServer {
public:
    HttpServer();
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Listens; port 0 picks a free one. Returns the port. Throws std::runtime_error naming the
    /// place.
    std::uint16_t Listen(const std::string& address, std::uint16_t port, HttpHandler handler,
                         HeadCheck check);

    /// Runs until SIGTERM, SIGINT or Stop, then until what is under way has been answered.
    void Run();
    /// From any thread: no new connections; `beforeStop` lets held requests go; the rest is
    /// answered.
    void Stop();
    void SetBeforeStop(std::function<void()> beforeStop);

    /// What the server did since it was last asked.
    struct Traffic {
        std::uint64_t requests = 0;
        std::uint64_t bytes = 0;  ///< bodies of requests, and answers
        /// The longest time that a handler took; requests that are held take none meanwhile.
        std::chrono::microseconds longest{0};
    };
    [[nodiscard]] Traffic TakeTraffic();

    /// Runs `work` on the server's thread; safe on any thread.
    void Post(std::function<void()> work);
    /// Keeps the server from ending while work elsewhere will still Post; released with the last
    /// copy.
    [[nodiscard]] std::shared_ptr<void> HoldOpen();
    /// Runs `work` after a time, unless the returned handle is dropped before.
    [[nodiscard]] std::shared_ptr<void> After(std::chrono::milliseconds time,
                                              std::function<void()> work);

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace Nexar
