#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace SYC::Detail {

/// As "%d" reads a number: blanks, a sign, digits; what follows them does not count. Nothing when
/// there is no digit. A number of more than 64 bits is the nearest of those.
template <class Character>
[[nodiscard]] std::optional<std::int64_t> ReadDecimal(std::basic_string_view<Character> text)
{
    constexpr Character blanks[] = {' ', '\t', '\n', '\v', '\f', '\r', 0};
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const bool isNegative = text.starts_with(Character('-'));
    if (isNegative || text.starts_with(Character('+')))
        text.remove_prefix(1);
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    std::optional<std::int64_t> value;
    for (const Character each : text) {
        if (each < Character('0') || each > Character('9'))
            break;
        const std::int64_t digit = each - Character('0');
        const std::int64_t before = value.value_or(0);
        value = before > (most - digit) / 10 ? most : before * 10 + digit;
    }
    return value && isNegative ? -*value : value;
}

/// A number of bytes as the records hold it: one that is too large is the largest; a negative one
/// counts from the top, as "%d" into an unsigned number leaves it.
[[nodiscard]] inline std::uint32_t Bytes32(std::int64_t bytes) noexcept
{
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(bytes, std::numeric_limits<std::int32_t>::min(),
                                 std::numeric_limits<std::uint32_t>::max()));
}

}  // namespace SYC::Detail
