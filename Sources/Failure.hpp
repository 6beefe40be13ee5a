#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstdint>
#include <exception>

namespace SYC {

enum class CheckResult : std::int32_t;
enum class HostEvent : std::int32_t;

/// What kind of thing went wrong. The numbers are those of the kind's words in the string lists
/// 32120 (what happened) and 32121 (what to do).
enum class FailureKind : std::int32_t {
    None = 0,
    Cancelled = 1,  ///< somebody asked for it
    NotReached,     ///< no connection, or no answer in time
    NotTrusted,     ///< nothing shows that the server is the right one; nothing was sent to it
    NotUnderstood,  ///< what answered does not speak the protocol
    WorkingOffline,
    AccessDenied,
    SessionInUse,
    ProjectMismatch,
    ProjectNotFound,
    ForbiddenByState,
    UnderMaintenance,
    IncompatibleVersion,
    ServerBusy,
    ServerFailed,
    ServerRefused,
    ObjectGone,
    NameTaken,
    ObjectInUse,
    NoSession,
    NoCache,
    ThisComputer,  ///< its disk, its files, its system
    WrongInput,
    OutOfMemory,
    Unexpected,
    UnsentWork,      ///< changes or mails that would be lost
    OutcomeUnknown,  ///< a change was sent, and nobody can say whether it was carried out
};

/// Why something failed, in the one form in which connections, updaters and repositories tell it.
struct SYC_API Failure {
    /// None when nothing failed.
    FailureKind kind = FailureKind::None;
    /// The server's code (SyncraProtocol/ErrorCode.hpp); 0 when it refused nothing.
    std::int32_t code = 0;
    /// What happened, for people, with server or file and the reason of the system.
    OV::UniString sentence;
    /// What the user can do about it.
    OV::UniString advice;
    /// Whether the same may succeed when it is tried again without anything being done before.
    bool mayTryAgain = false;

    /// Whether something failed.
    explicit operator bool() const noexcept { return kind != FailureKind::None; }
};

/// A failure of that kind in the words of the resources; `detail` stands for the "%" of those that
/// have one.
[[nodiscard]] SYC_API Failure MakeFailure(FailureKind kind, const OV::UniString& detail = {});

/// Called in a handler: what the exception that is being handled means, whatever its type. Throws
/// nothing; without memory for the words it has none.
[[nodiscard]] SYC_API Failure DescribeException() noexcept;
/// The same of an exception that was kept; no failure for null.
[[nodiscard]] SYC_API Failure DescribeException(const std::exception_ptr& exception) noexcept;

/// The kind that a result or an event stands for when nothing more is known.
[[nodiscard]] SYC_API FailureKind KindOf(CheckResult result) noexcept;
/// See KindOf(CheckResult).
[[nodiscard]] SYC_API FailureKind KindOf(HostEvent event) noexcept;

/// What a result means, and what the user can do about it; the advice is empty for success.
[[nodiscard]] SYC_API OV::UniString ToText(CheckResult result);
/// See ToText(CheckResult).
[[nodiscard]] SYC_API OV::UniString GetAdvice(CheckResult result);
/// The same of an event of the host; `text` is what came with it.
[[nodiscard]] SYC_API OV::UniString ToText(HostEvent event, const OV::UniString& text = {});
/// See ToText(HostEvent).
[[nodiscard]] SYC_API OV::UniString GetAdvice(HostEvent event);

}  // namespace SYC
