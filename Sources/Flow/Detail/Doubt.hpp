#pragma once

#include "Failure.hpp"

#include <functional>

namespace SYC {

/// What became of a change that was sent to a server and failed. Where the server may have carried
/// it out all the same, `isDone` asks it, by requests that are quick, although the thread was
/// interrupted: no failure when it is done, `failure` when nothing was changed, and
/// FailureKind::OutcomeUnknown when the server does not say either.
[[nodiscard]] Failure Settle(Failure failure, const std::function<bool()>& isDone) noexcept;

}  // namespace SYC
