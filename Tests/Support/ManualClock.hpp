#pragma once

#include "OVRoot/Clock.hpp"

/// The library's clock while it lives: it stands where the test puts it.
class ManualClock final : public OV::Clock {
public:
    ManualClock() { SetCurrent(this); }
    ~ManualClock() override { SetCurrent(nullptr); }
    [[nodiscard]] std::int32_t Now() const override { return 1'000'000; }
    [[nodiscard]] std::uint64_t Ticks() const override { return ticks; }
    [[nodiscard]] std::uint64_t TicksPerSecond() const override { return 10; }

    std::uint64_t ticks = 1000;
};
