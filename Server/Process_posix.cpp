#include "Process.hpp"

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
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

void LetOtherThreadsGoFirst() noexcept
{
    // Ten steps below the process are a tenth of the time of a thread that also wants to run.
    constexpr int steps = 10;
    const int priority = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), priority + steps);
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
