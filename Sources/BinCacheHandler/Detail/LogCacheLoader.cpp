#include "BinCacheHandler/Detail/LogCacheFiles.hpp"
#include "BinCacheHandler/Detail/LogCacheLines.hpp"
#include "BinCacheHandler/Detail/RecordSource.hpp"
#include "IO/FileSource.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"

#include <deque>
#include <memory>
#include <optional>
#include <unordered_set>

namespace SYC::Detail::LogCacheLines {

namespace {

using Progress = BinCacheHandler::Progress;

constexpr std::size_t PartLines = 65'536;
/// Enough for the first screen of a list, however large it is.
constexpr std::size_t PreviewBytes = 128 * 1024;

/// Tells of each line whether it belongs to the file that it stands in.
class Ownership {
public:
    explicit Ownership(const OV::Array<OV::UniString>& names) : names_(names.begin(), names.end())
    {}

    void Enter(const OV::UniString& file)
    {
        file_ = &file;
        last_.clear();
    }
    [[nodiscard]] bool IsOwn(OV::StringView projectId)
    {
        if (projectId.empty())
            return false;
        if (projectId != last_) {
            last_ = projectId;
            const auto own = OV::FromUtf8(projectId).append(LogCacheFiles::Extension);
            const bool isHere = own == *file_;
            isLastOwn_ = isHere || !names_.contains(own);
            hasAdopted_ = hasAdopted_ || (isLastOwn_ && !isHere);
        }
        return isLastOwn_;
    }
    /// Whether there was a line that belongs to a file that is not there.
    [[nodiscard]] bool HasAdopted() const noexcept { return hasAdopted_; }

private:
    std::unordered_set<OV::UniString> names_;
    const OV::UniString* file_ = nullptr;
    OV::String last_;
    bool isLastOwn_ = false;
    bool hasAdopted_ = false;
};

/// What `read` gives; nothing for a file that cannot be read, which costs itself alone.
template <class Read>
auto TryToRead(Read&& read) -> std::optional<decltype(read())>
{
    try {
        return read();
    } catch (const IO::IOException& failure) {
        OV::Logger::Warning(
            OV::Logger::Library,
            u"A file of a log cache is left out; make it readable or move it away: %",
            {failure.GetMessage()});
        return std::nullopt;
    }
}

/// Reads the lines of files part by part.
class Loader {
public:
    Loader(const OV::Array<OV::UniString>& names, const Progress& progress, std::uint64_t total)
        : ownership_(names), progress_(progress), total_(total)
    {}

    /// Shows the lines of the beginning of a file; they come again.
    void Preview(const OV::UniString& name, OV::StringView bytes)
    {
        ownership_.Enter(name);
        LogBlockWriter writer(bytes.size());
        for (const auto& [record, bytesOfRecord] : LogRecords(bytes))
            (void)Take(record, writer);
        Tell(part_, 0);
        part_.clear();
    }
    /// Returns the number of its lines, and nothing when it cannot be read to its end; what was
    /// read counts, as it does before damage.
    [[nodiscard]] std::optional<std::size_t> Load(const OV::UniString& name, IO::FileSource& source)
    {
        ownership_.Enter(name);
        const std::uint64_t size = source.GetStamp().size;
        LogBlockWriter writer(static_cast<std::size_t>(size));
        const std::size_t before = lines_.size();
        std::uint64_t read = 0, own = 0;
        bool isRead = true;
        TakeRecords(
            [&](char* to, std::size_t most) {
                const auto count = TryToRead([&] { return source.Read(to, most); });
                isRead = isRead && count;
                return count.value_or(0);
            },
            [&](const LogRecord& record, OV::StringView bytes) {
                read += bytes.size();
                if (!Take(record, writer))
                    return;
                own += bytes.size();
                if (part_.size() >= PartLines)
                    FinishPart(std::min(read, size));
            });
        isEachByteTaken_ = isEachByteTaken_ && own == size;
        FinishPart(size);
        done_ += size;
        return isRead ? std::optional(lines_.size() - before) : std::nullopt;
    }
    [[nodiscard]] Lines TakeLines() { return std::move(lines_); }
    [[nodiscard]] bool IsAllOfFiles() const noexcept
    {
        return isEachByteTaken_ && !ownership_.HasAdopted();
    }

private:
    /// Whether it is one of the file's own lines, which it then is.
    bool Take(const LogRecord& record, LogBlockWriter& writer)
    {
        if (!ownership_.IsOwn(record.projectId))
            return false;
        part_.emplace_back(writer.Add(record), record);
        return true;
    }
    void Tell(const Lines& part, std::uint64_t done)
    {
        if (progress_)
            OV::AssertNoLockHeld("progress of the log cache");
        if (OV::Thread::IsInterrupted() || (progress_ && !progress_(part, done, total_)))
            throw OV::InterruptedException();
    }
    void FinishPart(std::uint64_t doneOfFile)
    {
        Tell(part_, done_ + doneOfFile);
        lines_.append(std::move(part_));
    }

    Ownership ownership_;
    const Progress& progress_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    bool isEachByteTaken_ = true;
    Lines part_;
    Lines lines_;
};

struct ProjectFile {
    OV::UniString name;
    IO::Location place;
    std::uint64_t size;
};

/// Those that can be looked at.
std::deque<ProjectFile> ProjectFiles(const IO::Location& folder,
                                     const OV::Array<OV::UniString>& names)
{
    std::deque<ProjectFile> files;
    for (const auto& name : names) {
        if (name == LogCacheFiles::StatisticsName || !name.ends_with(LogCacheFiles::Extension))
            continue;
        const auto place =
            LogCacheFiles::Form(folder, name, "Failed to  to create project cache file location.");
        const auto stamp = TryToRead([&] { return IO::File::GetChangeStamp(place); });
        if (!stamp)
            continue;
        const std::uint64_t size = *stamp ? (*stamp)->size : 0;
        files.push_back({name, place, size > IO::File::MostOfLogFile ? 0 : size});
    }
    return files;
}

}  // namespace

Loaded Load(const IO::Location& folder, const OV::Array<OV::UniString>& names,
            const Progress& progress)
{
    auto files = ProjectFiles(folder, names);
    std::uint64_t total = 0;
    for (const ProjectFile& file : files)
        total += file.size;
    Loader loader(names, progress, total);
    for (bool isShown = !progress; !isShown && !files.empty();) {
        const ProjectFile& first = files.front();
        auto bytes = TryToRead([&] { return IO::File::ReadBeginning(first.place, PreviewBytes); });
        isShown = bytes.has_value();
        if (isShown)
            loader.Preview(first.name, *bytes);
        else
            files.pop_front();
    }
    Files known;
    for (const ProjectFile& file : files) {
        const auto source = TryToRead(
            [&] { return std::make_unique<IO::FileSource>(file.place, IO::File::MostOfLogFile); });
        const auto lines = source ? loader.Load(file.name, **source) : std::nullopt;
        if (lines)
            known.byName.insert_or_assign(file.name,
                                          KnownFile{(*source)->GetStamp(), *lines, true});
    }
    return {loader.TakeLines(), std::move(known), loader.IsAllOfFiles()};
}

}  // namespace SYC::Detail::LogCacheLines
