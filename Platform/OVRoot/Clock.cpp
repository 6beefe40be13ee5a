#include "OVRoot/Clock.hpp"

#include <atomic>
#include <chrono>

namespace OV {

namespace {

class SystemClock final : public Clock {
public:
    [[nodiscard]] std::int32_t Now() const override
    {
        using namespace std::chrono;
        return static_cast<std::int32_t>(
            duration_cast<seconds>(system_clock::now().time_since_epoch()).count());
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
    static const SystemClock system;
    const Clock* clock = current;
    return clock != nullptr ? *clock : system;
}

void Clock::SetCurrent(const Clock* clock)
{
    current = clock;
}

}  // namespace OV
