// Fetches the activity log and the statistics of a server, and shows the newest lines of a project.
#include "EventLogUpdater.hpp"
#include "Example.hpp"
#include "Log/LogFilter.hpp"
#include "Log/LogTable.hpp"
#include "Log/PieChartUpdater.hpp"
#include "PerformanceData.hpp"
#include "ProjectConnectionInfo.hpp"
#include "SyncraURL.hpp"

int main(int argc, char** argv)
{
    return Example::Run(argc, argv, 1, "PROJECT-URL", [](char** arguments) {
        const auto info = SYC::ToConnectionInfo(Example::ProjectUrl(arguments[1]));
        LogSource source;
        source.host = info.serverName;
        source.port = info.port;
        source.userName = info.userName;
        source.password = info.password;
        SYC::BinCacheHandler cache(source.GetCacheName());

        // In the background: Attach or Subscribe an EventLogObserver and call Start.
        EventLogUpdater(source, cache).Update();
        PieChartUpdater(source, cache).Update();

        const auto lines = cache.GetLines();
        const SYC::LogFilter everything;
        const SYC::LogTable table(lines, everything.Select(*lines));
        const auto newest = table.Sorted(SYC::LogTable::Timestamp, false);
        for (int row = 1; row <= newest->GetCount() && row <= 5; ++row)  // rows count from 1
            std::cout << OV::ToUtf8(newest->GetText(row, SYC::LogTable::Timestamp)) << ' '
                      << OV::ToUtf8(newest->GetText(row, SYC::LogTable::Action)) << '\n';
        PerformanceData statistics;
        cache.GetPerformanceData(statistics);
        std::cout << lines->size() << " lines, " << statistics.GetProjectCache().size()
                  << " projects\n";
        return 0;
    });
}
