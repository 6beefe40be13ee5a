#pragma once

#include "ExitCode.hpp"
#include "IO/Location.hpp"
#include "Output.hpp"

#include <string>

namespace SYC {
class RegisteredProjects;
}

/// Which server, login and project a command turned out to be about; empty where it is about none.
struct Place {
    std::string server;
    std::uint16_t port = 0;
    std::string user;
    std::string project;
};

/// What all commands share. A command leaves its exit code in it.
struct Context {
    Output output;
    std::string dataFolder;
    std::string profile;  ///< named by --profile
    Place place;
    bool isPasswordStored = false;  ///< the one that was used
    ExitCode exitCode = ExitCode::Success;

    /// Ends the output: what was held back of a failure, and for scripts the failure as one value.
    /// The exit code of the process.
    [[nodiscard]] ExitCode Finish();

    /// Where the caches stand: as --data-folder says, or else the options of this machine.
    [[nodiscard]] IO::Location DataFolder() const;
    /// The registry of this machine, its options read.
    [[nodiscard]] static SYC::RegisteredProjects& Registry();
};
