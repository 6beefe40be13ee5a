#include "OVRoot/System.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <pthread.h>
#include <pwd.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace OV::System {

UniString ComputerName()
{
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) != 0)
        return {};
    return FromUtf8(name).substr(0, 512);
}

namespace {

using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

/// Null for a name.
Addresses NumericAddress(StringView host)
{
    addrinfo wanted{};
    wanted.ai_flags = AI_NUMERICHOST;
    addrinfo* found = nullptr;
    const bool isAddress = getaddrinfo(String(host).c_str(), nullptr, &wanted, &found) == 0;
    return {isAddress ? found : nullptr, &freeaddrinfo};
}

}  // namespace

bool IsNumericHostAddress(StringView host)
{
    return NumericAddress(host) != nullptr;
}

bool IsLoopbackAddress(StringView host)
{
    constexpr unsigned char loopback = 127;
    const Addresses found = NumericAddress(host);
    if (!found)
        return false;
    if (found->ai_family == AF_INET) {
        sockaddr_in address{};
        std::memcpy(&address, found->ai_addr, sizeof address);
        return ntohl(address.sin_addr.s_addr) >> 24U == loopback;
    }
    if (found->ai_family != AF_INET6)
        return false;
    sockaddr_in6 address{};
    std::memcpy(&address, found->ai_addr, sizeof address);
    return IN6_IS_ADDR_LOOPBACK(&address.sin6_addr) ||
           (IN6_IS_ADDR_V4MAPPED(&address.sin6_addr) && address.sin6_addr.s6_addr[12] == loopback);
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

std::uint64_t ProcessMemory()
{
    std::ifstream file("/proc/self/statm");
    std::uint64_t all = 0, resident = 0;
    file >> all >> resident;
    return file ? resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) : 0;
}

String Description()
{
    utsname name{};
    return uname(&name) != 0 ? String()
                             : String(name.sysname) + " " + name.release + " " + name.machine;
}

String ProgramFolder()
{
    std::array<char, 4096> path{};
    const auto length = readlink("/proc/self/exe", path.data(), path.size());
    const StringView file(path.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    return String(file.substr(0, file.find_last_of('/') + 1));
}

std::optional<int> RunProgram(const String& file, std::vector<String> arguments)
{
    std::vector<char*> pointers{const_cast<char*>(file.c_str())};
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, file.c_str(), nullptr, nullptr, pointers.data(), environ) != 0)
        return std::nullopt;
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::tm ToLocalTime(std::time_t time)
{
    std::tm parts{};
    localtime_r(&time, &parts);
    return parts;
}

void FillRandom(std::span<std::byte> bytes)
{
    if (getentropy(bytes.data(), bytes.size()) != 0)
        throw std::runtime_error("The system gives no random numbers.");
}

void IgnoreBrokenPipes()
{
    std::signal(SIGPIPE, SIG_IGN);
}

std::size_t RaiseDescriptorLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return FOPEN_MAX;
    const rlimit raised{limit.rlim_max, limit.rlim_max};
    if (setrlimit(RLIMIT_NOFILE, &raised) == 0)
        limit = raised;
    return static_cast<std::size_t>(limit.rlim_cur);
}

void ForbidCoreDumps()
{
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

void NameCurrentThread(StringView name)
{
    // Linux takes 15 characters.
    pthread_setname_np(pthread_self(), String(name.substr(0, 15)).c_str());
}

}  // namespace OV::System
