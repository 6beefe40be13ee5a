#pragma once

#include "BinCacheHandler/BinCacheHandlerException.hpp"
#include "IO/Location.hpp"
#include "LogDataLine.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Lock.hpp"
#include "OVRoot/PagedArray.hpp"
#include "PerformanceData.hpp"

#include <functional>
#include <memory>

namespace SYC {

namespace Detail::LogCacheLines {
struct Files;
struct Written;
}  // namespace Detail::LogCacheLines

/// What has been fetched of a server's activity log and statistics, in memory and in a folder of
/// files: "performance.che", and a file for each project, named by its id. Any thread may call, and
/// sees the state before or after another operation, never one in between. No operation holds a
/// lock while it reads or writes files, waits for another process, or calls back.
class SYC_API BinCacheHandler {
public:
    /// `name` stands for the server and becomes a folder, which is created. Throws
    /// BinCacheHandlerException.
    explicit BinCacheHandler(const OV::UniString& name);

    /// Lines in shared ownership that nobody changes any more.
    using Lines = LogLines;

    /// Replaces the lines. What they share with those before, as a copy that lines were appended to
    /// does, costs nothing.
    void SetProjectData(const OV::PagedArray<LogDataLine>& lines);
    /// Copies them, which costs a step for each page.
    void GetProjectData(OV::PagedArray<LogDataLine>& out) const { out = *GetLines(); }
    /// As they are now, whatever happens to this object.
    [[nodiscard]] Lines GetLines() const { return GetState().lines; }
    /// The newest time that was ever set or read for the project, in seconds since 1970-01-01 UTC;
    /// 0 when there is none.
    [[nodiscard]] std::int32_t GetLastLogTime(const OV::UniString& projectId) const;
    /// The statistics of the server, replaced or copied whole.
    /// @{
    void SetPerformanceData(const PerformanceData& data);
    void GetPerformanceData(PerformanceData& out) const;
    /// @}

    /// Brings the folder to the state of this object. Files whose content would stay the same are
    /// left alone. A project file that another process wrote since this object read or wrote it
    /// keeps that process's lines, which are then this object's, too; statistics of a newer version
    /// stay. Each file is replaced as a whole, so that whoever reads it, and whatever happens to
    /// this process, finds the old content or the new one. Two that flush at once take turns.
    /// Throws the first BinCacheHandlerException after everything that can be written was; the lock
    /// marker "che.lck" then stays, and blocks nobody. OV::InterruptedException while it waits for
    /// another one.
    void FlushCacheData();

    /// Called while lines are read, with those of a part of a file, how many bytes have been read
    /// and how many there are; false ends the reading. The first call, of 0 bytes, shows lines from
    /// the beginning before anything is read whole; they come again. Any operation may be called
    /// from it.
    using Progress = std::function<bool(const OV::PagedArray<LogDataLine>& lines,
                                        std::uint64_t done, std::uint64_t total)>;
    /// Reads everything. A damaged file, and one that cannot be read on, gives the lines before
    /// that place; one that cannot be read at all is left out. Both failures are a warning in the
    /// log. Throws BinCacheHandlerException, OV::Exception for statistics of another version
    /// ("Invalid cache version."), OV::InterruptedException, and what `progress` throws; everything
    /// then stays as it was.
    void GetCacheData(const Progress& progress = {});
    /// The same without the statistics, whatever version they are of.
    void GetCacheLines(const Progress& progress = {});

    /// Where the files stand.
    [[nodiscard]] const IO::Location& GetFolder() const noexcept { return folder_; }

private:
    /// Each part is replaced, never changed: whoever took it reads it without the lock.
    struct State {
        Lines lines;
        /// What the project files held when they were read or written last.
        std::shared_ptr<const Detail::LogCacheLines::Files> files;
        /// The lines that `files` are of; null when the files may hold anything else.
        Lines keptLines;
        std::shared_ptr<const PerformanceData> statistics;
        /// The statistics that were read or written last.
        std::shared_ptr<const PerformanceData> keptStatistics;
    };

    [[nodiscard]] State GetState() const;
    void Load(const OV::Array<OV::UniString>& names, const Progress& progress,
              std::shared_ptr<const PerformanceData> statistics);
    /// `state` is what was written.
    void TakeWritten(const State& state, Detail::LogCacheLines::Written& written,
                     bool areStatisticsWritten);
    /// From the line `first` on.
    void NoteLastTimes(const OV::PagedArray<LogDataLine>& lines, std::size_t first)
        OV_REQUIRES(lock_);

    IO::Location folder_;
    mutable OV::Lock lock_;
    State state_ OV_GUARDED_BY(lock_);
    OV::HashTable<OV::UniString, std::int32_t> lastLogTimes_ OV_GUARDED_BY(lock_);
};

}  // namespace SYC
