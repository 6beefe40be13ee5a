#pragma once

#include "HttpServer.hpp"
#include "PasswordHash.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace Nexar {

/// What an administrator says, on the command line, in the environment or in a file.
struct Options {
    std::optional<int> exitCode;  ///< there is nothing to do any more
    std::string data;
    std::string address = "127.0.0.1";
    std::uint16_t port = 19001;
    std::uint16_t managementPort = 0;
    std::uint16_t messagingPort = 0;
    std::string certificate;
    std::string key;
    std::optional<std::string> certificateHost;  ///< whom to make a certificate for
    bool sample = false;
    std::uint32_t sampleLines = 200'000;
    std::optional<std::string> newUser;
    std::string passwordFile;
    std::uint32_t presenceGrace = 10'000;
    PasswordHash::Cost cost = PasswordHash::Cost::Interactive;
    HttpLimits limits;
};

/// Prints what is to be printed, and says so by the exit code.
[[nodiscard]] Options ReadOptions(int argc, char** argv);

}  // namespace Nexar
