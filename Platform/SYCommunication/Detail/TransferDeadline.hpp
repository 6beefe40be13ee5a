#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace Communication::Detail {

/// When a transfer has taken too long: nothing moved for as long as it may stand still, or all of
/// it took longer than that and what its bytes need on a slow line. So a large answer is not cut
/// off while it arrives, and one that comes in drops ends.
class TransferDeadline {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Milliseconds = std::chrono::milliseconds;
    static constexpr std::uint64_t SlowestBytesPerSecond = 8 * 1024;

    TransferDeadline(Milliseconds silence, Time begin)
        : silence_(silence), begin_(begin), lastMove_(begin)
    {}

    /// `bytes` were sent and received until `now`.
    void Note(std::uint64_t bytes, Time now)
    {
        if (bytes <= moved_)
            return;
        moved_ = bytes;
        lastMove_ = now;
    }

    [[nodiscard]] Time End() const
    {
        const Milliseconds needed(moved_ * 1000 / SlowestBytesPerSecond);
        return silence_ + std::min(lastMove_, begin_ + needed);
    }

private:
    Milliseconds silence_;
    Time begin_;
    Time lastMove_;
    std::uint64_t moved_ = 0;
};

}  // namespace Communication::Detail
