#include "BinCacheHandler/BinCacheHandler.hpp"
#include "EventLogUpdater.hpp"
#include "IO/File.hpp"
#include "Log/LogFilter.hpp"
#include "Log/LogLineReader.hpp"
#include "Log/LogTable.hpp"
#include "LogIndex/CompositeStringIndex.hpp"
#include "LogLine/LogText.hpp"
#include "Support/TemporaryFolder.hpp"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <deque>
#include <functional>
#include <malloc.h>
#include <random>

namespace {

using Lines = OV::PagedArray<LogDataLine>;
using Field = LogDataLine::LogField;
constexpr const char* Separator = "#!";

double Milliseconds(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(),
                     values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// Both in turn, in every iteration; the medians and their ratio.
void SideBySide(benchmark::State& state, const std::function<void()>& ours,
                const std::function<void()>& other)
{
    std::vector<double> ourTimes, otherTimes;
    for (auto _ : state) {
        ourTimes.push_back(Milliseconds(ours));
        otherTimes.push_back(Milliseconds(other));
    }
    state.counters["ours_ms"] = Median(ourTimes);
    state.counters["other_ms"] = Median(otherTimes);
    state.counters["ratio"] = Median(ourTimes) / Median(otherTimes);
}

/// A log of about 100 bytes a line, in the order of time.
const OV::String& LogOf(std::int64_t count)
{
    static std::map<std::int64_t, OV::String> logs;
    OV::String& text = logs[count];
    if (!text.empty())
        return text;
    constexpr const char* users[] = {"Anna Nov\u00e1k (anna.novak)", "Marco Rossi (marco.rossi)",
                                     "Lena Fischer (lena.fischer)",  "Omar Haddad (omar.haddad)",
                                     "Priya Nair (priya.nair)",      "Jonas Berg (jonas.berg)"};
    constexpr const char* actions[] = {"Send", "GetChanges", "Reserve", "Release", "Comment"};
    std::mt19937 random(1);
    std::int64_t time = 1'700'000'000;
    for (std::int64_t line = 0; line < count; ++line) {
        time += static_cast<std::int64_t>(random() % 90);
        text += std::to_string(time) + Separator + users[random() % 6] + Separator +
                actions[random() % 5] + Separator + std::to_string(random() % 9'000'000) +
                Separator + "North wall moved by two bricks" + Separator +
                std::to_string(random() % 60) + Separator + "14" + Separator +
                std::to_string(line) + "\n";
    }
    return text;
}

Syncra::Protocol::EventLogPage PageOf(std::int64_t count)
{
    return {LogOf(count), Separator, 0, 0};
}

Syncra::Protocol::Project TheProject()
{
    Syncra::Protocol::Project project;
    project.id = u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001";
    project.name = u"Harbour Bridge";
    return project;
}

Lines LinesOf(std::int64_t count)
{
    const auto lines = SYC::ReadLogLines(PageOf(count), TheProject());
    return {lines.begin(), lines.end()};
}

std::size_t SplitAll(OV::String& log)
{
    SYC::LogText text(std::move(log));
    OV::Array<OV::StringView> fields;
    std::size_t count = 0;
    for (std::uint32_t line = 0; line < text.GetLineCount(); ++line) {
        SYC::LogText::Split(text.GetLine(line), Separator, fields);
        count += fields.size();
    }
    log = text.TakeText();
    return count;
}

void LogParseBesideMemchr(benchmark::State& state)
{
    OV::String log = LogOf(state.range(0));
    SideBySide(
        state, [&] { benchmark::DoNotOptimize(SplitAll(log)); },
        [&] {
            std::size_t lines = 0;
            const char* const end = log.data() + log.size();
            for (const char* at = log.data(); at != end; ++lines)
                at = static_cast<const char*>(
                         std::memchr(at, '\n', static_cast<std::size_t>(end - at))) +
                     1;
            benchmark::DoNotOptimize(lines);
        });
    state.counters["GB_per_s"] =
        static_cast<double>(log.size()) / 1e6 / state.counters["ours_ms"].value;
}

void LogParseBesideCut(benchmark::State& state)
{
    const TemporaryFolder folder(TemporaryFolder::UserFolders::Leave);
    const auto file = folder.Path() / "log";
    IO::File::Replace(IO::Location::FromPath(OV::FromUtf8(file.string())), LogOf(state.range(0)));
    const std::string command = "wc -l '" + file.string() + "' > /dev/null; cut -d '#' -f 1,2,3 '" +
                                file.string() + "' > /dev/null";
    SideBySide(
        state,
        [&] {
            auto text = IO::File::ReadAll(IO::Location::FromPath(OV::FromUtf8(file.string())),
                                          IO::File::MostOfLogFile);
            benchmark::DoNotOptimize(SplitAll(text));
        },
        [&] { benchmark::DoNotOptimize(std::system(command.c_str())); });
}

/// Time, user, or user and action.
enum Index : std::int64_t { ByTime, ByUser, ByUserAndAction };

struct Columns {
    explicit Columns(std::int64_t count) : text(LogOf(count))
    {
        OV::Array<OV::StringView> fields;
        for (std::uint32_t line = 0; line < text.GetLineCount(); ++line) {
            SYC::LogText::Split(text.GetLine(line), Separator, fields);
            parts.push_back({fields[0], fields[1], fields[2]});
        }
    }
    SYC::LogText text;
    std::vector<std::array<OV::StringView, 3>> parts;
};

void LogIndexBesideSort(benchmark::State& state)
{
    const Columns columns(state.range(0));
    const auto kind = static_cast<Index>(state.range(1));
    const auto build = [&](StringIndex&& index) {
        index.AddRows(static_cast<std::uint32_t>(columns.parts.size()),
                      [&](std::uint32_t row, OV::Array<OV::StringView>& parts) {
                          const auto& all = columns.parts[row];
                          if (kind == ByUserAndAction)
                              parts = {all[1], all[2]};
                          else
                              parts.assign(1, all[kind == ByTime ? 0 : 1]);
                      });
        benchmark::DoNotOptimize(index.GetSize());
    };
    std::vector<std::pair<OV::UniString, std::uint32_t>> keys;
    for (std::uint32_t row = 0; row < columns.parts.size(); ++row) {
        const auto& all = columns.parts[row];
        keys.emplace_back(kind == ByTime ? OV::FromUtf8(all[0])
                          : kind == ByUser
                              ? OV::FromUtf8(all[1])
                              : OV::FromUtf8(all[1]) + u'/' + OV::FromUtf8(all[2]) + u'/',
                          row);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
    SideBySide(
        state,
        [&] {
            if (kind == ByUserAndAction)
                build(CompositeStringIndex({1, 2}));
            else
                build(StringIndex(kind == ByTime ? 0 : 1));
        },
        [&] {
            auto sorted = keys;
            std::stable_sort(sorted.begin(), sorted.end(),
                             [](const auto& a, const auto& b) { return a.first < b.first; });
            benchmark::DoNotOptimize(sorted.data());
        });
}

void SortLinesBesideSort(benchmark::State& state)
{
    Lines lines = LinesOf(65'535);
    std::shuffle(lines.begin(), lines.end(), std::mt19937(3));
    const auto field = static_cast<Field>(state.range(0));
    SideBySide(
        state,
        [&] {
            auto sorted = lines;
            EventLogUpdater::SortLines(sorted, field, true);
            benchmark::DoNotOptimize(sorted.front());
        },
        [&] {
            auto sorted = lines;
            std::stable_sort(sorted.begin(), sorted.end(), [&](const auto& a, const auto& b) {
                return LogDataLine::Compare(a, b, field);
            });
            benchmark::DoNotOptimize(sorted.front());
        });
}

/// The file of the one project.
IO::Location FileOf(const SYC::BinCacheHandler& cache)
{
    return cache.GetFolder().Appended(TheProject().id + u".che");
}

void LogFlushBesideWrite(benchmark::State& state)
{
    const TemporaryFolder folder;
    SYC::BinCacheHandler cache(u"bench");
    cache.SetProjectData(LinesOf(state.range(0)));
    cache.FlushCacheData();
    const auto bytes = IO::File::ReadAll(FileOf(cache), IO::File::MostOfLogFile);
    const auto other = cache.GetFolder().Appended(u"other");
    SideBySide(
        state,
        [&] {
            Lines lines = *cache.GetLines();
            lines.push_back(lines.back());
            cache.SetProjectData(lines);
            cache.FlushCacheData();
        },
        [&] { IO::File::Replace(other, bytes); });
}

/// A hundred new lines of a project that has few, from the cache to the file and to an observer
/// that keeps them, beside the three copies of all lines that it takes when none share any.
void LogUpdateBesideCopies(benchmark::State& state)
{
    const TemporaryFolder folder;
    SYC::BinCacheHandler cache(u"bench");
    cache.SetProjectData(LinesOf(state.range(0)));
    cache.FlushCacheData();
    auto project = TheProject();
    project.id = u"small";
    const auto news = SYC::ReadLogLines(PageOf(100), project);
    const std::deque<LogDataLine> all(cache.GetLines()->begin(), cache.GetLines()->end());
    SYC::LogLines shown;
    SideBySide(
        state,
        [&] {
            Lines lines;
            cache.GetProjectData(lines);
            lines.append(news.begin(), news.end());
            cache.SetProjectData(lines);
            cache.FlushCacheData();
            shown = cache.GetLines();
        },
        [&] {
            for (int copy = 0; copy < 3; ++copy)
                benchmark::DoNotOptimize(std::deque<LogDataLine>(all));
        });
}

void LogLoadBesideRead(benchmark::State& state)
{
    const TemporaryFolder folder;
    SYC::BinCacheHandler cache(u"bench");
    cache.SetProjectData(LinesOf(state.range(0)));
    cache.FlushCacheData();
    std::vector<double> firstScreens;
    SideBySide(
        state,
        [&] {
            SYC::BinCacheHandler other(u"bench");
            other.GetCacheData();
        },
        [&] {
            benchmark::DoNotOptimize(IO::File::ReadAll(FileOf(cache), IO::File::MostOfLogFile));
        });
    for (int round = 0; round < 5; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        bool isFirst = true;
        SYC::BinCacheHandler other(u"bench");
        other.GetCacheData([&](const Lines& part, std::uint64_t, std::uint64_t) {
            if (std::exchange(isFirst, false)) {
                const SYC::LogTable table(std::make_shared<Lines>(part), {0, 1, 2});
                benchmark::DoNotOptimize(table.GetText(1, SYC::LogTable::Timestamp));
                firstScreens.push_back(std::chrono::duration<double, std::milli>(
                                           std::chrono::steady_clock::now() - begin)
                                           .count());
            }
            return true;
        });
    }
    state.counters["first_screen_ms"] = Median(firstScreens);
}

void LogMemory(benchmark::State& state)
{
    const TemporaryFolder folder;
    {
        SYC::BinCacheHandler cache(u"bench");
        cache.SetProjectData(LinesOf(state.range(0)));
        cache.FlushCacheData();
    }
    for (auto _ : state) {
        malloc_trim(0);
        const auto used = [] {
            const auto info = mallinfo2();
            return info.uordblks + info.hblkhd;
        };
        const std::size_t before = used();
        SYC::BinCacheHandler cache(u"bench");
        cache.GetCacheData();
        state.counters["bytes_per_line"] =
            static_cast<double>(used() - before) / static_cast<double>(state.range(0));
    }
}

/// The viewer's question: a user's lines of a quarter of the time.
SYC::LogFilter Question(std::int64_t count)
{
    SYC::LogFilter filter;
    filter.projectId = TheProject().id;
    filter.from = 1'700'000'000 + count * 20;
    filter.to = 1'700'000'000 + count * 31;
    filter.user = u"Lena Fischer";
    return filter;
}

void Execute(sqlite3* database, const char* sql)
{
    if (sqlite3_exec(database, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        std::abort();
}

/// 0: lines in; 1: three indexes; 2: the viewer's question.
void LogBesideSqlite(benchmark::State& state)
{
    const std::int64_t count = state.range(0);
    const Columns columns(count);
    const Lines lines = LinesOf(count);
    sqlite3* database = nullptr;
    const auto insert = [&] {
        sqlite3_close(database);
        if (sqlite3_open(":memory:", &database) != SQLITE_OK)
            std::abort();
        Execute(database, "CREATE TABLE log (project TEXT, time INTEGER, user TEXT, action TEXT, "
                          "size INTEGER, comment TEXT); BEGIN");
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(database, "INSERT INTO log VALUES (?, ?, ?, ?, ?, ?)", -1, &statement,
                           nullptr);
        for (const LogDataLine& line : lines) {
            const SYC::LogRecord record = line.Record();
            const auto text = [&](int at, OV::StringView value) {
                sqlite3_bind_text(statement, at, value.data(), static_cast<int>(value.size()),
                                  SQLITE_STATIC);
            };
            text(1, record.projectId);
            sqlite3_bind_int64(statement, 2, record.timeVal);
            text(3, record.user);
            text(4, record.operation);
            sqlite3_bind_int64(statement, 5, record.sizeVal);
            text(6, record.comment);
            sqlite3_step(statement);
            sqlite3_reset(statement);
        }
        sqlite3_finalize(statement);
        Execute(database, "COMMIT");
    };
    const auto index = [&] {
        Execute(database, "DROP INDEX IF EXISTS a; DROP INDEX IF EXISTS b; DROP INDEX IF EXISTS c; "
                          "CREATE INDEX a ON log(project, time); CREATE INDEX b ON log(user); "
                          "CREATE INDEX c ON log(user, action)");
    };
    const auto question = Question(count);
    insert();
    index();
    const std::string query =
        "SELECT rowid FROM log WHERE project = '" + OV::ToUtf8(TheProject().id) +
        "' AND time BETWEEN " + std::to_string(question.from) + " AND " +
        std::to_string(question.to) + " AND user = 'Lena Fischer' ORDER BY time";
    switch (state.range(1)) {
    case 0:
        SideBySide(
            state, [&] { benchmark::DoNotOptimize(LinesOf(count)); }, insert);
        break;
    case 1:
        SideBySide(
            state,
            [&] {
                for (const auto kind : {ByTime, ByUser}) {
                    StringIndex built(0);
                    built.AddRows(static_cast<std::uint32_t>(count),
                                  [&](std::uint32_t row, OV::Array<OV::StringView>& parts) {
                                      parts.assign(1, columns.parts[row][kind == ByTime ? 0 : 1]);
                                  });
                    benchmark::DoNotOptimize(built.GetSize());
                }
                CompositeStringIndex both({1, 2});
                both.AddRows(static_cast<std::uint32_t>(count),
                             [&](std::uint32_t row, OV::Array<OV::StringView>& parts) {
                                 parts = {columns.parts[row][1], columns.parts[row][2]};
                             });
                benchmark::DoNotOptimize(both.GetSize());
            },
            index);
        break;
    default:
        SideBySide(
            state, [&] { benchmark::DoNotOptimize(question.Select(lines)); },
            [&] {
                sqlite3_stmt* statement = nullptr;
                sqlite3_prepare_v2(database, query.c_str(), -1, &statement, nullptr);
                std::size_t rows = 0;
                while (sqlite3_step(statement) == SQLITE_ROW)
                    ++rows;
                sqlite3_finalize(statement);
                benchmark::DoNotOptimize(rows);
            });
    }
    sqlite3_close(database);
}

constexpr std::int64_t Small = 10'000, Middle = 100'000, Large = 1'000'000;

}  // namespace

BENCHMARK(LogParseBesideMemchr)->Arg(Small)->Arg(Middle)->Arg(Large)->Iterations(7);
BENCHMARK(LogParseBesideCut)->Arg(Large)->Iterations(3);
BENCHMARK(LogIndexBesideSort)
    ->ArgsProduct({{Small, Middle, Large}, {ByTime, ByUser, ByUserAndAction}})
    ->Iterations(3);
BENCHMARK(SortLinesBesideSort)->DenseRange(1, 6)->Iterations(5);
BENCHMARK(LogFlushBesideWrite)->Arg(Small)->Arg(Middle)->Arg(Large)->Iterations(5);
BENCHMARK(LogUpdateBesideCopies)->Arg(Small)->Arg(Middle)->Arg(Large)->Iterations(5);
BENCHMARK(LogLoadBesideRead)->Arg(Small)->Arg(Middle)->Arg(Large)->Iterations(5);
BENCHMARK(LogMemory)->Arg(Small)->Arg(Middle)->Arg(Large)->Iterations(1);
BENCHMARK(LogBesideSqlite)->ArgsProduct({{Large}, {0, 1, 2}})->Iterations(3);
