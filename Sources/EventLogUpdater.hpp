#pragma once

#include "LogDataLine.hpp"
#include "OVRoot/Containers.hpp"

/// Keeps the activity log of a server at hand.
class EventLogUpdater {
public:
    /// The most lines that SortLines sorts.
    static constexpr std::size_t MostSortedLines = 65'535;

    /// Sorts in place, with the order among equal keys that repeated selection of the first best
    /// line, swapped to the front, leaves; the version of a line stays at its position. More than
    /// MostSortedLines throw OV::IllegalArgumentException and stay as they are. Takes time in
    /// proportion to n log n.
    static void SortLines(OV::PagedArray<LogDataLine>& lines, LogDataLine::LogField field,
                          bool ascending);
};
