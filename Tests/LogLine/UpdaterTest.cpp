#include "EventLogUpdater.hpp"
#include "Log/PieChartUpdater.hpp"
#include "OVRoot/Condition.hpp"
#include "OVRoot/Exception.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/StoreEdit.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

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

TEST_F(UpdaterTest, EveryLineComesOnceWhateverTheServersClockAndTheProjectsNameDo)
{
    AddEvents(Future, 5);
    Update();
    EXPECT_EQ(Cached(Future), 5);
    Update();
    EXPECT_EQ(Cached(Future), 5);
    AddEvents(Future, 4);  // of the very same second, and with the very same texts
    AddEvents(Future + 1, 30'000);
    const auto past = static_cast<std::int32_t>(std::time(nullptr)) - 3600;
    AddEvents(past, 2);  // the clock was set right
    EditStore(server.StorePath(),
              "UPDATE projects SET name = 'New Bridge' WHERE id = '" + OV::ToUtf8(Bridge) + "'");
    Update();
    EXPECT_EQ(Cached(Future), 9);
    EXPECT_EQ(Cached(Future + 1), 30'000);
    EXPECT_EQ(Cached(past), 2);
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
    OV::Condition reached;
    ScriptedServer silent([&](auto& peer, const auto&) {
        reached.Notify();
        peer.HoldUntilGone();
    });
    LogSource source = Source(u"anna.novak");
    source.port = silent.Port();
    EventLogUpdater waiting(source, cache);
    waiting.Attach(listener);
    waiting.Start();
    reached.Wait();
    const auto begin = std::chrono::steady_clock::now();
    waiting.Interrupt();
    waiting.Await();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_FALSE(waiting.IsRunning());
    EXPECT_EQ(listener.failure, u"") << "who stops it knows";
    waiting.Detach(listener);

    EventLogUpdater updater(Source(u"anna.novak"), cache);
    updater.Attach(listener);
    server.Kill();
    updater.Start();
    updater.Await();
    EXPECT_TRUE(listener.failure.starts_with(u"Cannot get latest events: No connection to server"));
    EXPECT_FALSE(listener.lines.empty()) << "what is cached is shown all the same";
    server.Start();
    const auto shown = listener.lines;
    const auto timesOf = [](const OV::PagedArray<LogDataLine>& lines) {
        OV::Array<std::int32_t> times;
        for (const auto& line : lines)
            times.push_back(line.GetTimeVal());
        return times;
    };
    const auto times = timesOf(shown);
    AddEvents(Future, 300);
    updater.Start();
    while (updater.IsRunning())
        ASSERT_EQ(timesOf(shown), times) << "what is shown stays while more lines come";
    updater.Await();
    EXPECT_EQ(listener.lines.size(), shown.size() + 300);
    EXPECT_EQ(timesOf(shown), times);
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
    const auto& cpu = data.GetChartLine(ChartType::Cpu);
    EXPECT_EQ(cpu.name, u"CPU");
    EXPECT_EQ(cpu.values, (std::array<float, 6>{0, 100, 12.5F, 37.5F, 37.5F, 25}));
    EXPECT_EQ(data.GetChartLines().size(), 1u);
    ProjectCache bridge = data.GetProject(Bridge);
    bridge.members.clear();
    EXPECT_THROW(data.UpdateProjectMembers(bridge), OV::NullReferenceException)
        << "it was copied, and has no connection";
    const auto refresh = [&] {
        return data.UpdateProjectCache(u"127.0.0.1", static_cast<std::int16_t>(server.ModelPort()),
                                       u"admin", OV::FromUtf8(ServerProcess::Password));
    };
    EXPECT_TRUE(refresh());
    data.UpdateProjectMembers(bridge);
    EXPECT_EQ(bridge.members.size(), 8u);
    std::stop_source stopped;
    stopped.request_stop();
    const OV::InterruptionScope scope(stopped.get_token());
    EXPECT_FALSE(refresh());
}

TEST(LogUpdaterTest, AnUpdateEndsInAToldResultWhateverIsThrown)
{
    struct Failing final : SYC::LogUpdater {
        explicit Failing(void (*what)()) : fail(what) {}
        ~Failing() override { Stop(); }
        void Update() override { fail(); }
        void (*fail)();
    };
    const struct {
        void (*fail)();
        const char16_t* told;
    } failures[] = {
        {[] { throw std::runtime_error("the library's"); }, u"the library's"},
        {[] { throw std::bad_alloc(); }, u"There is not enough memory."},
        {[] { throw 7; }, u"An exception of a foreign type was thrown."},
        {[] { throw OV::InterruptedException(); }, u""},
    };
    for (const auto& each : failures) {
        Failing updater(each.fail);
        Listener listener;
        updater.Attach(listener);
        updater.Start();
        updater.Await();
        EXPECT_FALSE(updater.IsRunning());
        EXPECT_EQ(listener.failure, each.told);
        updater.Detach(listener);
    }
}

/// What a server that fails, or that means harm, costs a client: nothing that it has.
TEST(LogUpdaterTest, AHostileServerEndsAnUpdateAndTakesNothing)
{
    const TemporaryFolder folder;
    std::atomic<bool> isHeld = false;
    std::stop_source stopped;
    std::string events;
    const ScriptedServer server([&](ScriptedServer::Peer& peer, const auto& request) {
        if (request.target.ends_with("/sign-in"))
            peer.Answer(200, ScriptedServer::SignedIn);
        else if (request.target.ends_with("/projects"))
            peer.Answer(200, ScriptedServer::OneProject);
        else if (request.target.find("/events") != std::string::npos) {
            const auto at = request.target.find("after=");
            const auto after = std::strtoull(request.target.c_str() + at + 6, nullptr, 10);
            peer.Answer(200, events + std::to_string(after + 1) + "}");
        } else if (isHeld) {
            stopped.request_stop();
            peer.HoldUntilGone();
        } else
            peer.Answer(500, R"({"code":2,"message":"broken"})");
    });
    PerformanceData data;
    data.UpdateProject({u"P", u"p", 1, 2, 0, {{u"anna", u"A"}, {u"zoe", u"B"}}});
    const PerformanceData known = data;
    const auto port = static_cast<std::int16_t>(server.Port());
    EXPECT_THROW(data.UpdateProjectCache(u"127.0.0.1", port, u"u", u"w"),
                 Communication::ResponseContentException);
    EXPECT_EQ(data, known) << "a server that fails says nothing of the members";
    isHeld = true;
    {
        const OV::InterruptionScope scope(stopped.get_token());
        EXPECT_FALSE(data.UpdateProjectCache(u"127.0.0.1", port, u"u", u"w"));
    }
    EXPECT_EQ(data, known);

    LogSource source;
    source.host = u"127.0.0.1";
    source.port = server.Port();
    source.projectId = u"p";
    const auto update = [&](const char* answer) {
        events = answer;
        SYC::BinCacheHandler cache(source.GetCacheName());
        Listener listener;
        EventLogUpdater updater(source, cache);
        updater.Attach(listener);
        updater.Start();
        updater.Await();
        updater.Detach(listener);
        return std::pair(listener.failure.substr(0, listener.failure.find(u':')),
                         listener.lines.size());
    };
    using Result = std::pair<OV::UniString, std::size_t>;
    EXPECT_EQ(update(R"({"text":"1\u0000\u0000u\n","separator":"\u0000\u0000","left":0,"next":)"),
              Result(u"", 1u));
    const char* const endless = R"({"text":"","separator":"#!","left":1,"next":)";
    EXPECT_EQ(update(endless), Result(u"Cannot get latest events", 1u));
    EXPECT_EQ(TextParser(source, LogType::Project).GetLatestEvents(0, 9, false), -7003);
}
