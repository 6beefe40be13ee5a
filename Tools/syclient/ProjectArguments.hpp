#pragma once

#include "ProjectConnectionInfo.hpp"
#include "ServerArguments.hpp"

#include <string>

/// How a command is told which project, as which user: by a project URL, or by its parts.
struct ProjectArguments : ServerArguments {
    std::string url;
    std::string project;

    void AddOptions(CLI::App& command);
    /// Throws OV::IllegalArgumentException when something is missing.
    void Resolve(Context& context);
    /// The same; what is missing stays empty.
    Connection Look(Context& context);
    /// Everything but the password.
    [[nodiscard]] SYC::Inner::ProjectConnectionInfo Describe() const;
    /// With the password.
    [[nodiscard]] SYC::Inner::ProjectConnectionInfo Read() const;

private:
    [[nodiscard]] ConnectionValues Options() const;
};

/// "user on server:port" for prompts and messages.
[[nodiscard]] std::string DescribeLogin(const SYC::Inner::ProjectConnectionInfo& info);
