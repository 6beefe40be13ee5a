#include "Metrics.hpp"

#include <cstdio>

namespace Nexar {

namespace {

std::string Decimal(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

std::string Line(const std::string& name, const std::string& labels, const std::string& value)
{
    return name + (labels.empty() ? "" : "{" + labels + "}") + " " + value + "\n";
}

}  // namespace

void Metrics::Add(const std::string& route, int status, std::chrono::microseconds time)
{
    Route& entry = routes_[route];
    const double seconds = std::chrono::duration<double>(time).count();
    ++entry.statuses[status];
    ++entry.count;
    entry.seconds += seconds;
    refusedSignIns_ += route.ends_with("/sign-in") && status >= 400 ? 1 : 0;
    for (std::size_t i = 0; i < Bounds.size(); ++i)
        entry.buckets[i] += seconds <= Bounds[i] ? 1 : 0;
}

std::string Metrics::Text(const std::map<std::string, double>& gauges) const
{
    std::string text = "# TYPE nexar_requests_total counter\n";
    for (const auto& [name, route] : routes_)
        for (const auto& [status, count] : route.statuses)
            text += Line("nexar_requests_total",
                         "route=\"" + name + "\",status=\"" + std::to_string(status) + "\"",
                         std::to_string(count));
    text += "# TYPE nexar_request_seconds histogram\n";
    for (const auto& [name, route] : routes_) {
        const std::string label = "route=\"" + name + "\"";
        for (std::size_t i = 0; i < Bounds.size(); ++i)
            text +=
                Line("nexar_request_seconds_bucket", label + ",le=\"" + Decimal(Bounds[i]) + "\"",
                     std::to_string(route.buckets[i]));
        text += Line("nexar_request_seconds_bucket", label + ",le=\"+Inf\"",
                     std::to_string(route.count));
        text += Line("nexar_request_seconds_sum", label, Decimal(route.seconds));
        text += Line("nexar_request_seconds_count", label, std::to_string(route.count));
    }
    text += "# TYPE nexar_sign_ins_refused_total counter\n";
    text += Line("nexar_sign_ins_refused_total", "", std::to_string(refusedSignIns_));
    for (const auto& [name, value] : gauges)
        text += "# TYPE " + name + " gauge\n" + Line(name, "", Decimal(value));
    return text;
}

}  // namespace Nexar
