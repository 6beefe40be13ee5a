#include "ExitCode.hpp"

#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/CommunicationException.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace {

constexpr std::array<std::pair<ExitCode, const char*>, 13> Words{{
    {ExitCode::Success, "done"},
    {ExitCode::Failure, "failure"},
    {ExitCode::Usage, "usage"},
    {ExitCode::NotFound, "not-found"},
    {ExitCode::Offline, "offline"},
    {ExitCode::AccessDenied, "access-denied"},
    {ExitCode::SessionInUse, "session-in-use"},
    {ExitCode::ProjectMismatch, "mismatch"},
    {ExitCode::ProjectNotFound, "project-not-found"},
    {ExitCode::ForbiddenByState, "forbidden-by-state"},
    {ExitCode::IncompatibleVersion, "incompatible-version"},
    {ExitCode::Interrupted, "interrupted"},
    {ExitCode::Terminated, "terminated"},
}};

/// What one exception says, its causes apart.
std::optional<ExitCode> OwnExitCode(const OV::Exception& failure)
{
    if (const auto* command = dynamic_cast<const CommandFailure*>(&failure))
        return command->GetExitCode();
    if (dynamic_cast<const OV::IllegalArgumentException*>(&failure) != nullptr)
        return ExitCode::Usage;
    if (dynamic_cast<const SYCB::IncopatibleServerVersionException*>(&failure) != nullptr)
        return ExitCode::IncompatibleVersion;
    if (const auto* refusal =
            dynamic_cast<const Communication::ResponseContentException*>(&failure))
        return ExitCodeOfRefusal(refusal->GetErrorCode());
    if (dynamic_cast<const Communication::CommunicationException*>(&failure) != nullptr)
        return ExitCode::Offline;
    return std::nullopt;
}

}  // namespace

const char* WordOf(ExitCode exitCode)
{
    const auto found = std::find_if(Words.begin(), Words.end(),
                                    [=](const auto& each) { return each.first == exitCode; });
    return found == Words.end() ? "failure" : found->second;
}

ExitCode ExitCodeOf(const OV::Exception& failure)
{
    for (const OV::Exception* each = &failure; each != nullptr; each = each->GetCause())
        if (const auto exitCode = OwnExitCode(*each))
            return *exitCode;
    return ExitCode::Failure;
}

ExitCode ExitCodeOf(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const OV::Exception& error) {
        return ExitCodeOf(error);
    } catch (...) {
        return ExitCode::Failure;
    }
}

ExitCode ExitCodeOf(const SYC::Failure& failure)
{
    if (failure.code != 0)
        return ExitCodeOfRefusal(failure.code);
    switch (failure.kind) {
    case SYC::FailureKind::AccessDenied:
        return ExitCode::AccessDenied;
    case SYC::FailureKind::IncompatibleVersion:
        return ExitCode::IncompatibleVersion;
    case SYC::FailureKind::ObjectGone:
    case SYC::FailureKind::NoSession:
        return ExitCode::NotFound;
    case SYC::FailureKind::Cancelled:
    case SYC::FailureKind::NameTaken:
    case SYC::FailureKind::ObjectInUse:
    case SYC::FailureKind::UnsentWork:
    case SYC::FailureKind::OutcomeUnknown:
    case SYC::FailureKind::NoCache:
    case SYC::FailureKind::ThisComputer:
    case SYC::FailureKind::WrongInput:
    case SYC::FailureKind::OutOfMemory:
    case SYC::FailureKind::Unexpected:
        return ExitCode::Failure;
    default:
        return ExitCode::Offline;
    }
}

ExitCode ExitCodeOfRefusal(std::int32_t code)
{
    using Syncra::Protocol::ErrorCode;
    switch (static_cast<ErrorCode>(code)) {
    case ErrorCode::BadCredentials:
    case ErrorCode::AccessDenied:
    case ErrorCode::UserDisabled:
        return ExitCode::AccessDenied;
    case ErrorCode::NotFound:
        return ExitCode::NotFound;
    case ErrorCode::ProjectUnavailable:
        return ExitCode::ForbiddenByState;
    case ErrorCode::IncompatibleVersion:
        return ExitCode::IncompatibleVersion;
    case ErrorCode::StoreUnavailable:
    case ErrorCode::TooManyRequests:
        return ExitCode::Offline;  // it takes no work now
    default:
        return ExitCode::Failure;
    }
}
