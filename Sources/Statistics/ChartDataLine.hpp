#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"
#include "Statistics/ChartType.hpp"

#include <array>

/// A line of a chart: what it shows, in which unit, and its samples.
struct ChartDataLine {
    ChartType type{};    ///< which chart it is of
    OV::UniString name;  ///< what the line shows, for people
    OV::UniString unit;  ///< of its values, for people
    /// The first: the scale ends at a fixed highest value. The others are not used.
    std::array<std::uint8_t, 4> flags{};
    /// Lowest and highest of the scale, then of all samples the smallest, the largest, the last and
    /// the mean.
    std::array<float, 6> values{};
    /// Seconds since 1970-01-01 UTC, and the value.
    OV::Array<OV::Pair<std::int32_t, float>> points;

    friend bool operator==(const ChartDataLine&, const ChartDataLine&) = default;
};
