#pragma once

#include "OVRoot/Export.hpp"

#include <cstdint>
#include <functional>

namespace SYCB {

/// Pauses between attempts to reach a server that is away: half a second at first, doubled each
/// time up to half a minute. Each pause is drawn from the upper half of its step, so that the
/// clients of a server that comes back do not all arrive at once. One thread at a time.
class SYC_API Backoff {
public:
    /// The longest that the first pause can be.
    static constexpr std::uint32_t FirstStepMilliseconds = 500;
    /// The longest that any pause can be.
    static constexpr std::uint32_t LastStepMilliseconds = 30'000;

    /// `random` returns numbers from 0 up to, not including, 1.
    explicit Backoff(std::function<double()> random);

    /// With randomness of its own.
    Backoff();

    /// The next pause.
    [[nodiscard]] std::uint32_t NextMilliseconds();
    /// The server answered: begin again with the first step.
    void Reset() noexcept { step_ = FirstStepMilliseconds; }

private:
    std::function<double()> random_;
    std::uint32_t step_ = FirstStepMilliseconds;
};

}  // namespace SYCB
