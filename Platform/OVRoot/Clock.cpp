#include "OVRoot/Clock.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>

namespace OV {

namespace {

class SystemClock final : public Clock {
public:
    [[nodiscard]] std::int32_t Now() const override
    {
        using namespace std::chrono;
        return Seconds32(duration_cast<seconds>(system_clock::now().time_since_epoch()).count());
    }
    [[nodiscard]] std::uint64_t Ticks() const override
    {
        using namespace std::chrono;
        return static_cast<std::uint64_t>(
            duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count());
    }
    [[nodiscard]] std::uint64_t TicksPerSecond() const override { return 1'000'000; }
};

std::atomic<const Clock*> current{nullptr};

}  // namespace

const Clock& Clock::Current()
{
    static const auto& system = *new SystemClock;
    const Clock* clock = current;
    return clock != nullptr ? *clock : system;
}

std::int32_t Seconds32(std::int64_t seconds) noexcept
{
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(seconds, Limits::min(), Limits::max()));
}

void Clock::SetCurrent(const Clock* clock)
{
    current = clock;
}

}  // namespace OV
