#include "Log/PieChartUpdater.hpp"

#include "Files/Detail/ReadDecimal.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Logger.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>

namespace {

struct Chart {
    OV::StringView key;  ///< of the log's lines
    ChartType type;
    OV::UniStringView name;
    OV::UniStringView unit;
    float highest;  ///< of the scale; 0: as the samples have it
};

constexpr Chart Charts[] = {
    {"cpu", ChartType::Cpu, u"CPU", u"%", 100},
    {":memory", ChartType::Memory, u"Memory", u"MB", 0},
    {"actions", ChartType::ServerActions, u"Server actions", u"pcs", 0},
    {"transferred", ChartType::DataTransferred, u"Data transferred", u"KB", 0},
    {"transactionlength", ChartType::LongestTransaction, u"Longest transaction", u"sec", 0},
};

/// Blanks, a sign and a number; none that is not finite. The point is one in every locale.
bool Read(OV::StringView text, float& number)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+'))
        text.remove_prefix(1);
    return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc() &&
           std::isfinite(number);
}

/// The scale, and what the samples come to.
void Summarise(ChartDataLine& line, float highest)
{
    const auto byValue = [](const auto& a, const auto& b) { return a.second < b.second; };
    const auto [low, high] = std::minmax_element(line.points.begin(), line.points.end(), byValue);
    const double sum =
        std::accumulate(line.points.begin(), line.points.end(), 0.0,
                        [](double s, const auto& point) { return s + point.second; });
    line.flags[0] = highest > 0 ? 1 : 0;
    line.values = {0,
                   highest > 0 ? highest : high->second,
                   low->second,
                   high->second,
                   line.points.back().second,
                   static_cast<float>(sum / static_cast<double>(line.points.size()))};
}

}  // namespace

void FillChartLines(TextParser& log, PerformanceData& data)
{
    OV::Array<ChartDataLine> lines(std::size(Charts));
    OV::Array<OV::StringView> fields;
    log.SetStartLine(0);
    while (log.NextLine(fields) == 0) {
        float value = 0;
        if (fields.size() < 3 || !Read(fields[2], value))
            continue;
        const auto time = SYC::Detail::ReadDecimal(fields[0]);
        if (!time)
            continue;
        for (std::size_t at = 0; at < lines.size(); ++at)
            if (Charts[at].key == fields[1])
                lines[at].points.emplace_back(OV::Seconds32(*time), value);
    }
    for (std::size_t at = 0; at < lines.size(); ++at) {
        ChartDataLine& line = lines[at];
        if (line.points.empty())
            continue;
        line.type = Charts[at].type;
        line.name = Charts[at].name;
        line.unit = Charts[at].unit;
        Summarise(line, Charts[at].highest);
        data.SetChartLine(std::move(line));
    }
}

void PieChartUpdater::Update()
{
    PerformanceData known;
    cache_.GetPerformanceData(known);
    PerformanceData data = known;
    std::exception_ptr failure;
    try {
        Fetch(data);
    } catch (const OV::InterruptedException&) {
        cache_.SetPerformanceData(data);
        throw;
    } catch (...) {
        failure = std::current_exception();
    }
    if (data != known || !failure) {
        cache_.SetPerformanceData(data);
        Flush(cache_, failure);
    }
    Tell([data](EventLogObserver& observer) { observer.RefreshPerformance(data); });
    if (failure)
        std::rethrow_exception(failure);
}

void PieChartUpdater::Fetch(PerformanceData& data)
{
    if (!data.UpdateProjectCache(server_.host, static_cast<std::int16_t>(server_.port),
                                 server_.userName, server_.password))
        throw OV::InterruptedException();
    TextParser log(server_, LogType::Server);
    constexpr std::int64_t day = 86'400;
    const int status =
        log.GetLatestEvents(OV::Seconds32(OV::Clock::Current().Now() - LoadDays * day),
                            std::numeric_limits<std::int32_t>::max(), false);
    if (OV::Thread::IsInterrupted())
        throw OV::InterruptedException();
    if (status == 0)
        FillChartLines(log, data);
    else
        OV::Logger::Info(OV::Logger::Library, u"PieChartUpdater: no log of the load (%)", {status});
}
