#pragma once

#include "Connection.hpp"
#include "PasswordSource.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
}

/// Where the server that a command is about is to be found. What the options leave open, Resolve
/// fills in from the environment and the profile.
struct AddressArguments {
    std::string server;
    std::uint16_t port = 0;

    /// "--server" and "--port".
    void AddOptions(CLI::App& command);
    /// Throws OV::IllegalArgumentException when something is still missing. With `project`, the
    /// name that a command was told may be a project URL, and is the name alone afterwards.
    void Resolve(Context& context, std::string* project = nullptr);

protected:
    /// Takes what holds of what is needed; whether all is there is the caller's to require.
    Connection Fill(Context& context, ConnectionValues options, Connection::Needs needs);
    [[nodiscard]] ConnectionValues Options(const std::string* project = nullptr) const;
};

/// How a command signs in to a server: where it is, and as whom.
struct ServerArguments : AddressArguments {
    std::string user;
    PasswordSource password;

    /// Those of the address, "--user", and where the password comes from.
    void AddOptions(CLI::App& command);
    void Resolve(Context& context, std::string* project = nullptr);
    /// The one that an option, the URL or the environment names; nothing without.
    [[nodiscard]] std::optional<OV::Secret> GivenPassword() const;
    /// As the option says, or else the URL, the environment, the passwords that this machine keeps,
    /// and last a person.
    [[nodiscard]] OV::Secret ReadPassword() const;
    /// The origin of what ReadPassword returns, in words.
    [[nodiscard]] std::string DescribePasswordSource() const;
    /// "user on server:port" for prompts.
    [[nodiscard]] std::string Describe() const;

protected:
    Connection Fill(Context& context, ConnectionValues options, Connection::Needs needs);

private:
    /// Nothing when there is none.
    [[nodiscard]] OV::Secret StoredPassword() const;

    OV::Secret urlPassword_;
    std::string environmentFile_;
    Context* context_ = nullptr;
};
