#pragma once

#include "BinCacheHandler/BinCacheHandler.hpp"
#include "Log/LogUpdater.hpp"
#include "LogDataLine.hpp"
#include "LogIndex/TextParser.hpp"
#include "OVRoot/Export.hpp"

namespace SYC::Detail {
class LogReading;
}

/// Keeps the activity log of all projects of a server in its cache: asks for what came since, and
/// writes it down.
class SYC_API EventLogUpdater final : public SYC::LogUpdater {
public:
    /// The most lines that SortLines sorts.
    static constexpr std::size_t MostSortedLines = 65'535;

    /// The cache outlives this object. The source's project counts for nothing.
    EventLogUpdater(LogSource server, SYC::BinCacheHandler& cache)
        : server_(std::move(server)), cache_(cache)
    {}
    ~EventLogUpdater() override { Stop(); }

    /// Reads the cache the first time, and shows the observers what it holds at once; then fetches
    /// the lines of every project that the user may see, from a day before the newest one that is
    /// known, adds those that are new, each once, and writes the cache. A failure ("Cannot get
    /// latest events") keeps what arrived before it.
    void Update() override;

    /// Sorts in place, with the order among equal keys that repeated selection of the first best
    /// line, swapped to the front, leaves; the version of a line stays at its position. More than
    /// MostSortedLines throw OV::IllegalArgumentException and stay as they are. Takes time in
    /// proportion to n log n.
    static void SortLines(OV::PagedArray<LogDataLine>& lines, LogDataLine::LogField field,
                          bool ascending);

private:
    using Lines = OV::PagedArray<LogDataLine>;
    struct Question;
    void ReadCache();
    [[nodiscard]] OV::HashTable<OV::String, Question>
    Ask(const OV::Array<Syncra::Protocol::Project>& projects, const Lines& lines) const;
    void Fetch(Lines& lines);
    void FetchProject(Syncra::Client::SyncraClient& client,
                      const Syncra::Protocol::Project& project, Question& question,
                      SYC::Detail::LogReading& reading, Lines& lines);

    LogSource server_;
    SYC::BinCacheHandler& cache_;
    bool isCacheRead_ = false;
};
