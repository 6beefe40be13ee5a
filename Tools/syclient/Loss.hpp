#pragma once

#include "ExitCode.hpp"
#include "IO/Location.hpp"

#include <string>

/// Why a server cannot be worked with: the exit code that says so, and the words.
struct Loss {
    ExitCode exitCode = ExitCode::Offline;
    std::string reason;
};

/// Asks the server of a project URL once more, for who knows only that something failed: success
/// when it takes the login, with its answer for what there is of `projectId`, empty for any.
[[nodiscard]] Loss AskForLoss(const IO::Location& project, const OV::UniString& projectId = {});
