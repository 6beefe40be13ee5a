#include "OVRoot/System.hpp"

#include <cstdlib>
#include <netdb.h>
#include <pthread.h>
#include <pwd.h>
#include <unistd.h>

namespace OV::System {

UniString ComputerName()
{
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) != 0)
        return {};
    return FromUtf8(name).substr(0, 512);
}

bool IsNumericHostAddress(StringView host)
{
    addrinfo wanted{};
    wanted.ai_flags = AI_NUMERICHOST;
    addrinfo* found = nullptr;
    if (getaddrinfo(String(host).c_str(), nullptr, &wanted, &found) != 0)
        return false;
    freeaddrinfo(found);
    return true;
}

String EnvironmentVariable(StringView name)
{
    const char* value = std::getenv(String(name).c_str());
    return value != nullptr ? value : "";
}

String HomeFolder()
{
    String home = EnvironmentVariable("HOME");
    if (!home.empty())
        return home;
    const passwd* user = getpwuid(getuid());
    return user != nullptr ? user->pw_dir : "/";
}

std::uint32_t ProcessId()
{
    return static_cast<std::uint32_t>(getpid());
}

std::tm ToLocalTime(std::time_t time)
{
    std::tm parts{};
    localtime_r(&time, &parts);
    return parts;
}

void NameCurrentThread(StringView name)
{
    // Linux takes 15 characters.
    pthread_setname_np(pthread_self(), String(name.substr(0, 15)).c_str());
}

}  // namespace OV::System
