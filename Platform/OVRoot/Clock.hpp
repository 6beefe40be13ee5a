#pragma once

#include "OVRoot/Export.hpp"
#include <cstdint>

namespace OV {

/// Seconds since 1970-01-01 UTC as the formats hold them: what lies outside of 1901 to 2038 becomes
/// the nearest time that they can hold.
[[nodiscard]] SYC_API std::int32_t Seconds32(std::int64_t seconds) noexcept;

/// Time as the formats and the dialogs use it; a class so that a test can stand in for it.
class SYC_API Clock {
public:
    virtual ~Clock() = default;
    /// Seconds since 1970-01-01 UTC, see Seconds32.
    [[nodiscard]] virtual std::int32_t Now() const = 0;
    /// A steady count for measuring spans.
    [[nodiscard]] virtual std::uint64_t Ticks() const = 0;
    /// How many of them make a second; never 0.
    [[nodiscard]] virtual std::uint64_t TicksPerSecond() const = 0;

    /// The system's clock unless another one was set.
    [[nodiscard]] static const Clock& Current();
    /// Sets the clock of the process; null restores the system's. The caller keeps it alive.
    static void SetCurrent(const Clock* clock);
};

}  // namespace OV
