#include "Beside.hpp"
#include "BinCacheHandler/BinCacheHandler.hpp"
#include "IO/File.hpp"
#include "Log/LogLineReader.hpp"
#include "Log/LogTable.hpp"
#include "SampleLog.hpp"
#include "Support/TemporaryFolder.hpp"

#include <sqlite3.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <numeric>
#include <optional>

/// A log of ten million lines, as many as SYCLIENT_LARGE_LOG_LINES says, or of the store that
/// SYCLIENT_LARGE_STORE names (Tools/large-store): that of its project "Log-1".
namespace {

using Lines = OV::PagedArray<LogDataLine>;

/// The pages in which a server sends the log.
class Pages {
public:
    Pages()
    {
        const char* const store = std::getenv("SYCLIENT_LARGE_STORE");
        if (store == nullptr) {
            const char* const lines = std::getenv("SYCLIENT_LARGE_LOG_LINES");
            left_ = lines == nullptr ? 10'000'000 : std::atoll(lines);
            return;
        }
        constexpr const char* sql =
            "SELECT time || '#!' || user || '#!' || action || '#!' || size || '#!' || comment || "
            "'#!' || seconds || '#!14' || char(10) FROM events WHERE project_id = "
            "(SELECT id FROM projects WHERE name = 'Log-1') ORDER BY time";
        if (sqlite3_open_v2(store, &database_, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK ||
            sqlite3_prepare_v2(database_, sql, -1, &rows_, nullptr) != SQLITE_OK)
            std::abort();
    }
    ~Pages()
    {
        sqlite3_finalize(rows_);
        sqlite3_close(database_);
    }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;

    /// Nothing behind the last one.
    std::optional<Syncra::Protocol::EventLogPage> Next()
    {
        Syncra::Protocol::EventLogPage page{{}, Separator, 0, 0};
        if (rows_ == nullptr) {
            const std::int64_t count = std::min(left_, LinesOfPage);
            writer_.Append(page.text, count);
            left_ -= count;
        } else
            for (std::int64_t line = 0; line < LinesOfPage && !isRead_; ++line) {
                isRead_ = sqlite3_step(rows_) != SQLITE_ROW;
                if (!isRead_)
                    page.text.append(reinterpret_cast<const char*>(sqlite3_column_text(rows_, 0)),
                                     static_cast<std::size_t>(sqlite3_column_bytes(rows_, 0)));
            }
        if (page.text.empty())
            return std::nullopt;
        return page;
    }

private:
    SampleLogWriter writer_;
    std::int64_t left_ = 0;
    sqlite3* database_ = nullptr;
    sqlite3_stmt* rows_ = nullptr;
    bool isRead_ = false;  ///< stepped on, the statement would begin again
};

/// In bytes, of this process: "VmHWM" is the most since ForgetPeak, "VmRSS" what is there now.
std::size_t Resident(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (std::size_t kilobytes = 0; word == name + ':' && status >> kilobytes)
            return kilobytes * 1024;
    return 0;
}
std::size_t Held()
{
    malloc_trim(0);
    return Resident("VmRSS");
}
void ForgetPeak()
{
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
}

/// The most memory that `work` takes, beside what is held when it is done.
template <class Work>
double PeakOf(std::size_t before, Work&& work)
{
    ForgetPeak();
    work();
    const auto peak = static_cast<double>(Resident("VmHWM") - before);
    malloc_trim(0);
    return peak / static_cast<double>(Resident("VmRSS") - before);
}

double Milliseconds(const std::function<void()>& work)
{
    return Beside::Microseconds(Beside::Time(work)) / 1e3;
}

/// Of the processor: what touches no disk.
double ProcessorMilliseconds(const std::function<void()>& work)
{
    std::vector<double> times;
    for (int round = 0; round < 3; ++round) {
        const std::clock_t begin = std::clock();
        work();
        times.push_back(static_cast<double>(std::clock() - begin) * 1000 / CLOCKS_PER_SEC);
    }
    return Beside::Median(times);
}

/// Its memory, and what is done with it: as from a server, in and out of the cache, and in a
/// window. The others write and read the same bytes as safely.
void LogOfTenMillion(benchmark::State& state)
{
    const TemporaryFolder folder;
    const auto report = [&](const char* name, double value) { state.counters[name] = value; };
    for (auto _ : state) {
        double count = 0;
        SYC::BinCacheHandler cache(u"bench");
        {
            Lines lines;
            std::clock_t ticks = 0;
            for (Pages pages; auto page = pages.Next();) {
                const std::clock_t begin = std::clock();
                for (auto& line : SYC::ReadLogLines(*page, TheProject()))
                    lines.push_back(std::move(line));
                ticks += std::clock() - begin;
            }
            count = static_cast<double>(lines.size());
            report("from_text_cpu_ms", static_cast<double>(ticks) * 1000 / CLOCKS_PER_SEC);
            cache.SetProjectData(lines);
        }
        const auto more = [&] {
            Lines lines(*cache.GetLines());
            lines.push_back(lines.back());
            cache.SetProjectData(lines);
            cache.FlushCacheData();
        };
        report("flush_peak", PeakOf(0, more));
        const auto file = cache.GetFolder().Appended(TheProject().id + u".che");
        const auto other = cache.GetFolder().Appended(u"other");
        std::vector<double> ours, others;
        {
            const auto bytes = IO::File::ReadAll(file, IO::File::MostOfLogFile);
            for (int round = 0; round < 3; ++round) {
                ours.push_back(Milliseconds(more));
                others.push_back(Milliseconds([&] { IO::File::Replace(other, bytes); }));
            }
        }
        report("flush_ms", Beside::Median(ours));
        report("flush_ratio", Beside::Median(ours) / Beside::Median(others));
        IO::File::Delete(other);
        cache.SetProjectData({});
        ours.clear();
        others.clear();
        for (int round = 0; round < 3; ++round) {
            ours.push_back(Milliseconds([&] {
                SYC::BinCacheHandler loaded(u"bench");
                loaded.GetCacheLines();
            }));
            others.push_back(Milliseconds([&] {
                benchmark::DoNotOptimize(IO::File::ReadAll(file, IO::File::MostOfLogFile));
            }));
        }
        report("load_ms", Beside::Median(ours));
        report("load_ratio", Beside::Median(ours) / Beside::Median(others));
        const std::size_t held = Held();
        SYC::BinCacheHandler loaded(u"bench");
        report("load_peak", PeakOf(held, [&] { loaded.GetCacheLines(); }));
        report("bytes_per_line", static_cast<double>(Held() - held) / count);
        const SYC::LogLines lines = loaded.GetLines();

        SYC::LogFilter filter;
        filter.projectId = TheProject().id;
        filter.from = (*lines)[lines->size() / 4].GetTimeVal();
        filter.to = (*lines)[lines->size() / 2].GetTimeVal();
        filter.user = (*lines)[0].GetUser();
        report("filter_cpu_ms",
               ProcessorMilliseconds([&] { benchmark::DoNotOptimize(filter.Select(*lines)); }));
        OV::Array<std::uint32_t> rows(lines->size());
        std::iota(rows.begin(), rows.end(), 0U);
        const SYC::LogTable all(lines, std::move(rows)), some(lines, filter.Select(*lines));
        report("rows_of_filter", some.GetCount());
        const auto sort = [&](const SYC::LogTable& table, int column) {
            return ProcessorMilliseconds(
                [&] { benchmark::DoNotOptimize(table.Sorted(column, false)); });
        };
        report("sort_time_cpu_ms", sort(all, SYC::LogTable::Timestamp));
        report("sort_user_cpu_ms", sort(all, SYC::LogTable::User));
        report("sort_size_cpu_ms", sort(all, SYC::LogTable::Size));
        report("sort_comment_cpu_ms", sort(all, SYC::LogTable::Comment));
        report("filter_sort_size_cpu_ms", sort(some, SYC::LogTable::Size));
        report("first_screen_cpu_ms", ProcessorMilliseconds([&] {
                   for (int row = 1; row <= 60; ++row)
                       for (int column = 1; column <= SYC::LogTable::ColumnCount; ++column)
                           benchmark::DoNotOptimize(all.GetText(row, column));
               }));
        report("sort_peak", PeakOf(held, [&] { sort(all, SYC::LogTable::Size); }));
    }
}

}  // namespace

BENCHMARK(LogOfTenMillion)->Iterations(1)->Unit(benchmark::kSecond);
