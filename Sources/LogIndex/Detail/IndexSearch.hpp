#pragma once

#include <cstdint>

namespace SYC::Detail {

/// The search of an index over `size` items; `compare` tells of a position whether its item sorts
/// before the key (negative), with it (0) or behind it. The midpoint is rounded up, so position 0
/// is never asked for.
template <class Compare>
[[nodiscard]] std::uint32_t SearchIndex(std::uint32_t size, Compare&& compare)
{
    std::uint32_t low = 0;
    std::uint32_t high = size == 0 ? 0 : size - 1;
    // Half of the sum, rounded up: below 2^53 the same as by floating point.
    auto middle = static_cast<std::uint32_t>((std::uint64_t(high) + 1) / 2);
    for (;;) {
        if (middle == 0 || middle >= size)
            return middle;
        const int order = compare(middle);
        if (order == 0)
            return middle;
        if (order < 0)
            low = middle + 1;
        else
            high = middle - 1;
        middle = static_cast<std::uint32_t>((std::uint64_t(high) + low + 1) / 2);
        if (high < low)
            return middle;
    }
}

}  // namespace SYC::Detail
