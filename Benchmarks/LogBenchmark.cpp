#include "Beside.hpp"
#include "BinCacheHandler/BinCacheHandler.hpp"
#include "EventLogUpdater.hpp"
#include "IO/File.hpp"
#include "Log/LogLineReader.hpp"
#include "Log/LogTable.hpp"
#include "LogIndex/CompositeStringIndex.hpp"
#include "LogLine/LogText.hpp"
#include "OVRoot/Collation.hpp"
#include "OVRoot/System.hpp"
#include "SampleLog.hpp"
#include "Support/TemporaryFolder.hpp"

#include <sqlite3.h>

#include <array>
#include <cstring>
#include <deque>
#include <malloc.h>

namespace {

using Lines = OV::PagedArray<LogDataLine>;
using Field = LogDataLine::LogField;

OV::Array<Syncra::Protocol::EventLogPage> PagesOf(std::int64_t count)
{
    OV::Array<Syncra::Protocol::EventLogPage> pages;
    SampleLogWriter text;
    for (std::int64_t left = count; left > 0; left -= LinesOfPage)
        text.Append(pages.emplace_back(Syncra::Protocol::EventLogPage{{}, Separator, 0, 0}).text,
                    std::min(left, LinesOfPage));
    return pages;
}

/// As the updater does it.
Lines LinesOf(const OV::Array<Syncra::Protocol::EventLogPage>& pages)
{
    Lines lines;
    for (const auto& page : pages)
        for (auto& line : SYC::ReadLogLines(page, TheProject()))
            lines.push_back(std::move(line));
    return lines;
}

Lines LinesOf(std::int64_t count)
{
    return LinesOf(PagesOf(count));
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
    Beside(state, "cutting a log into lines and fields", "memchr finds the line ends")
        .RunCold([&] { benchmark::DoNotOptimize(SplitAll(log)); },
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
        static_cast<double>(log.size()) / 1e6 / (state.counters["ours_us"].value / 1e3);
}

void LogParseBesideCut(benchmark::State& state)
{
    const TemporaryFolder folder(TemporaryFolder::UserFolders::Leave);
    const auto file = folder.Path() / "log";
    IO::File::Replace(IO::Location::FromPath(OV::FromUtf8(file.string())), LogOf(state.range(0)));
    const std::string command = "wc -l '" + file.string() + "' > /dev/null; cut -d '#' -f 1,2,3 '" +
                                file.string() + "' > /dev/null";
    Beside(state, "the same with reading its file", "the processes wc -l and cut")
        .RunCold(
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

enum Order : std::int64_t { AsLogged, Shuffled };

std::string WhatOf(Index kind, std::int64_t order)
{
    constexpr const char* names[] = {"time", "user", "user and action"};
    return std::string("an index by ") + names[kind] +
           (order == AsLogged ? ", lines as logged" : ", lines shuffled");
}

/// Both have the same texts in the same order, and make of them keys and their order. The other
/// makes UTF-16 texts with the numbers of their rows and sorts them by `std::stable_sort`.
void LogIndexBesideSort(benchmark::State& state)
{
    Columns columns(state.range(0));
    if (state.range(2) == Shuffled)
        std::shuffle(columns.parts.begin(), columns.parts.end(), std::mt19937(2));
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
    const auto keyOf = [&](const std::array<OV::StringView, 3>& all) {
        if (kind == ByUserAndAction)
            return OV::FromUtf8(all[1]) + u'/' + OV::FromUtf8(all[2]) + u'/';
        return OV::FromUtf8(all[kind == ByTime ? 0 : 1]);
    };
    Beside(state, WhatOf(kind, state.range(2)),
           "std::stable_sort of the keys with their rows, in UTF-16",
           kind == ByTime && state.range(2) == AsLogged ? 1.0 : 0)
        .RunCold(
            [&] {
                if (kind == ByUserAndAction)
                    build(CompositeStringIndex({1, 2}));
                else
                    build(StringIndex(kind == ByTime ? 0 : 1));
            },
            [&] {
                std::vector<std::pair<OV::UniString, std::uint32_t>> keys;
                keys.reserve(columns.parts.size());
                for (std::uint32_t row = 0; row < columns.parts.size(); ++row)
                    keys.emplace_back(keyOf(columns.parts[row]), row);
                std::stable_sort(keys.begin(), keys.end(),
                                 [](const auto& a, const auto& b) { return a.first < b.first; });
                benchmark::DoNotOptimize(keys.data());
            });
}

/// The order of the keys that `keyOf` makes of the lines, each once.
template <class KeyOf>
std::vector<std::uint32_t> SortByKeys(const Lines& lines, KeyOf&& keyOf)
{
    std::vector<std::pair<decltype(keyOf(lines[0])), std::uint32_t>> keys;
    keys.reserve(lines.size());
    for (const LogDataLine& line : lines)
        keys.emplace_back(keyOf(line), static_cast<std::uint32_t>(keys.size()));
    std::stable_sort(keys.begin(), keys.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::uint32_t> order;
    order.reserve(keys.size());
    for (const auto& each : keys)
        order.push_back(each.second);
    return order;
}

std::vector<std::uint32_t> SortByField(const Lines& lines, Field field)
{
    const auto& collation = OV::Collation::OfUser();
    struct Collated {
        OV::String text;
        const OV::Collation* collation;
        bool operator<(const Collated& other) const
        {
            return collation->Compare(text, other.text) < 0;
        }
    };
    switch (field) {
    case Field::Time:
        return SortByKeys(
            lines, [](const auto& line) { return std::pair(line.GetTimeVal(), line.GetId()); });
    case Field::User:
        return SortByKeys(lines, [](const auto& line) { return line.GetUser(); });
    case Field::Duration:
        return SortByKeys(lines, [](const auto& line) { return line.GetDuration(); });
    case Field::Size:
        return SortByKeys(lines, [](const auto& line) { return line.GetSizeVal(); });
    case Field::Operation:
        return SortByKeys(lines, [&](const auto& line) {
            return Collated{OV::ToUtf8(line.GetOperationText()), &collation};
        });
    default:
        return SortByKeys(lines, [](const auto& line) { return line.GetProject(); });
    }
}

/// The other takes each line's key once, sorts them by `std::stable_sort`, and copies the lines in
/// that order.
void SortLinesBesideSort(benchmark::State& state)
{
    Lines lines = LinesOf(65'535);
    std::shuffle(lines.begin(), lines.end(), std::mt19937(3));
    const auto field = static_cast<Field>(state.range(0));
    Beside(state, "sorting 65,535 lines by a field",
           "each key made once, std::stable_sort, and a copy")
        .RunCold(
            [&] {
                auto sorted = lines;
                EventLogUpdater::SortLines(sorted, field, true);
                benchmark::DoNotOptimize(std::as_const(sorted).front());
            },
            [&] {
                Lines sorted;
                for (const std::uint32_t at : SortByField(lines, field))
                    sorted.push_back(std::as_const(lines)[at]);
                benchmark::DoNotOptimize(std::as_const(sorted).front());
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
    Beside(state, "flushing a log with one more line", "writing the same bytes as safely", 1.1)
        .RunCold(
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
    const auto news = SYC::ReadLogLines(PagesOf(100).front(), project);
    const std::deque<LogDataLine> all(cache.GetLines()->begin(), cache.GetLines()->end());
    SYC::LogLines shown;
    Beside(state, "a hundred lines of another project, with a flush", "three copies of all lines")
        .RunCold(
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
    Beside(state, "loading a log", "reading the same bytes", 1.3)
        .RunCold(
            [&] {
                SYC::BinCacheHandler other(u"bench");
                other.GetCacheData();
            },
            [&] {
                benchmark::DoNotOptimize(IO::File::ReadAll(FileOf(cache), IO::File::MostOfLogFile));
            });
    for (int round = 0; round < 5; ++round) {
        const auto begin = Beside::Clock::now();
        bool isFirst = true;
        SYC::BinCacheHandler other(u"bench");
        other.GetCacheData([&](const Lines& part, std::uint64_t, std::uint64_t) {
            if (std::exchange(isFirst, false)) {
                const SYC::LogTable table(std::make_shared<Lines>(part), {0, 1, 2});
                benchmark::DoNotOptimize(table.GetText(1, SYC::LogTable::Timestamp));
                firstScreens.push_back(Beside::Microseconds(Beside::Clock::now() - begin) / 1e3);
            }
            return true;
        });
    }
    state.counters["first_screen_ms"] = Beside::Median(firstScreens);
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
        const std::uint64_t before = OV::System::ProcessMemory();
        SYC::BinCacheHandler cache(u"bench");
        cache.GetCacheData();
        state.counters["bytes_per_line"] =
            static_cast<double>(OV::System::ProcessMemory() - before) /
            static_cast<double>(state.range(0));
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

/// 0: pages of a server become lines; the other inserts as many rows into a table in memory. 1:
/// three indexes of each. 2: the viewer's question; the other has an index for it.
void LogBesideSqlite(benchmark::State& state)
{
    const std::int64_t count = state.range(0);
    const Columns columns(count);
    const auto pages = PagesOf(count);
    const Lines lines = LinesOf(pages);
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
        Beside(state, "lines from pages", "SQLite in memory inserts them", 0.5)
            .RunCold([&] { benchmark::DoNotOptimize(LinesOf(pages)); }, insert);
        break;
    case 1:
        Beside(state, "three indexes", "SQLite makes three", 0.5)
            .RunCold(
                [&] {
                    for (const auto kind : {ByTime, ByUser}) {
                        StringIndex built(0);
                        built.AddRows(static_cast<std::uint32_t>(count),
                                      [&](std::uint32_t row, OV::Array<OV::StringView>& parts) {
                                          parts.assign(1,
                                                       columns.parts[row][kind == ByTime ? 0 : 1]);
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
        Beside(state, "the viewer's filters", "SQLite answers the same question with its indexes",
               0.5)
            .RunCold([&] { benchmark::DoNotOptimize(question.Select(lines)); },
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

BENCHMARK(LogParseBesideMemchr)
    ->Arg(Small)
    ->Arg(Middle)
    ->Arg(Large)
    ->UseManualTime()
    ->Iterations(7);
BENCHMARK(LogParseBesideCut)->Arg(Large)->UseManualTime()->Iterations(3);
BENCHMARK(LogIndexBesideSort)
    ->ArgsProduct({{Small, Middle, Large}, {ByTime, ByUser, ByUserAndAction}, {AsLogged, Shuffled}})
    ->UseManualTime()
    ->Iterations(3);
BENCHMARK(SortLinesBesideSort)->DenseRange(1, 6)->UseManualTime()->Iterations(5);
BENCHMARK(LogFlushBesideWrite)->Arg(Small)->Arg(Middle)->Arg(Large)->UseManualTime()->Iterations(5);
BENCHMARK(LogUpdateBesideCopies)
    ->Arg(Small)
    ->Arg(Middle)
    ->Arg(Large)
    ->UseManualTime()
    ->Iterations(5);
BENCHMARK(LogLoadBesideRead)->Arg(Small)->Arg(Middle)->Arg(Large)->UseManualTime()->Iterations(5);
BENCHMARK(LogMemory)->Arg(Small)->Arg(Middle)->Arg(Large)->Iterations(1);
BENCHMARK(LogBesideSqlite)->ArgsProduct({{Large}, {0, 1, 2}})->UseManualTime()->Iterations(3);
