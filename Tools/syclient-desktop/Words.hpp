#pragma once

#include "DesktopText.hpp"
#include "Failure.hpp"

#include <QString>

#include <cstdint>

/// Texts that several parts of the window use.
namespace Words {

/// Seconds since 1970-01-01 UTC as people say them: "14:04" for today, "yesterday", a day of the
/// week, else the date; empty for 0.
[[nodiscard]] QString When(std::int32_t seconds);
/// The same with date and time, for a place that has room.
[[nodiscard]] QString Exactly(std::int32_t seconds);
/// What happened and what to do.
[[nodiscard]] QString ReasonOf(const SYC::Failure& failure);
/// "host:port", without the port that is usual.
[[nodiscard]] QString ServerName(const QString& host, int port);

}  // namespace Words
