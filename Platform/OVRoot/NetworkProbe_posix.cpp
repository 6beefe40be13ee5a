#include "OVRoot/NetworkProbe.hpp"

#include "OVRoot/Thread.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace OV::NetworkProbe {

namespace {

using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

Addresses Ask(const String& host, const char* port, int flags, String& problem)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    if (const int failure = getaddrinfo(host.c_str(), port, &hints, &found); failure != 0) {
        problem = gai_strerror(failure);
        found = nullptr;
    }
    return {found, &freeaddrinfo};
}

class Socket {
public:
    explicit Socket(int family)
        : file_(socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {}
    ~Socket()
    {
        if (file_ >= 0)
            close(file_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    [[nodiscard]] int Get() const noexcept { return file_; }

private:
    int file_;
};

/// Whether the socket has something to tell in time.
bool AwaitAnswer(int connection, std::uint32_t milliseconds)
{
    // poll cannot be woken by the flag of the thread, so it is asked between short waits.
    constexpr int slice = 50;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    pollfd wait{connection, POLLOUT, 0};
    while (poll(&wait, 1, slice) <= 0) {
        Thread::ThrowIfInterrupted();
        if (std::chrono::steady_clock::now() >= end)
            return false;
    }
    return true;
}

}  // namespace

std::vector<String> LookUp(const String& host, String& problem)
{
    const Addresses all = Ask(host, nullptr, 0, problem);
    std::vector<String> texts;
    for (const addrinfo* each = all.get(); each != nullptr; each = each->ai_next) {
        std::array<char, NI_MAXHOST> text{};
        if (getnameinfo(each->ai_addr, each->ai_addrlen, text.data(), text.size(), nullptr, 0,
                        NI_NUMERICHOST) == 0 &&
            std::find(texts.begin(), texts.end(), text.data()) == texts.end())
            texts.emplace_back(text.data());
    }
    return texts;
}

String Connect(const String& address, std::uint16_t port, std::uint32_t milliseconds)
{
    String problem;
    const Addresses place =
        Ask(address, std::to_string(port).c_str(), AI_NUMERICHOST | AI_NUMERICSERV, problem);
    if (place == nullptr)
        return problem;
    const Socket connection(place->ai_family);
    if (connection.Get() < 0)
        return std::strerror(errno);
    if (connect(connection.Get(), place->ai_addr, place->ai_addrlen) == 0)
        return {};
    if (errno != EINPROGRESS)
        return std::strerror(errno);
    if (!AwaitAnswer(connection.Get(), milliseconds))
        return "no answer within " + std::to_string(milliseconds / 1000) + " s";
    int failure = 0;
    socklen_t size = sizeof failure;
    if (getsockopt(connection.Get(), SOL_SOCKET, SO_ERROR, &failure, &size) != 0)
        failure = errno;
    return failure == 0 ? String() : String(std::strerror(failure));
}

}  // namespace OV::NetworkProbe
