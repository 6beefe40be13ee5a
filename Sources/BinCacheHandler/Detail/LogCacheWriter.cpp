#include "BinCacheHandler/Detail/LogCacheFiles.hpp"
#include "BinCacheHandler/Detail/LogCacheLines.hpp"
#include "BinCacheHandler/Detail/RecordSource.hpp"
#include "IO/FileReplacement.hpp"
#include "IO/FileSource.hpp"
#include "LogLine/Detail/KnownRecords.hpp"

#include <algorithm>
#include <limits>

namespace SYC::Detail::LogCacheLines {

namespace {

/// Lines that stand one behind the other.
struct Stretch {
    std::size_t first;
    std::size_t end;
};
/// The lines of a project, in their order.
struct Project {
    OV::UniString id;
    OV::Array<Stretch> stretches;
    std::size_t lines = 0;
};

/// The ids of projects whose files may not hold their lines.
OV::HashSet<OV::UniString> ChangedProjects(const IO::Location& folder, const Lines& lines,
                                           const Lines& kept, const Files& files)
{
    OV::HashSet<OV::UniString> changed;
    OV::StringView last;
    const auto add = [&](const LogDataLine& line) {
        if (const OV::StringView id = line.ProjectId(); id != last || changed.empty())
            changed.insert(OV::FromUtf8(last = id));
    };
    for (std::size_t at = lines.CountShared(kept); at < std::max(lines.size(), kept.size()); ++at) {
        const LogDataLine* const line = at < lines.size() ? &lines[at] : nullptr;
        const LogDataLine* const former = at < kept.size() ? &kept[at] : nullptr;
        // A page of which one array got another line is copied; its other lines are the same.
        if (line != nullptr && former != nullptr && line->Record() == former->Record())
            continue;
        for (const LogDataLine* each : {line, former})
            if (each != nullptr)
                add(*each);
    }
    for (const auto& [name, file] : files.byName)
        try {
            if (!IO::File::GetChangeStamp(folder.Appended(name)))
                changed.insert(name.substr(0, name.size() - LogCacheFiles::Extension.size()));
        } catch (const IO::IOException&) {
            // Writing it tells what is wrong.
            changed.insert(name.substr(0, name.size() - LogCacheFiles::Extension.size()));
        }
    return changed;
}

/// Those among `wanted`, or all when it is null, in the order in which they appear. Lines without a
/// project become `failure`.
OV::Array<Project> SortByProject(const Lines& lines, const OV::HashSet<OV::UniString>* wanted,
                                 std::exception_ptr& failure)
{
    constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();
    OV::Array<Project> projects;
    OV::HashTable<OV::UniString, std::size_t> places;
    OV::StringView last;
    std::size_t place = nowhere;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        const OV::StringView id = lines[at].ProjectId();
        if (id.empty()) {
            if (!failure)
                failure = std::make_exception_ptr(BinCacheHandlerException("Project id is empty"));
            continue;
        }
        // By the text, not by its bytes: malformed ones may spell one text, hence one file.
        if (id != last) {
            last = id;
            const auto [known, isNew] = places.try_emplace(OV::FromUtf8(id), nowhere);
            if (isNew && (wanted == nullptr || wanted->contains(known->first))) {
                known->second = projects.size();
                projects.push_back({known->first, {}, 0});
            }
            place = known->second;
        }
        if (place == nowhere)
            continue;
        auto& stretches = projects[place].stretches;
        if (stretches.empty() || stretches.back().end != at)
            stretches.push_back({at, at});
        ++stretches.back().end;
        ++projects[place].lines;
    }
    return projects;
}

/// Tells the records of the lines to `take`, many at a time; false as soon as that says so.
template <class Take>
bool TakePieces(const Lines& lines, const Project& project, Take&& take)
{
    constexpr std::size_t usualBytes = std::size_t{1} << 20;
    OV::String records;
    for (const auto& [first, end] : project.stretches)
        for (std::size_t at = first; at < end; ++at) {
            lines[at].AppendRecord(records);
            if (records.size() < usualBytes)
                continue;
            if (!take(OV::StringView(records)))
                return false;
            records.clear();
        }
    return take(OV::StringView(records));
}

/// Whether the file holds the project's lines and nothing else. Who has the same lines in other
/// objects asks for it; a file of another size is not read.
bool Holds(const IO::Location& file, const IO::ChangeStamp& stamp, const Lines& lines,
           const Project& project)
{
    std::uint64_t size = 0;
    for (const auto& [first, end] : project.stretches)
        for (std::size_t at = first; at < end; ++at)
            size += lines[at].Record().Size();
    if (size != stamp.size)
        return false;
    IO::FileSource source(file, IO::File::MostOfLogFile);
    OV::String bytes;
    return TakePieces(lines, project, [&](OV::StringView piece) {
        bytes.resize(piece.size());
        return source.Read(bytes.data(), bytes.size()) == piece.size() && bytes == piece;
    });
}

/// The lines that the file of another process has beyond those of the project.
Lines FindOthers(const IO::Location& file, const Lines& lines, const Project& project)
{
    KnownRecords known;
    for (const auto& [first, end] : project.stretches)
        for (std::size_t at = first; at < end; ++at)
            known.Add(lines[at].Record());
    IO::FileSource source(file, IO::File::MostOfLogFile);
    LogBlockWriter writer;
    Lines found;
    TakeRecords([&](char* to, std::size_t most) { return source.Read(to, most); },
                [&](const LogRecord& record, OV::StringView) {
                    if (!record.projectId.empty() && !known.Take(record))
                        found.emplace_back(writer.Add(record), record);
                });
    return found;
}

IO::ChangeStamp Replace(const IO::Location& file, const Lines& lines, const Project& project,
                        const Lines& others)
{
    IO::FileReplacement replacement(file);
    const auto write = [&](OV::StringView piece) {
        replacement.Write(piece);
        return true;
    };
    (void)TakePieces(lines, project, write);
    (void)TakePieces(others, {{}, {{0, others.size()}}, others.size()}, write);
    return replacement.Commit();
}

void WriteProject(const IO::Location& folder, const Lines& lines, const Project& project,
                  Written& written)
{
    constexpr OV::StringView message = "Failed to  to create project cache file location.";
    const auto name = project.id + OV::UniString(LogCacheFiles::Extension);
    if (name == LogCacheFiles::StatisticsName)
        throw BinCacheHandlerException(message);
    const auto file = LogCacheFiles::Form(folder, name, message);
    auto& files = written.files.byName;
    const auto known = files.find(name);
    LogCacheFiles::Try(
        "Failed to create project cache: failed to create project cache channel.", [&] {
            const auto stamp = IO::File::GetChangeStamp(file);
            const bool isAsKnown = stamp && known != files.end() && known->second.stamp == *stamp;
            if (isAsKnown && known->second.lines == project.lines &&
                Holds(file, *stamp, lines, project))
                return;
            const Lines others = stamp && !isAsKnown ? FindOthers(file, lines, project) : Lines();
            files.insert_or_assign(name, KnownFile{Replace(file, lines, project, others),
                                                   project.lines + others.size()});
            written.found.append(others.cbegin(), others.cend());
        });
}

}  // namespace

Written Write(const IO::Location& folder, const Lines& lines, const Lines* kept, const Files& files)
{
    Written written{files, {}, nullptr};
    OV::HashSet<OV::UniString> changed;
    if (kept != nullptr) {
        changed = ChangedProjects(folder, lines, *kept, files);
        if (changed.empty())
            return written;
    }
    for (const auto& project :
         SortByProject(lines, kept == nullptr ? nullptr : &changed, written.failure))
        try {
            WriteProject(folder, lines, project, written);
        } catch (const BinCacheHandlerException&) {
            if (!written.failure)
                written.failure = std::current_exception();
        }
    return written;
}

}  // namespace SYC::Detail::LogCacheLines
