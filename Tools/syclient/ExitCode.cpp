#include "ExitCode.hpp"

#include "SYCommunication/CommunicationException.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

ExitCode ExitCodeOf(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const OV::Exception& error) {
        for (const OV::Exception* each = &error; each != nullptr; each = each->GetCause())
            if (dynamic_cast<const Communication::CommunicationException*>(each) != nullptr)
                return ExitCode::Offline;
    } catch (...) {
    }
    return ExitCode::Failure;
}

ExitCode ExitCodeOf(const SYC::Failure& failure)
{
    switch (failure.kind) {
    case SYC::FailureKind::Cancelled:
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
    default:
        return ExitCode::Failure;
    }
}
