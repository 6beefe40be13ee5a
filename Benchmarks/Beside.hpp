#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <malloc.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Ours beside another way to the same end, in turn, so that both meet the same machine. What it
/// leaves in the benchmark's counters and label is what Benchmarks/run prints and judges: the
/// median time of each, in microseconds, and the median of the ratios of each turn.
class Beside {
public:
    using Clock = std::chrono::steady_clock;

    /// `what` says what ours does, `rival` what the other does, for people. The ratio should be
    /// below `goal`; 0 for none.
    Beside(benchmark::State& state, std::string_view what, std::string_view rival, double goal = 0)
        : state_(state), label_(std::string(what) + " | " + std::string(rival)), goal_(goal)
    {}
    ~Beside()
    {
        if (ratios_.empty())
            return;
        state_.SetLabel(label_);
        state_.counters["ours_us"] = Median(std::move(ours_));
        state_.counters["other_us"] = Median(std::move(others_));
        state_.counters["ratio"] = Median(std::move(ratios_));
        state_.counters["goal"] = goal_;
    }
    Beside(const Beside&) = delete;
    Beside& operator=(const Beside&) = delete;

    /// One turn; ours is the benchmark's own time. `count`: how many times each did it.
    void Add(Clock::duration ours, Clock::duration other, int count = 1)
    {
        state_.SetIterationTime(std::chrono::duration<double>(ours).count());
        ours_.push_back(Microseconds(ours) / count);
        others_.push_back(Microseconds(other) / count);
        ratios_.push_back(ours_.back() / others_.back());
    }

    /// All turns of the benchmark, each of `count` times ours and as often the other. They take
    /// turns in being the first.
    template <class Ours, class Other>
    void Run(Ours&& ours, Other&& other, int count = 1)
    {
        bool isOursFirst = false;
        for (auto _ : state_) {
            isOursFirst = !isOursFirst;
            const auto before = isOursFirst ? Clock::duration() : Time(other, count);
            const auto taken = Time(ours, count);
            Add(taken, isOursFirst ? Time(other, count) : before, count);
        }
    }

    /// The same one by one, neither with memory that the other left behind; and by the time of the
    /// processor, which the machine's other work moves little but which leaves out the disk.
    template <class Ours, class Other>
    void RunCold(Ours&& ours, Other&& other)
    {
        std::vector<double> ratios;
        double processor = 0;
        const auto timed = [&](auto&& work) {
            malloc_trim(0);
            const std::clock_t begin = std::clock();
            const auto time = Time(work);
            processor = static_cast<double>(std::clock() - begin);
            return time;
        };
        for (auto _ : state_) {
            const auto taken = timed(ours);
            const double oursOfProcessor = processor;
            Add(taken, timed(other));
            ratios.push_back(oursOfProcessor / std::max(processor, 1.0));
        }
        state_.counters["cpu_ratio"] = Median(std::move(ratios));
    }

    template <class Work>
    [[nodiscard]] static Clock::duration Time(Work&& work, int count = 1)
    {
        const auto start = Clock::now();
        for (int i = 0; i < count; ++i)
            work();
        return Clock::now() - start;
    }
    [[nodiscard]] static double Microseconds(Clock::duration time)
    {
        return std::chrono::duration<double, std::micro>(time).count();
    }

    [[nodiscard]] static double Median(std::vector<double> values)
    {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

private:
    benchmark::State& state_;
    std::string label_;
    double goal_;
    std::vector<double> ours_;
    std::vector<double> others_;
    std::vector<double> ratios_;
};
