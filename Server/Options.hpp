#pragma once

#include "HttpServer.hpp"
#include "Limits.hpp"
#include "PasswordHash.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace Nexar {

/// What an administrator says, on the command line, in the environment or in a file.
struct Options {
    std::optional<int> exitCode;  ///< there is nothing to do any more
    std::string store;
    std::string data;
    std::size_t writers = 4;
    std::string address = "127.0.0.1";
    std::uint16_t port = 19001;
    std::uint16_t managementPort = 0;
    std::uint16_t messagingPort = 0;
    bool isAnnounced = false;  ///< in the local network
    std::string certificate;
    std::string key;
    std::optional<std::string> certificateHost;  ///< whom to make a certificate for
    bool sample = false;
    std::uint32_t sampleLines = 200'000;
    std::optional<std::string> newUser;
    std::string passwordFile;
    std::size_t readers = 4;
    std::uint32_t lease = 15;
    std::uint32_t presenceGrace = 10'000;
    PasswordHash::Cost cost = PasswordHash::Cost::Interactive;
    HttpLimits limits;
    Limits userLimits;
    std::string auditFile;
    std::uint64_t auditBytes = 10u << 20;
    bool logsJson = false;
    std::string operationAddress = "127.0.0.1";
    std::optional<std::uint16_t> operationPort;
    enum class Command { Serve, Backup, Restore, Check, Compact, Copy } command = Command::Serve;
    std::string file;      ///< of a backup
    std::string from, to;  ///< of a copy
};

/// Prints what is to be printed, and says so by the exit code.
[[nodiscard]] Options ReadOptions(int argc, char** argv);

}  // namespace Nexar
