#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace Nexar {

/// What the server did since its start, as Prometheus reads it. On the server's thread.
class Metrics {
public:
    /// `route` is the pattern of a path, never the path: there are as many as there are routes.
    void Add(const std::string& route, int status, std::chrono::microseconds time);
    /// `gauges` are what is measured now: names and values.
    [[nodiscard]] std::string Text(const std::map<std::string, double>& gauges) const;

private:
    static constexpr std::array<double, 7> Bounds{0.001, 0.005, 0.02, 0.1, 0.5, 2, 10};
    struct Route {
        std::map<int, std::uint64_t> statuses;
        std::array<std::uint64_t, Bounds.size()> buckets{};
        std::uint64_t count = 0;
        double seconds = 0;
    };
    std::map<std::string, Route> routes_;
    std::uint64_t refusedSignIns_ = 0;
};

}  // namespace Nexar
