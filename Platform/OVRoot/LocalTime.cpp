#include "OVRoot/LocalTime.hpp"

#include "OVRoot/System.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace OV {

namespace {

constexpr std::int64_t Day = 86'400;

/// Seconds from 1970-01-01 to that moment by a clock that always goes on. Months and days beyond
/// their range count on.
std::int64_t ClockSeconds(const LocalTime& time)
{
    // Years from March on, so that the leap day is the last of its year; 400 of them repeat.
    const std::int64_t months = std::int64_t(time.year) * 12 + time.month - 3;
    const std::int64_t year = months >= 0 ? months / 12 : (months - 11) / 12;
    const std::int64_t era = year >= 0 ? year / 400 : (year - 399) / 400;
    const std::int64_t ofEra = year - era * 400;
    const std::int64_t days =
        ofEra * 365 + ofEra / 4 - ofEra / 100 + (153 * (months - year * 12) + 2) / 5 + time.day - 1;
    constexpr std::int64_t eraDays = 146'097, firstDay = 719'468;
    return (era * eraDays + days - firstDay) * Day + std::int64_t(time.hour) * 3600 +
           std::int64_t(time.minute) * 60 + time.second;
}

/// The moments at which the clocks show `time`, the first and the last of them. Clocks that skip it
/// give a moment behind the gap.
std::pair<std::int64_t, std::int64_t> MomentsOf(const LocalTime& time)
{
    const std::int64_t shown = ClockSeconds(time);
    const auto offsetAt = [](std::int64_t moment) {
        return ClockSeconds(ToLocalTime(moment)) - moment;
    };
    // What the clocks were ahead of UTC around then: no zone is a day ahead.
    const std::array<std::int64_t, 3> moments{
        shown - offsetAt(shown - Day), shown - offsetAt(shown), shown - offsetAt(shown + Day)};
    std::optional<std::pair<std::int64_t, std::int64_t>> found;
    for (const std::int64_t moment : moments) {
        if (ClockSeconds(ToLocalTime(moment)) != shown)
            continue;
        if (!found)
            found.emplace(moment, moment);
        found->first = std::min(found->first, moment);
        found->second = std::max(found->second, moment);
    }
    return found.value_or(std::pair(moments[0], moments[0]));
}

}  // namespace

LocalTime ToLocalTime(std::int64_t seconds)
{
    const std::tm time = System::ToLocalTime(static_cast<std::time_t>(seconds));
    return {time.tm_year + 1900, time.tm_mon + 1, time.tm_mday,
            time.tm_hour,        time.tm_min,     time.tm_sec};
}

std::int64_t FromLocalTime(const LocalTime& time)
{
    return MomentsOf(time).first;
}

std::int64_t StartOfDay(int year, int month, int day)
{
    return MomentsOf({year, month, day, 0, 0, 0}).first;
}

std::int64_t EndOfDay(int year, int month, int day)
{
    return MomentsOf({year, month, day, 23, 59, 59}).second;
}

UniString FormatLocalTime(std::int64_t seconds)
{
    const LocalTime time = ToLocalTime(seconds);
    const std::array<int, 6> values{time.year, time.month,  time.day,
                                    time.hour, time.minute, time.second};
    constexpr std::array<char16_t, 6> separators{u'-', u'-', u' ', u':', u':', 0};
    UniString text;
    text.reserve(19);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i == 0)
            text += ToText(values[i]);
        else {
            text += static_cast<char16_t>(u'0' + values[i] / 10 % 10);
            text += static_cast<char16_t>(u'0' + values[i] % 10);
        }
        if (separators[i] != 0)
            text += separators[i];
    }
    return text;
}

}  // namespace OV
