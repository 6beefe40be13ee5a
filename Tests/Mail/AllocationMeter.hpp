#pragma once

#include <cstddef>

/// The largest single allocation since the meter was made; one meter at a time, one thread.
class AllocationMeter {
public:
    AllocationMeter();
    [[nodiscard]] std::size_t Largest() const;
};
