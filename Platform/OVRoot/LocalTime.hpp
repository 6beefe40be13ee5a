#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace OV {

/// A moment as the clocks of the user's place show it.
struct LocalTime {
    int year = 1970;  ///< of the Gregorian calendar
    int month = 1;    ///< from 1
    int day = 1;      ///< from 1
    int hour = 0;     ///< 0 to 23
    int minute = 0;   ///< 0 to 59
    int second = 0;   ///< 0 to 59

    friend bool operator==(const LocalTime&, const LocalTime&) = default;
};

/// `seconds` since 1970-01-01 UTC. Safe on any thread.
[[nodiscard]] SYC_API LocalTime ToLocalTime(std::int64_t seconds);
/// Seconds since 1970-01-01 UTC. A moment that the clocks show twice is the first one of them; one
/// that they skip lies as much later as they skip. Depends on nothing but the zone.
[[nodiscard]] SYC_API std::int64_t FromLocalTime(const LocalTime& time);
/// The first and the last second of a day in seconds since 1970-01-01 UTC, however long the day is:
/// of two hours that the clocks show alike both belong to it. Days beyond the end of a month are
/// those of the next one.
[[nodiscard]] SYC_API std::int64_t StartOfDay(int year, int month, int day);
/// The last second of that day, see StartOfDay.
[[nodiscard]] SYC_API std::int64_t EndOfDay(int year, int month, int day);
/// "2026-11-24 13:05:09", which sorts as the time does.
[[nodiscard]] SYC_API UniString FormatLocalTime(std::int64_t seconds);

}  // namespace OV
