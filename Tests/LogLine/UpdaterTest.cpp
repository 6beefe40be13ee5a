#include "EventLogUpdater.hpp"
#include "OVRoot/Exception.hpp"
#include "PieChartUpdater.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/StoreEdit.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace {

const OV::UniString Bridge = u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001";

struct Listener final : EventLogObserver {
    void RefreshLog(const OV::PagedArray<LogDataLine>& all) override { lines = all; }
    void UpdateFailed(const OV::UniString& reason) override { failure = reason; }
    OV::PagedArray<LogDataLine> lines;
    OV::UniString failure;
};

class UpdaterTest : public testing::Test {
protected:
    [[nodiscard]] LogSource Source(const OV::UniString& user) const
    {
        LogSource source;
        source.host = u"127.0.0.1";
        source.port = server.ModelPort();
        source.userName = user;
        source.password = OV::FromUtf8(ServerProcess::Password);
        return source;
    }
    void AddEvents(int time, int count) const
    {
        EditStore(server.StorePath(),
                  "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                      std::to_string(count) +
                      ") INSERT INTO events (project_id, time, user, action, comment) SELECT '" +
                      OV::ToUtf8(Bridge) + "', " + std::to_string(time) +
                      ", 'Zo\u00eb (zoe)', 'Send', i % 2 FROM n");
    }
    /// How many lines of that time the cache has, in a new process as it were.
    [[nodiscard]] int Cached(std::int32_t time) const
    {
        SYC::BinCacheHandler cache(Source(u"").GetCacheName());
        cache.GetCacheData();
        OV::PagedArray<LogDataLine> lines;
        cache.GetProjectData(lines);
        int count = 0;
        for (const auto& line : lines)
            count += line.GetTimeVal() == time ? 1 : 0;
        return count;
    }
    void Update()
    {
        SYC::BinCacheHandler cache(Source(u"").GetCacheName());
        EventLogUpdater(Source(u"anna.novak"), cache).Update();
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    static constexpr std::int32_t Future = 2'000'000'000;
};

}  // namespace

TEST_F(UpdaterTest, EveryLineComesOnceHoweverOftenTheLastSecondIsAskedFor)
{
    AddEvents(Future, 5);
    Update();
    EXPECT_EQ(Cached(Future), 5);
    Update();
    EXPECT_EQ(Cached(Future), 5);
    AddEvents(Future, 4);  // of the very same second, and with the very same texts
    AddEvents(Future + 1, 30'000);
    Update();
    EXPECT_EQ(Cached(Future), 9);
    EXPECT_EQ(Cached(Future + 1), 30'000);
    SYC::BinCacheHandler cache(Source(u"").GetCacheName());
    cache.GetCacheData();
    OV::PagedArray<LogDataLine> lines;
    cache.GetProjectData(lines);
    const auto& line = *std::find_if(lines.begin(), lines.end(),
                                     [](const auto& each) { return each.GetTimeVal() == Future; });
    EXPECT_EQ(line.GetUser(), u"Zo\u00EB");
    EXPECT_EQ(line.GetLoginName(), u"zoe");
    EXPECT_EQ(line.GetProject(), u"Harbour Bridge");
    EXPECT_EQ(line.GetDuration(), u"0s");
    EXPECT_EQ(line.GetVersion(), 14);
}

TEST_F(UpdaterTest, AFailureKeepsWhatIsThereAndAnInterruptionIsQuick)
{
    Update();
    SYC::BinCacheHandler cache(Source(u"").GetCacheName());
    Listener listener;
    EventLogUpdater updater(Source(u"anna.novak"), cache);
    updater.Attach(listener);
    server.Pause();
    updater.Start();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto begin = std::chrono::steady_clock::now();
    updater.Interrupt();
    updater.Await();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_FALSE(updater.IsRunning());
    EXPECT_EQ(listener.failure, u"") << "who stops it knows";
    server.Resume();
    server.Kill();
    updater.Start();
    updater.Await();
    EXPECT_EQ(listener.failure, u"Cannot get latest events");
    EXPECT_FALSE(listener.lines.empty()) << "what is cached is shown all the same";
    server.Start();
    updater.Start();
    updater.Await();
    updater.Detach(listener);
}

TEST_F(UpdaterTest, StatisticsAreOfProjectsAndForAdministratorsOfTheLoad)
{
    EditStore(server.StorePath(), "INSERT INTO performance (time, key, value) VALUES "
                                  "(unixepoch() - 60, 'cpu', 12.5), (unixepoch(), 'cpu', 37.5), "
                                  "(unixepoch(), 'other', 1)");
    SYC::BinCacheHandler cache(Source(u"").GetCacheName());
    PerformanceData data;
    PieChartUpdater(Source(u"anna.novak"), cache).Update();
    cache.GetPerformanceData(data);
    EXPECT_TRUE(data.GetChartLines().empty());
    EXPECT_EQ(data.GetProject(Bridge).members.size(), 8u);
    EXPECT_EQ(data.GetProject(Bridge).countB, 1) << "marco.rossi works in it";
    PieChartUpdater(Source(u"admin"), cache).Update();
    cache.GetPerformanceData(data);
    const auto& cpu = data.GetChartLine(EventLogObserver::ChartType::Cpu);
    EXPECT_EQ(cpu.name, u"CPU");
    EXPECT_EQ(cpu.values, (std::array<float, 6>{0, 100, 12.5F, 37.5F, 37.5F, 25}));
    EXPECT_EQ(data.GetChartLines().size(), 1u);
    std::stop_source stopped;
    stopped.request_stop();
    const OV::InterruptionScope scope(stopped.get_token());
    EXPECT_FALSE(data.UpdateProjectCache(u"127.0.0.1",
                                         static_cast<std::int16_t>(server.ModelPort()), u"admin",
                                         OV::FromUtf8(ServerProcess::Password)));
}
