#pragma once

#include "CheckResult.hpp"
#include "Failure.hpp"
#include "OVRoot/Exception.hpp"

#include <cstdint>
#include <exception>

/// What a script learns from the end of syclient; listed in --help and Docs/Commands.md.
enum class ExitCode : int {
    Success = 0,
    Failure = 1,  ///< the message says what, where and what to do
    Usage = 2,
    NotFound = 3,  ///< no such cache, folder or key
    Offline = 11,
    AccessDenied = 12,
    SessionInUse = 13,
    ProjectMismatch = 15,
    ProjectNotFound = 16,
    ForbiddenByState = 17,
    IncompatibleVersion = 18,
    Interrupted = 130,  ///< by Ctrl-C, as shells tell it
    Terminated = 143,
};

/// The exit code in one word, for scripts.
[[nodiscard]] const char* WordOf(ExitCode exitCode);

/// Why a command ends: what to say, and its exit code.
class CommandFailure : public OV::Exception {
public:
    CommandFailure(ExitCode exitCode, OV::UniString message)
        : Exception(std::move(message)), exitCode_(exitCode)
    {}
    [[nodiscard]] ExitCode GetExitCode() const noexcept { return exitCode_; }
    OV_EXCEPTION_IDENTITY(CommandFailure)

private:
    ExitCode exitCode_;
};

/// What a failure, or what caused it, comes to: a server that could not be worked with, one that
/// refused, wrong usage; a failure that happened on this machine is 1.
[[nodiscard]] ExitCode ExitCodeOf(const OV::Exception& failure);
[[nodiscard]] ExitCode ExitCodeOf(const std::exception_ptr& failure);

/// The same of a failure that was described.
[[nodiscard]] ExitCode ExitCodeOf(const SYC::Failure& failure);

/// The exit code of a server's refusal, told by its code.
[[nodiscard]] ExitCode ExitCodeOfRefusal(std::int32_t code);

/// Each result of a check has an exit code of its own: ten above its number, 0 for a check that
/// passed.
[[nodiscard]] constexpr ExitCode ExitCodeOf(SYC::CheckResult result)
{
    return result == SYC::CheckResult::Passed
               ? ExitCode::Success
               : static_cast<ExitCode>(10 + static_cast<int>(result));
}
