#include "ServiceManager.hpp"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Nexar {

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
