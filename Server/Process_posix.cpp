#include "Process.hpp"

#include "OVRoot/SecureWipe.hpp"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace Nexar {

void FailTooLargeFiles() noexcept
{
    std::signal(SIGXFSZ, SIG_IGN);
}

void KeepFreedMemory() noexcept
{
#ifdef __GLIBC__
    constexpr int largestOfHeap = 32 << 20;  // the most that it takes
    constexpr int mostKept = 128 << 20;
    constexpr int growth = 4 << 20;
    mallopt(M_MMAP_THRESHOLD, largestOfHeap);
    mallopt(M_TRIM_THRESHOLD, mostKept);
    mallopt(M_TOP_PAD, growth);
#endif
}

namespace {

constexpr std::size_t LargestMessage = 8192;
constexpr int AnswersDescriptor = STDIN_FILENO;

/// Of a message as a whole; nothing when the other end has gone, or says nothing in time.
std::optional<std::string> Receive(int channel)
{
    std::string message(LargestMessage, '\0');
    ssize_t size = 0;
    do
        size = recv(channel, message.data(), message.size(), 0);
    while (size < 0 && errno == EINTR);
    if (size <= 0)
        return std::nullopt;
    message.resize(static_cast<std::size_t>(size));
    return message;
}

bool Send(int channel, std::string_view message)
{
    return send(channel, message.data(), message.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(message.size());
}

/// This program anew, with that argument, the channel in place of its standard input, and nothing
/// else of what is open here. It hears of the end by the channel alone.
int Spawn(const char* argument, int channel)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, channel, AnswersDescriptor);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t unheard;
    sigemptyset(&unheard);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&unheard, signal);
    posix_spawnattr_setsigmask(&attributes, &unheard);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    std::string name = "nexar-server", what = argument;
    char* const arguments[] = {name.data(), what.data(), nullptr};
    pid_t id = -1;
    const int error = posix_spawn(&id, "/proc/self/exe", &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "no process");
    return id;
}

}  // namespace

HelperProcess::HelperProcess(const char* argument)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::system_error(errno, std::generic_category(), "no channel to a process");
    channel_ = ends[0];
    constexpr timeval longestAnswer{60, 0};
    (void)setsockopt(channel_, SOL_SOCKET, SO_RCVTIMEO, &longestAnswer, sizeof longestAnswer);
    try {
        id_ = Spawn(argument, ends[1]);
    } catch (...) {
        close(ends[0]);
        close(ends[1]);
        throw;
    }
    close(ends[1]);
}

HelperProcess::~HelperProcess()
{
    close(channel_);
    kill(id_, SIGKILL);
    while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR)
        continue;
}

std::optional<std::string> HelperProcess::Ask(std::string_view request)
{
    return Send(channel_, request) ? Receive(channel_) : std::nullopt;
}

void AnswerRequests(const std::function<std::string(std::string_view)>& answer) noexcept
{
    // Ten steps below the others are a tenth of the time of one that also wants to run.
    constexpr int steps = 10;
    (void)setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, 0) + steps);
    try {
        while (auto request = Receive(AnswersDescriptor)) {
            const OV::SecureWipeGuard wipe(*request);
            if (!Send(AnswersDescriptor, answer(*request)))
                return;
        }
    } catch (...) {
        // Whoever asked hears that this process has gone.
    }
}

Wakeup::Wakeup() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (event_ < 0)
        throw std::system_error(errno, std::generic_category(), "no event");
}

Wakeup::~Wakeup()
{
    close(event_);
}

void Wakeup::Wake() noexcept
{
    (void)eventfd_write(event_, 1);
}

void Wakeup::WaitForInput(int descriptor, std::chrono::milliseconds longest) noexcept
{
    pollfd waiting[] = {{event_, POLLIN, 0}, {descriptor, POLLIN, 0}};
    (void)poll(waiting, 2, static_cast<int>(longest.count()));
    eventfd_t count = 0;
    (void)eventfd_read(event_, &count);
}

void TellServiceManager(const std::string& state) noexcept
{
    const char* const path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    const std::size_t size = path != nullptr ? std::strlen(path) : 0;
    if (size == 0 || size >= sizeof address.sun_path)
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, size);
    // A name of no file begins with a zero.
    if (address.sun_path[0] == '@')
        address.sun_path[0] = '\0';
    const int channel = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (channel < 0)
        return;
    (void)sendto(channel, state.data(), state.size(), MSG_NOSIGNAL,
                 reinterpret_cast<const sockaddr*>(&address),
                 static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size));
    close(channel);
}

}  // namespace Nexar
