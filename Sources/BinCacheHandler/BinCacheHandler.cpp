#include "BinCacheHandler/BinCacheHandler.hpp"

#include "BinCacheHandler/Detail/LogCacheFiles.hpp"
#include "BinCacheHandler/Detail/LogCacheLines.hpp"

#include <algorithm>

namespace SYC {

namespace LogCacheFiles = Detail::LogCacheFiles;
namespace LogCacheLines = Detail::LogCacheLines;

BinCacheHandler::BinCacheHandler(const OV::UniString& name)
    : folder_(LogCacheFiles::MakeFolder(name)), state_{
                                                    std::make_shared<const Lines>(),
                                                    std::make_shared<const LogCacheLines::Files>(),
                                                    std::make_shared<const PerformanceData>(),
                                                    nullptr}
{
    state_.keptStatistics = state_.statistics;
}

BinCacheHandler::State BinCacheHandler::GetState() const
{
    const OV::LockGuard guard(lock_);
    return state_;
}

void BinCacheHandler::SetProjectData(const Lines& lines)
{
    // A copy, not an assignment: lines that are assigned keep the version of their place.
    auto copy = std::make_shared<const Lines>(lines);
    const OV::LockGuard guard(lock_);
    NoteLastTimes(*copy);
    state_.lines.swap(copy);
}

void BinCacheHandler::NoteLastTimes(const Lines& lines)
{
    std::int32_t* newest = nullptr;
    OV::StringView current;
    for (const LogDataLine& line : lines) {
        const OV::StringView project = line.Record().projectId;
        if (newest == nullptr || project != current) {
            current = project;
            newest =
                &lastLogTimes_.try_emplace(OV::FromUtf8(project), line.GetTimeVal()).first->second;
        }
        *newest = std::max(*newest, line.GetTimeVal());
    }
}

void BinCacheHandler::GetProjectData(Lines& out) const
{
    Lines copy(*GetState().lines);
    out.swap(copy);
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
    auto written = LogCacheLines::Write(folder_, *state.lines, *state.files);
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
    std::shared_ptr<const Lines> lines = state.lines;
    if (!written.found.empty()) {
        Lines all(*state.lines);
        all.insert(all.end(), written.found.begin(), written.found.end());
        lines = std::make_shared<const Lines>(std::move(all));
    }
    auto files = std::make_shared<const LogCacheLines::Files>(std::move(written.files));
    const OV::LockGuard guard(lock_);
    if (areStatisticsWritten)
        state_.keptStatistics = state.statistics;
    // Whoever set or read lines meanwhile knows nothing of those that were found. What is known of
    // the files stays as it was then, so that the next flush finds them again.
    const bool isSame = state_.lines == state.lines;
    if (state_.files != state.files || (!isSame && !written.found.empty()))
        return;
    state_.files.swap(files);
    if (!isSame)
        return;
    NoteLastTimes(written.found);
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
    auto lines = std::make_shared<const Lines>(std::move(loaded.lines));
    auto files = std::make_shared<const LogCacheLines::Files>(std::move(loaded.files));
    const OV::LockGuard guard(lock_);
    NoteLastTimes(*lines);
    state_.lines.swap(lines);
    state_.files.swap(files);
    if (statistics)
        state_.statistics = state_.keptStatistics = std::move(statistics);
}

}  // namespace SYC
