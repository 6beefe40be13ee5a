#pragma once

#include "Failure.hpp"
#include "OVRoot/Export.hpp"

#include <chrono>
#include <optional>

namespace SYC {

/// Why a mail still stands in the outbox. In the order of their sentences among the mail texts.
enum class OutboxReason : std::int32_t {
    Sending,         ///< it is on its way to the server
    Queued,          ///< others before it are
    Offline,         ///< the server is out of reach
    WorkingOffline,  ///< the user wants it so
    TriedAgain,      ///< the server could not take it, which may pass by itself
    Refused,         ///< the server does not want it, or nothing of its user
    UnknownActions,  ///< the process that wrote it sends it
};

/// How a mail of the outbox stands.
struct OutboxStatus {
    OutboxReason reason = OutboxReason::Queued;  ///< why it waits
    /// Of the last attempt, when that is why it waits.
    Failure failure;
    /// When it is tried again without anybody's help; for Offline, when the server is. Nothing when
    /// that is not foreseen, or being tried just now.
    std::optional<std::chrono::steady_clock::time_point> nextTry;
};

/// A sentence or two for people.
[[nodiscard]] SYC_API OV::UniString ToText(const OutboxStatus& status);

}  // namespace SYC
