#include "BinCacheHandler/BinCacheHandler.hpp"
#include "IO/ExclusiveFile.hpp"
#include "Log/LogFilter.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "Support/FileBytes.hpp"
#include "Support/KillLoop.hpp"
#include "Support/Pipe.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/Thrown.hpp"

#include <gtest/gtest.h>

#include <future>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using SYC::BinCacheHandler;
using SYC::BinCacheHandlerException;
using Lines = OV::PagedArray<LogDataLine>;

LogDataLine Line(OV::UniStringView project, std::int32_t time, OV::UniStringView comment = u"")
{
    LogDataLine line;
    line.SetProjectId(project);
    line.SetTime(OV::ToText(time));
    line.SetComment(comment);
    return line;
}

PerformanceData Statistics()
{
    PerformanceData data;
    data.UpdateProject({u"Br\u00FCcke", u"p1", 1, 2, -3, {{u"anna", u"Architect"}, {u"", u"x"}}});
    ChartDataLine line;
    line.type = ChartType::ServerActions;
    line.name = u"Server actions";
    line.unit = u"pcs";
    line.flags = {1, 0, 255, 2};
    line.values = {1, -2.5F, 3, 4, 5, 6};
    line.points = {{1'700'000'000, 7}, {1'700'000'060, -8}};
    data.SetChartLine(line);
    return data;
}

OV::String Bytes(const PerformanceData& data)
{
    OV::MemoryOChannel channel;
    EXPECT_EQ(data.Write(channel), 0);
    return channel.TakeBytes();
}

class BinCacheHandlerTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path Cache() const
    {
        return folder.Path() / "data" / "Orvant" / "ServerManagerCache" / "nexar:1";
    }
    void WriteFile(const std::string& name, const std::string& bytes) const
    {
        WriteBytes(Cache() / name, bytes);
    }
    [[nodiscard]] std::string ReadFile(const std::string& name) const
    {
        return ReadBytes(Cache() / name);
    }
    /// The message of the failure; that of another exception with its name.
    template <class Action>
    static std::string Failure(Action&& action)
    {
        const Thrown thrown(action);
        const bool isOurs = thrown.name == "BinCacheHandlerException" || thrown.name == "-";
        return isOurs ? thrown.message : thrown.name + ": " + thrown.message;
    }
    static Lines LinesOf(const BinCacheHandler& handler)
    {
        Lines lines;
        handler.GetProjectData(lines);
        return lines;
    }

    TemporaryFolder folder;
    BinCacheHandler handler{u"nexar:1"};
};

}  // namespace

TEST_F(BinCacheHandlerTest, TimesOnlyMoveForward)
{
    EXPECT_EQ(handler.GetLastLogTime(u"a"), 0);
    handler.SetProjectData({Line(u"a", 5), Line(u"b", -7), Line(u"a", 9), Line(u"a", 2)});
    EXPECT_EQ(handler.GetLastLogTime(u"a"), 9);
    EXPECT_EQ(handler.GetLastLogTime(u"b"), -7) << "the first time counts, whatever it is";
    handler.SetProjectData({Line(u"a", 3), Line(u"b", -6)});
    EXPECT_EQ(handler.GetLastLogTime(u"a"), 9);
    EXPECT_EQ(handler.GetLastLogTime(u"b"), -6);
    EXPECT_EQ(LinesOf(handler).size(), 2u);
    Lines versions{Line(u"a", 1), Line(u"a", 2), Line(u"a", 3)}, out{Line(u"x", 1), Line(u"x", 2)};
    for (std::int16_t version = 13; auto& line : versions)
        line.SetVersion(version--);
    out[0].SetVersion(99);
    handler.SetProjectData(versions);
    handler.GetProjectData(out);
    EXPECT_EQ(out, versions) << "copies, with their versions";
}

TEST_F(BinCacheHandlerTest, WhatIsFlushedIsLoaded)
{
    const Lines lines{Line(u"a", 1, u"\u00E4"), Line(u"b", 2),
                      Line(u"a", 3, OV::UniString(700'000, u'x'))};
    handler.SetProjectData(lines);
    handler.SetPerformanceData(Statistics());
    WriteFile("che.lck", "left over");
    handler.FlushCacheData();
    EXPECT_FALSE(std::filesystem::exists(Cache() / "che.lck"));
    OV::String a;
    lines[0].AppendRecord(a);
    lines[2].AppendRecord(a);
    EXPECT_EQ(ReadFile("a.che"), a) << "one record after the other, and nothing else";
    EXPECT_EQ(ReadFile("performance.che"), Bytes(Statistics()));

    WriteFile("empty.che", "");
    WriteFile("other.txt", "is not read");
    OV::String c;
    for (int i = 0; i < 2; ++i)
        Line(u"c", 4 + i).AppendRecord(c);
    WriteFile("c.che", c + c.substr(0, c.size() / 4) + std::string(3, '\xFF'));
    // Each of these costs itself: names that are no text, links to nothing, what is no file,
    // records of no project, and a copy of another file.
    WriteFile("\xFF.che", "x");
    WriteFile("zeros.che", std::string(4 * SYC::LogRecord::NumberBytes, '\0'));
    WriteFile("a backup.che", a);
    std::filesystem::create_symlink("nowhere", Cache() / "link.che");
    std::filesystem::create_directory(Cache() / "folder.che");
    ASSERT_EQ(mkfifo((Cache() / "fifo.che").c_str(), 0600), 0);
    BinCacheHandler other(u"nexar:1");
    std::vector<std::uint64_t> done;
    other.GetCacheData([&](const Lines&, std::uint64_t now, std::uint64_t total) {
        done.push_back(now);
        EXPECT_LE(now, total);
        EXPECT_EQ(other.GetLastLogTime(u"a"), 0) << "it may ask back, and sees the state before";
        return true;
    });
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
    const Lines loaded = LinesOf(other);
    ASSERT_EQ(loaded.size(), 5u) << "the damage cost only what stood behind it";
    EXPECT_EQ(loaded[0].GetComment(), u"\u00E4");
    EXPECT_EQ(loaded[2].GetProjectId(), u"b");
    EXPECT_EQ(other.GetLastLogTime(u"a"), 3);
    PerformanceData statistics;
    other.GetPerformanceData(statistics);
    EXPECT_EQ(statistics, Statistics());
    EXPECT_EQ(Failure([&] {
                  other.GetCacheData(
                      [](const Lines&, std::uint64_t, std::uint64_t) { return false; });
              }),
              "InterruptedException: The operation was interrupted.");
    EXPECT_EQ(LinesOf(other).size(), 5u) << "as they were";
}

TEST_F(BinCacheHandlerTest, OnlyWhatChangedIsWrittenAndNothingThatAnotherProcessWroteIsLost)
{
    const auto written = [&](const char* name) {
        return std::filesystem::last_write_time(Cache() / name);
    };
    handler.SetProjectData({Line(u"a", 1), Line(u"b", 1), Line(u"b", 1)});
    handler.SetPerformanceData(Statistics());
    handler.FlushCacheData();
    BinCacheHandler other(u"nexar:1");
    other.GetCacheData();
    const auto a = written("a.che"), performance = written("performance.che");
    handler.SetProjectData({Line(u"a", 1), Line(u"b", 1), Line(u"b", 1), Line(u"b", 2)});
    handler.FlushCacheData();
    EXPECT_EQ(written("a.che"), a);
    EXPECT_EQ(written("performance.che"), performance);

    other.SetProjectData({Line(u"a", 1), Line(u"b", 1), Line(u"b", 1), Line(u"b", 1)});
    other.FlushCacheData();
    const auto times = [](const Lines& lines) {
        OV::Array<std::int32_t> all;
        for (const auto& line : lines)
            if (line.GetProjectId() == u"b")
                all.push_back(line.GetTimeVal());
        return all;
    };
    EXPECT_EQ(times(LinesOf(other)), (OV::Array<std::int32_t>{1, 1, 1, 2}));
    EXPECT_EQ(other.GetLastLogTime(u"b"), 2);
    BinCacheHandler third(u"nexar:1");
    third.GetCacheData();
    EXPECT_EQ(times(LinesOf(third)), (OV::Array<std::int32_t>{1, 1, 1, 2}));
    other.SetProjectData({Line(u"b", 7)});
    other.FlushCacheData();
    third.GetCacheData();
    EXPECT_EQ(times(LinesOf(third)), OV::Array<std::int32_t>{7}) << "what is known may be replaced";

    // Lines that are added, behind those that the file of their project holds; the file of a
    // project that had none any more holds former ones, which do not come back.
    for (const Lines& lines :
         {Lines{Line(u"b", 7), Line(u"a", 9)},
          Lines{Line(u"b", 7), Line(u"a", 9), Line(u"a", 8), Line(u"b", 8), Line(u"a", 7)}}) {
        other.SetProjectData(lines);
        other.FlushCacheData();
        std::map<std::string, OV::String> bytes;
        for (const auto& line : lines)
            line.AppendRecord(bytes[OV::ToUtf8(line.GetProjectId()) + ".che"]);
        for (const auto& [file, records] : bytes)
            EXPECT_EQ(ReadFile(file), records);
    }

    // Ids that are no UTF-8 share a file; none pushes the lines of the others out.
    OV::String bytes;
    for (const auto* id : {"\xE8", "\xE9", "\xE9"}) {
        SYC::LogRecord record;
        record.projectId = id;
        record.AppendTo(bytes);
    }
    WriteFile("malformed.che", bytes);
    for (int twice = 0; twice < 2; ++twice) {
        third.GetCacheData();
        SYC::LogFilter filter;
        filter.projectId = u"\uFFFD";
        EXPECT_EQ(filter.Select(LinesOf(third)).size(), 3u);
        third.FlushCacheData();
    }
}

TEST_F(BinCacheHandlerTest, AFlushAfterALoadBringsEveryFileToTheLines)
{
    Lines many(1000, Line(u"a", 1));
    many.push_back(Line(u"b", 1));
    handler.SetProjectData(many);
    handler.FlushCacheData();
    const auto a = ReadFile("a.che"), b = ReadFile("b.che");
    const auto remove = [&](const char* name) { std::filesystem::remove(Cache() / name); };
    const struct {
        std::function<void()> before, after;
    } harms[] = {
        {[&] { WriteFile("a.che", a + "damage"); }, [] {}},
        {[&] { std::filesystem::rename(Cache() / "b.che", Cache() / "c.che"); }, [] {}},
        {[] {}, [&] { remove("b.che"); }},
    };
    for (const bool isMore : {false, true})
        for (const auto& harm : harms) {
            harm.before();
            BinCacheHandler other(u"nexar:1");
            other.GetCacheData();
            harm.after();
            if (isMore) {
                Lines lines(*other.GetLines());
                lines.push_back(Line(u"d", 1));
                other.SetProjectData(lines);
            }
            other.FlushCacheData();
            EXPECT_EQ(ReadFile("a.che"), a);
            EXPECT_EQ(ReadFile("b.che"), b);
            EXPECT_EQ(std::filesystem::exists(Cache() / "d.che"), isMore);
            remove("c.che");
            remove("d.che");
        }
}

TEST_F(BinCacheHandlerTest, ProcessesThatFlushAtOnceLoseNobodysLines)
{
    constexpr int rounds = 20;
    const auto write = [](int process) {
        return [process] {
            BinCacheHandler cache(u"nexar:1");
            for (int round = 0; round < rounds; ++round) {
                if (round % 5 == process)
                    cache.GetCacheData();
                Lines lines = LinesOf(cache);
                lines.push_back(Line(u"a", round, OV::ToText(process)));
                cache.SetProjectData(lines);
                cache.FlushCacheData();
            }
            return 0;
        };
    };
    {
        ChildProcess first(write(0)), second(write(1)), third(write(2));
        for (ChildProcess* each : {&first, &second, &third})
            EXPECT_EQ(each->Wait(), 0);
    }
    handler.GetCacheData();
    std::set<std::pair<OV::UniString, std::int32_t>> kinds;
    for (const auto& line : LinesOf(handler))
        kinds.emplace(line.GetComment(), line.GetTimeVal());
    EXPECT_EQ(kinds.size(), 3u * rounds);
    EXPECT_EQ(LinesOf(handler).size(), 3u * rounds) << "and none is doubled";
}

TEST_F(BinCacheHandlerTest, StatisticsKeepTheirPlacesAndOtherVersionsAreRefused)
{
    const auto bytes = Bytes(Statistics());
    using namespace std::string_literals;
    handler.FlushCacheData();
    EXPECT_EQ(ReadFile("performance.che"), "\3\0\0\0\0\0\0\0\0\0\0\0"s);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Cache()), {}), 1);
    EXPECT_NE(bytes.find("p1\1\xFD\xFF\2\0\2\0\0\0"s), bytes.npos) << "the second count first";
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        PerformanceData data = Statistics();
        OV::MemoryIChannel channel(OV::StringView(bytes).substr(0, length));
        EXPECT_EQ(data.Read(channel), length == bytes.size() ? 0 : -7003);
        EXPECT_EQ(data == Statistics(), length == bytes.size());
    }
    for (const char version : {'\2', '\4'}) {
        WriteFile("performance.che", std::string(1, version) + bytes.substr(1));
        EXPECT_EQ(Failure([&] { handler.GetCacheData(); }), "Exception: Invalid cache version.");
    }
    OV::String line;
    Line(u"a", 1).AppendRecord(line);
    WriteFile("a.che", line);
    handler.GetCacheLines();
    EXPECT_EQ(LinesOf(handler).size(), 1u) << "the lines are of no version";
    handler.SetPerformanceData(Statistics());
    handler.FlushCacheData();
    EXPECT_EQ(ReadFile("performance.che").front(), '\4') << "a newer client's stay";
    WriteFile("performance.che", "damage");
    ChartDataLine changed;
    PerformanceData statistics;
    statistics.SetChartLine(changed);
    handler.SetPerformanceData(statistics);
    handler.FlushCacheData();
    EXPECT_EQ(ReadFile("performance.che"), Bytes(statistics));
    std::filesystem::remove(Cache() / "performance.che");
    ASSERT_EQ(mkfifo((Cache() / "performance.che").c_str(), 0600), 0);
    handler.GetCacheData();
    EXPECT_EQ(LinesOf(handler).size(), 1u) << "what cannot be read costs itself";
}

TEST_F(BinCacheHandlerTest, EachStepNamesItsFailure)
{
    for (const auto* name : {u"", u"..", u"a/b", u"."})
        EXPECT_EQ(Failure([&] { BinCacheHandler refused(name); }),
                  "Failed to start cache handler: failed to create folder location.");
    EXPECT_EQ(Failure([] { BinCacheHandler refused(OV::UniString(300, u'x')); }),
              "Failed to to create main folder.");
    for (const auto* id : {u"../outside", u"a/b", u"performance"}) {
        handler.SetProjectData({Line(id, 1)});
        EXPECT_EQ(Failure([&] { handler.FlushCacheData(); }),
                  "Failed to  to create project cache file location.");
    }
    EXPECT_TRUE(std::filesystem::exists(Cache() / "che.lck")) << "a failed flush leaves it";
    handler.SetProjectData({Line(u"", 1), Line(u"behind", 1)});
    EXPECT_EQ(Failure([&] { handler.FlushCacheData(); }), "Project id is empty");
    EXPECT_NE(ReadFile("behind.che"), "") << "what can be written is";
    handler.SetProjectData({Line(u"blocked", 1)});
    std::filesystem::create_directories(Cache() / "blocked.che" / "x");
    EXPECT_EQ(Failure([&] { handler.FlushCacheData(); }),
              "Failed to create project cache: failed to create project cache channel.");
    std::filesystem::remove(Cache() / "performance.che");
    std::filesystem::create_directories(Cache() / "performance.che" / "x");
    EXPECT_EQ(Failure([&] { handler.FlushCacheData(); }),
              "Failed to create performance cache: failed to create performance cache channel.");
    std::filesystem::remove_all(Cache());
    EXPECT_EQ(Failure([&] { handler.FlushCacheData(); }), "Failed to get main folder.");
    EXPECT_EQ(Failure([&] { handler.GetCacheData(); }), "Failed to get main folder.");
}

TEST_F(BinCacheHandlerTest, AKilledFlushLeavesEachFileOldOrNewAndBlocksNobody)
{
    // Other lines, and then as many more behind them.
    const auto fill = [](BinCacheHandler& cache, int count) {
        Lines lines;
        for (const std::size_t size : {400u, 800u}) {
            while (lines.size() < size)
                lines.push_back(
                    Line(lines.size() % 2 == 0 ? u"a" : u"b", count, OV::UniString(200, u'x')));
            cache.SetProjectData(lines);
            cache.FlushCacheData();
        }
    };
    fill(handler, 1);
    KillAtRandomInstants(
        [&] {
            BinCacheHandler writer(u"nexar:1");
            writer.GetCacheData();
            for (int count = 2;; ++count)
                fill(writer, count);
        },
        std::chrono::milliseconds(20),
        [&] {
            BinCacheHandler reader(u"nexar:1");
            reader.GetCacheData();
            std::map<OV::UniString, std::map<std::int32_t, int>> times;
            for (const auto& line : LinesOf(reader))
                ++times[line.GetProjectId()][line.GetTimeVal()];
            ASSERT_EQ(times.size(), 2u);
            for (const auto& [project, counts] : times) {
                ASSERT_EQ(counts.size(), 1u) << "of one flush";
                ASSERT_EQ(counts.begin()->second % 200, 0) << "and whole";
            }
            fill(reader, 1);
        });
}

TEST_F(BinCacheHandlerTest, TwoThatFlushTakeTurns)
{
    const Pipe held, asked;
    ChildProcess holder([&] {
        const auto marker = IO::ExclusiveFile::TryOpen(
            BinCacheHandler(u"nexar:1").GetFolder().Appended(u"che.lck"));
        held.Tell();
        asked.Await();
        return std::filesystem::exists(Cache() / "performance.che") ? 1 : 0;
    });
    held.Await();
    auto flush = std::async(std::launch::async, [&] { handler.FlushCacheData(); });
    auto ask = std::async(std::launch::async, [&] {
        for (int i = 0; i < 1000; ++i)
            (void)handler.GetLastLogTime(u"a");
    });
    EXPECT_EQ(ask.wait_for(std::chrono::seconds(30)), std::future_status::ready)
        << "who waits for another process keeps nobody waiting";
    asked.Tell();
    flush.get();
    EXPECT_EQ(holder.Wait(), 0) << "nothing was written while another one held the marker";
    EXPECT_TRUE(std::filesystem::exists(Cache() / "performance.che"));
}
