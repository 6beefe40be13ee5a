#pragma once

#include "PasswordSource.hpp"

#include <cstdint>
#include <string>

namespace CLI {
class App;
}

/// Where the server that a command is about is to be found.
struct AddressArguments {
    std::string server;
    std::uint16_t port = 0;

    /// "--server" and "--port".
    void AddOptions(CLI::App& command, bool areRequired = true);
};

/// How a command signs in to a server: where it is, and as whom.
struct ServerArguments : AddressArguments {
    std::string user;
    PasswordSource password;

    /// Those of the address, "--user", and where the password comes from.
    void AddOptions(CLI::App& command, bool areRequired = true);
    /// "user on server:port" for prompts.
    [[nodiscard]] std::string Describe() const;
};
