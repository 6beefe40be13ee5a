#include "BinCacheHandler/BinCacheHandler.hpp"

#include "BinCacheHandler/Detail/LogCacheFiles.hpp"
#include "BinCacheHandler/Detail/LogCacheLines.hpp"

#include <algorithm>

namespace SYC {

namespace LogCacheFiles = Detail::LogCacheFiles;
namespace LogCacheLines = Detail::LogCacheLines;

BinCacheHandler::BinCacheHandler(const OV::UniString& name)
    : folder_(LogCacheFiles::MakeFolder(name))
{
    state_.lines = std::make_shared<const LogCacheLines::Lines>();
    state_.files = std::make_shared<const LogCacheLines::Files>();
    state_.statistics = state_.keptStatistics = std::make_shared<const PerformanceData>();
}

BinCacheHandler::State BinCacheHandler::GetState() const
{
    const OV::LockGuard guard(lock_);
    return state_;
}

void BinCacheHandler::SetProjectData(const LogCacheLines::Lines& lines)
{
    auto copy = std::make_shared<const LogCacheLines::Lines>(lines);
    const OV::LockGuard guard(lock_);
    NoteLastTimes(*copy, copy->CountShared(*state_.lines));
    state_.lines.swap(copy);
}

void BinCacheHandler::NoteLastTimes(const LogCacheLines::Lines& lines, std::size_t first)
{
    std::int32_t* newest = nullptr;
    OV::StringView current;
    for (std::size_t at = first; at < lines.size(); ++at) {
        const LogDataLine& line = lines[at];
        const OV::StringView project = line.ProjectId();
        if (newest == nullptr || project != current) {
            current = project;
            newest =
                &lastLogTimes_.try_emplace(OV::FromUtf8(project), line.GetTimeVal()).first->second;
        }
        *newest = std::max(*newest, line.GetTimeVal());
    }
}

std::int32_t BinCacheHandler::GetLastLogTime(const OV::UniString& projectId) const
{
    const OV::LockGuard guard(lock_);
    const auto found = lastLogTimes_.find(projectId);
    return found == lastLogTimes_.end() ? 0 : found->second;
}

void BinCacheHandler::SetPerformanceData(const PerformanceData& data)
{
    auto copy = std::make_shared<const PerformanceData>(data);
    const OV::LockGuard guard(lock_);
    if (*state_.statistics != data)
        state_.statistics.swap(copy);
}

void BinCacheHandler::GetPerformanceData(PerformanceData& out) const
{
    out = *GetState().statistics;
}

void BinCacheHandler::FlushCacheData()
{
    (void)LogCacheFiles::Names(folder_);
    auto marker = LogCacheFiles::HoldMarker(folder_);
    const State state = GetState();
    std::exception_ptr failure;
    try {
        LogCacheFiles::WriteStatistics(folder_, *state.statistics,
                                       state.statistics != state.keptStatistics);
    } catch (const BinCacheHandlerException&) {
        failure = std::current_exception();
    }
    auto written = LogCacheLines::Write(folder_, *state.lines, state.keptLines.get(), *state.files);
    TakeWritten(state, written, failure == nullptr);
    if (!failure)
        failure = written.failure;
    if (failure)
        std::rethrow_exception(failure);
    LogCacheFiles::DeleteMarker(std::move(marker));
}

void BinCacheHandler::TakeWritten(const State& state, LogCacheLines::Written& written,
                                  bool areStatisticsWritten)
{
    Lines lines = state.lines;
    if (!written.found.empty()) {
        LogCacheLines::Lines all(*state.lines);
        all.append(written.found.cbegin(), written.found.cend());
        lines = std::make_shared<const LogCacheLines::Lines>(std::move(all));
    }
    auto files = std::make_shared<const LogCacheLines::Files>(std::move(written.files));
    const OV::LockGuard guard(lock_);
    if (areStatisticsWritten)
        state_.keptStatistics = state.statistics;
    // Whoever set or read lines meanwhile knows nothing of those that were found. What is known of
    // the files stays as it was then, so that the next flush finds them again.
    const bool isSame = state_.lines == state.lines;
    if (state_.files != state.files || (!isSame && !written.found.empty())) {
        state_.keptLines.reset();
        return;
    }
    state_.files.swap(files);
    state_.keptLines = written.failure ? nullptr : lines;
    if (!isSame)
        return;
    NoteLastTimes(written.found, 0);
    state_.lines.swap(lines);
}

void BinCacheHandler::GetCacheData(const Progress& progress)
{
    const auto names = LogCacheFiles::Names(folder_);
    std::optional<PerformanceData> statistics;
    if (std::find(names.begin(), names.end(), LogCacheFiles::StatisticsName) != names.end())
        statistics = LogCacheFiles::ReadStatistics(folder_);
    Load(names, progress,
         statistics ? std::make_shared<const PerformanceData>(std::move(*statistics)) : nullptr);
}

void BinCacheHandler::GetCacheLines(const Progress& progress)
{
    Load(LogCacheFiles::Names(folder_), progress, nullptr);
}

void BinCacheHandler::Load(const OV::Array<OV::UniString>& names, const Progress& progress,
                           std::shared_ptr<const PerformanceData> statistics)
{
    auto loaded = LogCacheLines::Load(folder_, names, progress);
    Lines lines = std::make_shared<const LogCacheLines::Lines>(std::move(loaded.lines));
    auto files = std::make_shared<const LogCacheLines::Files>(std::move(loaded.files));
    const OV::LockGuard guard(lock_);
    NoteLastTimes(*lines, 0);
    state_.keptLines = loaded.isAllOfFiles ? lines : nullptr;
    state_.lines.swap(lines);
    state_.files.swap(files);
    if (statistics)
        state_.statistics = state_.keptStatistics = std::move(statistics);
}

}  // namespace SYC
