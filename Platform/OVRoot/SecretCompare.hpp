#pragma once

#include "OVRoot/UniString.hpp"

#include <algorithm>

namespace OV {

/// Exact equality of two secrets in a time that says nothing of where they differ; only their
/// lengths show.
[[nodiscard]] inline bool IsSameSecret(UniStringView left, UniStringView right) noexcept
{
    volatile unsigned difference = left.size() != right.size();
    for (std::size_t at = 0, end = std::min(left.size(), right.size()); at < end; ++at)
        difference = difference | static_cast<unsigned>(left[at] ^ right[at]);
    return difference == 0;
}

}  // namespace OV
