#include "OVRoot/LocalTime.hpp"

#include "OVRoot/System.hpp"

#include <array>

namespace OV {

LocalTime ToLocalTime(std::int64_t seconds)
{
    const std::tm time = System::ToLocalTime(static_cast<std::time_t>(seconds));
    return {time.tm_year + 1900, time.tm_mon + 1, time.tm_mday,
            time.tm_hour,        time.tm_min,     time.tm_sec};
}

std::int64_t FromLocalTime(const LocalTime& time)
{
    std::tm parts{};
    parts.tm_year = time.year - 1900;
    parts.tm_mon = time.month - 1;
    parts.tm_mday = time.day;
    parts.tm_hour = time.hour;
    parts.tm_min = time.minute;
    parts.tm_sec = time.second;
    parts.tm_isdst = -1;
    return std::mktime(&parts);
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
