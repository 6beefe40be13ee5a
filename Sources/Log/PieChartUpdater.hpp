#pragma once

#include "BinCacheHandler/BinCacheHandler.hpp"
#include "Log/LogUpdater.hpp"
#include "LogIndex/TextParser.hpp"
#include "OVRoot/Export.hpp"

/// Keeps the statistics of a server in its cache: its projects, and the chart lines that its load
/// gives, for administrators.
class SYC_API PieChartUpdater final : public SYC::LogUpdater {
public:
    /// The cache outlives this object. The source's project counts for nothing.
    PieChartUpdater(LogSource server, SYC::BinCacheHandler& cache)
        : server_(std::move(server)), cache_(cache)
    {}
    ~PieChartUpdater() override { Stop(); }

    /// Asks for the projects and for the load of the last days, writes the cache and shows the
    /// observers what it holds then. Who may not see the load gets none. A failure keeps what
    /// arrived before it.
    void Update() override;

    /// Days of load that are asked for.
    static constexpr std::int32_t LoadDays = 30;

private:
    void Fetch(PerformanceData& data);

    LogSource server_;
    SYC::BinCacheHandler& cache_;
};

/// Makes the chart lines of a log of the server's load: fields time, key, value.
SYC_API void FillChartLines(TextParser& log, PerformanceData& data);
