#pragma once

#include "ExitCode.hpp"
#include "IO/Location.hpp"
#include "Output.hpp"
#include "RegisteredProjects.hpp"

#include <string>

namespace CLI {
class App;
}

/// What all commands share.
struct Context {
    Output output;
    std::string dataFolder;
    ExitCode exitCode = ExitCode::Success;

    /// Where the caches stand: as --data-folder says, or else the options of this machine.
    [[nodiscard]] IO::Location DataFolder() const;
    /// The registry of this machine, its options read.
    [[nodiscard]] static SYC::RegisteredProjects& Registry();
};

/// Each adds its command to `app`; the command leaves its exit code in `context`, which outlives
/// the app.
void AddOpenCommand(CLI::App& app, Context& context);
void AddCloseCommand(CLI::App& app, Context& context);
void AddCloseProjectCommand(CLI::App& app, Context& context);
void AddStatusCommand(CLI::App& app, Context& context);
void AddCacheCommand(CLI::App& app, Context& context);
void AddLogCommand(CLI::App& app, Context& context);
void AddMailCommand(CLI::App& app, Context& context);
void AddMembersCommand(CLI::App& app, Context& context);
void AddServerCommand(CLI::App& app, Context& context);
/// Those of "server" for trust.
void AddTrustCommands(CLI::App& server, Context& context);
void AddPasswordCommand(CLI::App& app, Context& context);
void AddAuthenticateCommand(CLI::App& app, Context& context);
void AddUrlCommand(CLI::App& app, Context& context);
void AddProjectsCommand(CLI::App& app, Context& context);
void AddOptionsCommand(CLI::App& app, Context& context);
void AddPhotoCommand(CLI::App& app, Context& context);
