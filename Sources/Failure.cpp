#include "Failure.hpp"

#include "Cache/UnsentWorkException.hpp"
#include "CheckResult.hpp"
#include "Files/FileErrors.hpp"
#include "Files/ResourceNumbers.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Channel.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "OVRoot/Resources.hpp"
#include "OVRoot/XMLIChannel.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/UntrustedServer.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>
#include <new>

namespace SYC {

namespace {

using Syncra::Protocol::ErrorCode;

constexpr struct {
    ErrorCode code;
    FailureKind kind;
} Codes[] = {
    {ErrorCode::InternalError, FailureKind::ServerFailed},
    {ErrorCode::NoSuchRoute, FailureKind::NotUnderstood},
    {ErrorCode::BadCredentials, FailureKind::AccessDenied},
    {ErrorCode::AccessDenied, FailureKind::AccessDenied},
    {ErrorCode::UserDisabled, FailureKind::AccessDenied},
    {ErrorCode::TokenExpired, FailureKind::ServerFailed},
    {ErrorCode::NotFound, FailureKind::ObjectGone},
    {ErrorCode::NameAlreadyExists, FailureKind::NameTaken},
    {ErrorCode::SessionExists, FailureKind::ObjectInUse},
    {ErrorCode::ObjectInUse, FailureKind::ObjectInUse},
    {ErrorCode::ProjectUnavailable, FailureKind::UnderMaintenance},
    {ErrorCode::StoreUnavailable, FailureKind::ServerBusy},
    {ErrorCode::TooManyRequests, FailureKind::ServerBusy},
    {ErrorCode::IncompatibleVersion, FailureKind::IncompatibleVersion},
};

FailureKind KindOfRefusal(std::int32_t code)
{
    const auto found = std::find_if(std::begin(Codes), std::end(Codes), [=](const auto& row) {
        return static_cast<std::int32_t>(row.code) == code;
    });
    return found == std::end(Codes) ? FailureKind::ServerRefused : found->kind;
}

template <class Thrown>
bool Is(const OV::Exception& exception)
{
    return dynamic_cast<const Thrown*>(&exception) != nullptr;
}

/// A file or a cache that another program has open.
bool IsHeldByOther(const OV::Exception& exception)
{
    const auto* error = dynamic_cast<const IO::IOException*>(&exception);
    return error != nullptr && error->GetCode() == IO::ErrorCode::HeldByOther;
}

/// The first row that fits counts: some exceptions are the bases of those before them.
constexpr struct {
    bool (*fits)(const OV::Exception&);
    FailureKind kind;
} Kinds[] = {
    {Is<OV::InterruptedException>, FailureKind::Cancelled},
    {Is<Communication::UntrustedServerException>, FailureKind::NotTrusted},
    {Is<SYCB::IncopatibleServerVersionException>, FailureKind::IncompatibleVersion},
    {Is<Syncra::Client::ServerVersionException>, FailureKind::IncompatibleVersion},
    {Is<Communication::MalformedResponseException>, FailureKind::NotUnderstood},
    {Is<Communication::CommunicationException>, FailureKind::NotReached},
    {Is<UnsentWorkException>, FailureKind::UnsentWork},
    {IsHeldByOther, FailureKind::ObjectInUse},
    {Is<IO::IOException>, FailureKind::ThisComputer},
    {Is<Syncra::Server::ManagementTool::Core::FileError>, FailureKind::ThisComputer},
    {Is<OV::XMLChannelException>, FailureKind::ThisComputer},
    {Is<OV::ChannelException>, FailureKind::ThisComputer},
    {Is<OV::IllegalArgumentException>, FailureKind::WrongInput},
};

constexpr FailureKind WorthTryingAgain[] = {
    FailureKind::Cancelled,      FailureKind::NotReached,       FailureKind::NotUnderstood,
    FailureKind::WorkingOffline, FailureKind::UnderMaintenance, FailureKind::ServerBusy,
    FailureKind::ServerFailed,   FailureKind::NoSession,        FailureKind::OutOfMemory,
};

bool IsWorthTryingAgain(FailureKind kind)
{
    return std::find(std::begin(WorthTryingAgain), std::end(WorthTryingAgain), kind) !=
           std::end(WorthTryingAgain);
}

OV::UniString WordsOf(FailureKind kind, const OV::UniString& detail)
{
    return OV::FormatText(
        OV::GetStringListItem(TextLists::Failures, static_cast<std::int32_t>(kind)), {detail});
}

OV::UniString AdviceOn(FailureKind kind)
{
    return kind == FailureKind::None
               ? OV::UniString()
               : OV::GetStringListItem(TextLists::FailureAdvice, static_cast<std::int32_t>(kind));
}

/// What the outermost exception that says something of itself says: one of a step tells which step
/// it was, its cause why.
void TakeFamily(const OV::Exception& exception, Failure& failure)
{
    failure.kind = FailureKind::Unexpected;
    for (const auto* each = &exception; each != nullptr; each = each->GetCause()) {
        if (const auto* refusal =
                dynamic_cast<const Communication::ResponseContentException*>(each)) {
            failure.code = refusal->GetErrorCode();
            failure.kind = KindOfRefusal(failure.code);
            return;
        }
        for (const auto& row : Kinds)
            if (row.fits(*each)) {
                failure.kind = row.kind;
                return;
            }
    }
}

void TakeCurrentException(Failure& failure)
{
    try {
        throw;
    } catch (const OV::Exception& exception) {
        TakeFamily(exception, failure);
    } catch (const std::bad_alloc&) {
        failure.kind = FailureKind::OutOfMemory;
    } catch (...) {
        failure.kind = FailureKind::Unexpected;
    }
}

}  // namespace

Failure MakeFailure(FailureKind kind, const OV::UniString& detail)
{
    if (kind == FailureKind::None)
        return {};
    return {kind, 0, WordsOf(kind, detail), AdviceOn(kind), IsWorthTryingAgain(kind)};
}

Failure DescribeException() noexcept
{
    Failure failure;
    TakeCurrentException(failure);
    failure.mayTryAgain = IsWorthTryingAgain(failure.kind);
    try {
        failure.sentence = OV::DescribeCurrentException();
        failure.advice = AdviceOn(failure.kind);
    } catch (...) {
        // There is no memory for the words.
    }
    return failure;
}

Failure DescribeException(const std::exception_ptr& exception) noexcept
{
    if (!exception)
        return {};
    try {
        std::rethrow_exception(exception);
    } catch (...) {
        return DescribeException();
    }
}

FailureKind KindOf(CheckResult result) noexcept
{
    switch (result) {
    case CheckResult::Passed:
        return FailureKind::None;
    case CheckResult::AccessDenied:
        return FailureKind::AccessDenied;
    case CheckResult::SessionInUse:
        return FailureKind::SessionInUse;
    case CheckResult::ProjectMismatch:
        return FailureKind::ProjectMismatch;
    case CheckResult::ProjectNotFound:
        return FailureKind::ProjectNotFound;
    case CheckResult::ForbiddenByState:
        return FailureKind::ForbiddenByState;
    case CheckResult::IncompatibleVersion:
        return FailureKind::IncompatibleVersion;
    case CheckResult::Offline:
        break;
    }
    return FailureKind::NotReached;
}

FailureKind KindOf(HostEvent event) noexcept
{
    switch (event) {
    case HostEvent::SessionInUse:
        return FailureKind::SessionInUse;
    case HostEvent::ProjectMismatch:
        return FailureKind::ProjectMismatch;
    case HostEvent::AccessDenied:
        return FailureKind::AccessDenied;
    case HostEvent::ProjectNotFound:
        return FailureKind::ProjectNotFound;
    case HostEvent::ForbiddenByState:
        return FailureKind::ForbiddenByState;
    case HostEvent::IncompatibleVersion:
        return FailureKind::IncompatibleVersion;
    }
    return FailureKind::Unexpected;
}

OV::UniString ToText(CheckResult result)
{
    return result == CheckResult::Passed
               ? OV::GetStringListItem(TextLists::CheckWords, 1)
               : WordsOf(KindOf(result), OV::GetStringListItem(TextLists::CheckWords, 2));
}

OV::UniString GetAdvice(CheckResult result)
{
    return AdviceOn(KindOf(result));
}

OV::UniString ToText(HostEvent event, const OV::UniString& text)
{
    return WordsOf(KindOf(event),
                   text.empty() ? OV::GetStringListItem(TextLists::CheckWords, 2) : text);
}

OV::UniString GetAdvice(HostEvent event)
{
    return AdviceOn(KindOf(event));
}

}  // namespace SYC
