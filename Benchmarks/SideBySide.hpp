#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>
#include <malloc.h>
#include <vector>

inline double Milliseconds(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

inline double Median(std::vector<double> values)
{
    std::nth_element(values.begin(),
                     values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// Both in turn, in every iteration; the medians and their ratio, by the clock and by the time of
/// the processor, which the machine's other work moves little but which leaves out the disk.
inline void SideBySide(benchmark::State& state, const std::function<void()>& ours,
                       const std::function<void()>& other)
{
    struct Times {
        std::vector<double> clock, processor;
        void Add(const std::function<void()>& work)
        {
            malloc_trim(0);  // neither uses memory that the other has left behind
            const std::clock_t begin = std::clock();
            clock.push_back(Milliseconds(work));
            processor.push_back(static_cast<double>(std::clock() - begin) * 1000 / CLOCKS_PER_SEC);
        }
    };
    Times ourTimes, otherTimes;
    for (auto _ : state) {
        ourTimes.Add(ours);
        otherTimes.Add(other);
    }
    state.counters["ours_ms"] = Median(ourTimes.clock);
    state.counters["other_ms"] = Median(otherTimes.clock);
    state.counters["ratio"] = Median(ourTimes.clock) / Median(otherTimes.clock);
    state.counters["cpu_ratio"] = Median(ourTimes.processor) / Median(otherTimes.processor);
}
