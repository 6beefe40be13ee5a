#pragma once

#include "BinCacheHandler/BinCacheHandlerException.hpp"
#include "IO/ExclusiveFile.hpp"
#include "IO/Location.hpp"
#include "LogDataLine.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/Lock.hpp"
#include "PerformanceData.hpp"

#include <functional>

namespace SYC {

/// What has been fetched of a server's activity log and statistics, in memory and in a folder of
/// files: "performance.che", and a file for each project, named by its id. Every operation holds
/// one lock, so any thread may call and sees the state before or after another one.
class BinCacheHandler {
public:
    /// `name` stands for the server and becomes a folder, which is created. Throws
    /// BinCacheHandlerException.
    explicit BinCacheHandler(const OV::UniString& name);

    /// Replaces the lines.
    void SetProjectData(const OV::PagedArray<LogDataLine>& lines);
    void GetProjectData(OV::PagedArray<LogDataLine>& out) const;
    /// The newest time that was ever set or read for the project, in seconds since 1970-01-01 UTC;
    /// 0 when there is none.
    [[nodiscard]] std::int32_t GetLastLogTime(const OV::UniString& projectId) const;
    void SetPerformanceData(const PerformanceData& data);
    void GetPerformanceData(PerformanceData& out) const;

    /// Writes everything. Each file is replaced as a whole, so that whoever reads it, and whatever
    /// happens to this process, finds the old content or the new one. Two that flush at once take
    /// turns. Throws BinCacheHandlerException; the lock marker "che.lck" then stays, and blocks
    /// nobody. OV::InterruptedException while it waits for another one.
    void FlushCacheData() const;

    /// Called while lines are read, with those of a part of a file, how many bytes have been read
    /// and how many there are; false ends the reading. The first call, of 0 bytes, shows lines from
    /// the beginning before anything is read whole; they come again.
    using Progress = std::function<bool(const OV::PagedArray<LogDataLine>& lines,
                                        std::uint64_t done, std::uint64_t total)>;
    /// Reads everything. A damaged file gives the lines before the damage. Throws
    /// BinCacheHandlerException, OV::Exception for statistics of another version ("Invalid cache
    /// version."); the lines then stay as they were.
    void GetCacheData(const Progress& progress = {});

    [[nodiscard]] const IO::Location& GetFolder() const noexcept { return folder_; }

private:
    void NoteLastTimes(const OV::PagedArray<LogDataLine>& lines) OV_REQUIRES(lock_);
    void WriteAll() const OV_REQUIRES(lock_);
    void ReadPerformanceData() OV_REQUIRES(lock_);

    IO::Location folder_;
    mutable OV::Lock lock_;
    PerformanceData performanceData_ OV_GUARDED_BY(lock_);
    OV::PagedArray<LogDataLine> projectData_ OV_GUARDED_BY(lock_);
    OV::HashTable<OV::UniString, std::int32_t> lastLogTimes_ OV_GUARDED_BY(lock_);
};

}  // namespace SYC
