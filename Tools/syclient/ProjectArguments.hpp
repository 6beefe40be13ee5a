#pragma once

#include "IO/Location.hpp"
#include "ProjectConnectionInfo.hpp"
#include "ServerArguments.hpp"

#include <string>

/// How a command is told which project, as which user: by a project URL, or by its parts.
struct ProjectArguments {
    std::string url;
    std::string project;
    ServerArguments server;

    void AddOptions(CLI::App& command);
    /// Everything but the password. Throws OV::IllegalArgumentException when something is missing.
    [[nodiscard]] SYC::Inner::ProjectConnectionInfo Describe() const;
    /// With the password, asked for when a URL does not carry one.
    [[nodiscard]] SYC::Inner::ProjectConnectionInfo Read() const;
};

/// "user on server:port" for prompts and messages.
[[nodiscard]] std::string DescribeLogin(const SYC::Inner::ProjectConnectionInfo& info);
