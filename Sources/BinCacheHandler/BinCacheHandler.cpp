#include "BinCacheHandler/BinCacheHandler.hpp"

#include "IO/File.hpp"
#include "IO/Folder.hpp"
#include "IO/IOException.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "OVRoot/Thread.hpp"

#include <algorithm>
#include <unordered_map>

namespace SYC {

namespace {

constexpr OV::UniStringView Extension = u".che";
constexpr OV::UniStringView PerformanceName = u"performance.che";
constexpr OV::UniStringView LockName = u"che.lck";
constexpr std::uint32_t LockWaitMilliseconds = 50;
constexpr std::size_t PartLines = 65'536;
/// Enough for the first screen of a list, however large it is.
constexpr std::size_t PreviewBytes = 128 * 1024;

/// The place `name` in `folder`; throws `message` when it would be none, or another than that.
IO::Location Form(const IO::Location& folder, const OV::UniString& name, OV::StringView message,
                  OV::SourcePlace place = OV::SourcePlace::Here())
{
    const IO::Location location = folder.Appended(name);
    if (name == u"." || name == u".." || !location.IsLegal())
        throw BinCacheHandlerException(message, place);
    return location;
}

/// Runs `step`; its failures become `message`.
template <class Step>
auto Try(OV::StringView message, Step&& step, OV::SourcePlace place = OV::SourcePlace::Here())
{
    try {
        return step();
    } catch (const IO::IOException& cause) {
        throw BinCacheHandlerException(message, place, cause.Clone());
    }
}

OV::Array<OV::UniString> FileNames(const IO::Location& folder)
{
    if (!Try("Failed to get main folder.", [&] { return IO::Folder::Exists(folder); }))
        throw BinCacheHandlerException(OV::StringView("Failed to get main folder."));
    OV::Array<OV::UniString> names;
    Try("Failed to get project file names.", [&] {
        IO::Folder::Enumerate(folder, [&](const IO::Folder::Entry& entry) {
            if (!entry.isFolder)
                names.push_back(entry.name);
            return true;
        });
    });
    std::sort(names.begin(), names.end());
    return names;
}

/// Another process may be flushing; it does not hold the marker for ever, and not at all when it
/// is gone.
IO::ExclusiveFile HoldMarker(const IO::Location& folder)
{
    constexpr OV::StringView message = "Failed to  to create cache lock file location.";
    const auto location = Form(folder, OV::UniString(LockName), message);
    for (;;) {
        if (auto held = Try(message, [&] { return IO::ExclusiveFile::TryOpen(location); }))
            return std::move(*held);
        OV::Thread::Sleep(LockWaitMilliseconds);
    }
}

/// The records of each project, in the order of the lines.
std::unordered_map<OV::StringView, OV::String>
RecordsByProject(const OV::PagedArray<LogDataLine>& lines)
{
    std::unordered_map<OV::StringView, OV::String> records;
    auto current = records.end();
    for (const LogDataLine& line : lines) {
        const OV::StringView project = line.Record().projectId;
        if (project.empty())
            throw BinCacheHandlerException(OV::StringView("Project id is empty"));
        if (current == records.end() || current->first != project)
            current = records.try_emplace(project).first;
        line.AppendRecord(current->second);
    }
    return records;
}

/// Shows the lines of the beginning of a file.
void Preview(OV::String bytes, const BinCacheHandler::Progress& progress, std::uint64_t total)
{
    const auto block = std::make_shared<const OV::String>(std::move(bytes));
    OV::StringView rest = *block;
    OV::PagedArray<LogDataLine> lines;
    LogRecord record;
    while (const std::size_t length = record.Parse(rest)) {
        lines.emplace_back(block, rest.data(), record);
        rest.remove_prefix(length);
    }
    if (!progress(lines, 0, total))
        throw OV::InterruptedException();
}

/// Reads the lines of files part by part.
class Loader {
public:
    Loader(const BinCacheHandler::Progress& progress, std::uint64_t total)
        : progress_(progress), total_(total)
    {}

    void Load(OV::String bytes)
    {
        const auto block = std::make_shared<const OV::String>(std::move(bytes));
        OV::StringView rest = *block;
        LogRecord record;
        while (const std::size_t length = record.Parse(rest)) {
            part_.emplace_back(block, rest.data(), record);
            rest.remove_prefix(length);
            if (part_.size() >= PartLines)
                FinishPart(block->size() - rest.size());
        }
        FinishPart(block->size());
        done_ += block->size();
    }
    [[nodiscard]] OV::PagedArray<LogDataLine> TakeLines() { return std::move(lines_); }

private:
    void FinishPart(std::uint64_t doneOfFile)
    {
        if (OV::Thread::IsInterrupted() ||
            (progress_ && !progress_(part_, done_ + doneOfFile, total_)))
            throw OV::InterruptedException();
        if (lines_.empty())
            lines_.swap(part_);
        else
            lines_.insert(lines_.end(), std::make_move_iterator(part_.begin()),
                          std::make_move_iterator(part_.end()));
        part_.clear();
    }

    const BinCacheHandler::Progress& progress_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    OV::PagedArray<LogDataLine> part_;
    OV::PagedArray<LogDataLine> lines_;
};

}  // namespace

BinCacheHandler::BinCacheHandler(const OV::UniString& name)
{
    constexpr OV::StringView message =
        "Failed to start cache handler: failed to create folder location.";
    IO::Location location = IO::GetSpecialFolder(IO::SpecialFolder::ApplicationData);
    for (const auto& level : {OV::UniString(u"Orvant"), OV::UniString(u"ServerManagerCache"), name})
        location = Form(location, level, message);
    Try("Failed to to create main folder.", [&] { IO::Folder::CreateTree(location); });
    folder_ = location;
}

void BinCacheHandler::SetProjectData(const OV::PagedArray<LogDataLine>& lines)
{
    const OV::LockGuard guard(lock_);
    projectData_ = lines;
    NoteLastTimes(projectData_);
}

void BinCacheHandler::NoteLastTimes(const OV::PagedArray<LogDataLine>& lines)
{
    OV::UniString current;
    std::int32_t* newest = nullptr;
    OV::StringView currentBytes;
    for (const LogDataLine& line : lines) {
        const OV::StringView project = line.Record().projectId;
        if (newest == nullptr || project != currentBytes) {
            currentBytes = project;
            newest =
                &lastLogTimes_.try_emplace(OV::FromUtf8(project), line.GetTimeVal()).first->second;
        }
        *newest = std::max(*newest, line.GetTimeVal());
    }
}

void BinCacheHandler::GetProjectData(OV::PagedArray<LogDataLine>& out) const
{
    const OV::LockGuard guard(lock_);
    out = projectData_;
}

std::int32_t BinCacheHandler::GetLastLogTime(const OV::UniString& projectId) const
{
    const OV::LockGuard guard(lock_);
    const auto found = lastLogTimes_.find(projectId);
    return found == lastLogTimes_.end() ? 0 : found->second;
}

void BinCacheHandler::SetPerformanceData(const PerformanceData& data)
{
    const OV::LockGuard guard(lock_);
    performanceData_ = data;
}

void BinCacheHandler::GetPerformanceData(PerformanceData& out) const
{
    const OV::LockGuard guard(lock_);
    out = performanceData_;
}

void BinCacheHandler::FlushCacheData() const
{
    const OV::LockGuard guard(lock_);
    (void)FileNames(folder_);
    IO::ExclusiveFile marker = HoldMarker(folder_);
    WriteAll();
    marker.DeleteAndClose();
}

void BinCacheHandler::WriteAll() const
{
    const auto performance =
        Form(folder_, OV::UniString(PerformanceName),
             "Failed to create performance cache: failed to create performance cache file "
             "location.");
    OV::MemoryOChannel channel;
    (void)performanceData_.Write(channel);  // memory takes everything
    Try("Failed to create performance cache: failed to create performance cache channel.",
        [&] { IO::File::Replace(performance, channel.Bytes()); });
    for (const auto& entry : RecordsByProject(projectData_)) {
        constexpr OV::StringView message = "Failed to  to create project cache file location.";
        const auto name = OV::FromUtf8(entry.first) + OV::UniString(Extension);
        if (name == PerformanceName)
            throw BinCacheHandlerException(message);
        const auto location = Form(folder_, name, message);
        Try("Failed to create project cache: failed to create project cache channel.",
            [&] { IO::File::Replace(location, entry.second); });
    }
}

void BinCacheHandler::ReadPerformanceData()
{
    const auto location = Form(folder_, OV::UniString(PerformanceName),
                               "Failed to  to create performance cache file location.");
    const OV::String bytes = Try("Failed to  to create performance cache file location.", [&] {
        return IO::File::ReadAll(location, IO::File::MostOfLogFile);
    });
    OV::MemoryIChannel channel(bytes);
    (void)performanceData_.Read(channel);  // what is there of a damaged one counts
}

void BinCacheHandler::GetCacheData(const Progress& progress)
{
    const OV::LockGuard guard(lock_);
    auto names = FileNames(folder_);
    if (std::erase(names, PerformanceName) > 0)
        ReadPerformanceData();
    std::erase_if(names, [](const OV::UniString& name) { return !name.ends_with(Extension); });
    constexpr OV::StringView message = "Failed to  to create project cache file location.";
    OV::Array<IO::Location> files;
    std::uint64_t total = 0;
    for (const auto& name : names) {
        files.push_back(Form(folder_, name, message));
        if (const auto stamp = Try(message, [&] { return IO::File::GetChangeStamp(files.back()); }))
            total += stamp->size;
    }
    if (progress && !files.empty())
        Preview(Try(message, [&] { return IO::File::ReadBeginning(files.front(), PreviewBytes); }),
                progress, total);
    Loader loader(progress, total);
    for (const auto& file : files)
        loader.Load(Try(message, [&] { return IO::File::ReadAll(file, IO::File::MostOfLogFile); }));
    projectData_ = loader.TakeLines();
    NoteLastTimes(projectData_);
}

}  // namespace SYC
