#include "BinCacheHandler/Detail/LogCacheFiles.hpp"
#include "BinCacheHandler/Detail/LogCacheLines.hpp"
#include "LogLine/Detail/LogRecords.hpp"
#include "OVRoot/HeldLocks.hpp"
#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"

#include <deque>
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
        last_ = {};
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
    OV::StringView last_;
    bool isLastOwn_ = false;
    bool hasAdopted_ = false;
};

/// Reads the lines of files part by part.
class Loader {
public:
    Loader(const OV::Array<OV::UniString>& names, const Progress& progress, std::uint64_t total)
        : ownership_(names), progress_(progress), total_(total)
    {}

    /// Shows the lines of the beginning of a file; they come again.
    void Preview(const OV::UniString& name, OV::String bytes)
    {
        (void)Take(name, std::move(bytes), [](std::uint64_t) {});
        Tell(part_, 0);
        part_.clear();
    }
    void Load(const OV::UniString& name, OV::String bytes)
    {
        const std::uint64_t size = bytes.size();
        const std::uint64_t taken = Take(name, std::move(bytes), [&](std::uint64_t done) {
            if (part_.size() >= PartLines)
                FinishPart(done);
        });
        isEachByteTaken_ = isEachByteTaken_ && taken == size;
        FinishPart(size);
        done_ += size;
    }
    [[nodiscard]] Lines TakeLines() { return std::move(lines_); }
    [[nodiscard]] bool IsAllOfFiles() const noexcept
    {
        return isEachByteTaken_ && !ownership_.HasAdopted();
    }

private:
    /// Returns how many bytes the lines have that were taken.
    template <class Done>
    std::uint64_t Take(const OV::UniString& name, OV::String bytes, Done&& done)
    {
        ownership_.Enter(name);
        const auto block = std::make_shared<const OV::String>(std::move(bytes));
        std::uint64_t taken = 0;
        for (const auto& [record, bytesOfRecord] : LogRecords(*block)) {
            if (!ownership_.IsOwn(record.projectId))
                continue;
            part_.emplace_back(block, bytesOfRecord.data(), record);
            taken += bytesOfRecord.size();
            done(static_cast<std::uint64_t>(bytesOfRecord.data() - block->data()));
        }
        return taken;
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
        if (lines_.empty())
            lines_.swap(part_);
        else
            lines_.append(std::make_move_iterator(part_.begin()),
                          std::make_move_iterator(part_.end()));
        part_.clear();
    }

    Ownership ownership_;
    const Progress& progress_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    bool isEachByteTaken_ = true;
    Lines part_;
    Lines lines_;
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
            loader.Preview(first.name, std::move(*bytes));
        else
            files.pop_front();
    }
    Files known;
    for (const ProjectFile& file : files) {
        auto content =
            TryToRead([&] { return IO::File::Read(file.place, IO::File::MostOfLogFile); });
        if (!content)
            continue;
        known.byName.insert_or_assign(file.name, KnownFile(content->stamp, content->bytes));
        loader.Load(file.name, std::move(content->bytes));
    }
    return {loader.TakeLines(), std::move(known), loader.IsAllOfFiles()};
}

}  // namespace SYC::Detail::LogCacheLines
