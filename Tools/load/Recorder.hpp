#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Load {

using Clock = std::chrono::steady_clock;

inline double MillisecondsBetween(Clock::time_point begin, Clock::time_point end)
{
    return std::chrono::duration<double, std::milli>(end - begin).count();
}

inline double MillisecondsSince(Clock::time_point begin)
{
    return MillisecondsBetween(begin, Clock::now());
}

/// What all members saw. On the thread of the loop.
class Recorder {
public:
    struct Kind {
        std::vector<double> milliseconds;    ///< of each answer that was one
        std::map<int, std::int64_t> failed;  ///< how often by status, 0 where the connection ended
    };
    std::map<std::string, Kind> kinds;
    /// From the beginning of a request that failed to its answer; of one that is held from its
    /// failure until it is held again.
    std::vector<double> outages;
    /// An answered mail, and who was to get it.
    std::map<std::string, std::vector<int>> mails;
    std::int64_t answered = 0;
    std::int64_t errors = 0;  ///< refusals that no repetition mends

    /// The value that a share of them does not exceed; 0 of none.
    static double At(std::vector<double>& values, double share)
    {
        if (values.empty())
            return 0;
        std::sort(values.begin(), values.end());
        return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
    }
};

}  // namespace Load
