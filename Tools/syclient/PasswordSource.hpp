#pragma once

#include "OVRoot/Secret.hpp"

#include <string>

namespace CLI {
class App;
}

/// Where a command takes a password from: a file, standard input, or a prompt without echo. Never
/// the command line, which every process of the machine can read.
struct PasswordSource {
    std::string file;
    bool fromStandardInput = false;

    /// "--password-file" and "--password-stdin"; with `kind`, as "new-", those of another password
    /// of the same command. Two that come from standard input are its lines in turn.
    void AddOptions(CLI::App& command, const std::string& kind = "");
    /// Whether an option named the place, so that nobody is asked.
    [[nodiscard]] bool IsGiven() const noexcept { return !file.empty() || fromStandardInput; }
    /// `promptFor` is shown to a person ("anna.novak on nexar.example:19001"). Throws
    /// OV::IllegalArgumentException when there is no way to ask.
    [[nodiscard]] OV::Secret Read(const std::string& promptFor) const;
    /// A password to be set, asked for twice where it is typed unseen; throws as well when the two
    /// differ.
    [[nodiscard]] OV::Secret ReadNew(const std::string& promptFor) const;
};
