#pragma once

#include <cstdint>

/// What a chart shows; the numbers stand in files.
enum class ChartType : std::int16_t {
    Cpu = 2,
    Memory = 4,
    ServerActions = 8,
    DataTransferred = 32,
    LongestTransaction = 64,
};
