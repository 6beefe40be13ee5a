#pragma once

#include "ExitCode.hpp"
#include "IO/Location.hpp"
#include "Output.hpp"

#include <string>

namespace SYC {
class RegisteredProjects;
}

/// What all commands share. A command leaves its exit code in it.
struct Context {
    Output output;
    std::string dataFolder;
    ExitCode exitCode = ExitCode::Success;

    /// Where the caches stand: as --data-folder says, or else the options of this machine.
    [[nodiscard]] IO::Location DataFolder() const;
    /// The registry of this machine, its options read.
    [[nodiscard]] static SYC::RegisteredProjects& Registry();
};
