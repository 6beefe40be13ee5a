#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <utility>

namespace SYCB {

/// Pauses between attempts to reach a server that is away: half a second at first, doubled each
/// time up to half a minute. Each pause is drawn from the upper half of its step, so that the
/// clients of a server that comes back do not all arrive at once. One thread at a time.
class Backoff {
public:
    static constexpr std::uint32_t FirstStepMilliseconds = 500;
    static constexpr std::uint32_t LastStepMilliseconds = 30'000;

    /// `random` returns numbers from 0 up to, not including, 1.
    explicit Backoff(std::function<double()> random) : random_(std::move(random)) {}

    /// With randomness of its own.
    Backoff() : Backoff(MakeRandom()) {}

    /// The next pause.
    [[nodiscard]] std::uint32_t NextMilliseconds()
    {
        const std::uint32_t half = step_ / 2;
        step_ = std::min(step_ * 2, LastStepMilliseconds);
        return half + static_cast<std::uint32_t>(random_() * half);
    }
    /// The server answered: begin again with the first step.
    void Reset() noexcept { step_ = FirstStepMilliseconds; }

private:
    static std::function<double()> MakeRandom()
    {
        return [engine = std::minstd_rand(std::random_device()())]() mutable {
            return std::uniform_real_distribution<double>()(engine);
        };
    }

    std::function<double()> random_;
    std::uint32_t step_ = FirstStepMilliseconds;
};

}  // namespace SYCB
