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

/// The id of the project whose file has that name.
OV::UniString ProjectOf(const OV::UniString& name)
{
    return name.substr(0, name.size() - LogCacheFiles::Extension.size());
}

struct Changes {
    /// The ids of projects whose files may not hold their lines.
    OV::HashSet<OV::UniString> projects;
    /// Whether nothing happened to the lines that were kept but that others follow them.
    bool areLinesAdded = true;
};

Changes FindChanges(const IO::Location& folder, const Lines& lines, const Lines& kept,
                    const Files& files)
{
    Changes changes;
    auto& changed = changes.projects;
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
        changes.areLinesAdded = changes.areLinesAdded && former == nullptr;
        for (const LogDataLine* each : {line, former})
            if (each != nullptr)
                add(*each);
    }
    for (const auto& [name, file] : files.byName)
        try {
            if (!IO::File::GetChangeStamp(folder.Appended(name)))
                changed.insert(ProjectOf(name));
        } catch (const IO::IOException&) {
            // Writing it tells what is wrong.
            changed.insert(ProjectOf(name));
        }
    return changes;
}

/// Those among `wanted`, or all when it is null, in the order in which they appear, with their
/// lines from `first` on. Lines without a project become `failure`.
OV::Array<Project> SortByProject(const Lines& lines, std::size_t first,
                                 const OV::HashSet<OV::UniString>* wanted,
                                 std::exception_ptr& failure)
{
    constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();
    OV::Array<Project> projects;
    OV::HashTable<OV::UniString, std::size_t> places;
    OV::StringView last;
    std::size_t place = nowhere;
    for (std::size_t at = first; at < lines.size(); ++at) {
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

/// False when the file ends before the size that it had when it was opened.
bool Copy(IO::FileSource& source, IO::FileReplacement& replacement)
{
    constexpr std::size_t mostOfPiece = std::size_t{128} << 10;
    OV::String piece(mostOfPiece, '\0');
    for (std::uint64_t left = source.GetStamp().size; left > 0; left -= piece.size()) {
        piece.resize(std::min<std::uint64_t>(left, mostOfPiece));
        if (source.Read(piece.data(), piece.size()) < piece.size())
            return false;
        replacement.Write(piece);
    }
    return true;
}

/// Writes the file of a project to which lines were added: behind what it holds, whose copy takes
/// less time than making those records anew. False, and nothing is done, unless it is as it was
/// read or written last and holds the other lines of the project.
bool Extend(const IO::Location& folder, const Lines& lines, const Project& added, Files& files)
{
    const auto name = added.id + OV::UniString(LogCacheFiles::Extension);
    const auto known = files.byName.find(name);
    if (known == files.byName.end() || !known->second.isOfLines)
        return false;
    try {
        const auto file = folder.Appended(name);
        IO::FileSource source(file, IO::File::MostOfLogFile);
        if (source.GetStamp() != known->second.stamp)
            return false;
        IO::FileReplacement replacement(file);
        if (!Copy(source, replacement))
            return false;
        (void)TakePieces(lines, added, [&](OV::StringView piece) {
            replacement.Write(piece);
            return true;
        });
        known->second.stamp = replacement.Commit();
        known->second.lines += added.lines;
        return true;
    } catch (const IO::IOException&) {
        return false;  // writing it anew tells what is wrong, if that fails too
    }
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
                Holds(file, *stamp, lines, project)) {
                known->second.isOfLines = true;
                return;
            }
            const Lines others = stamp && !isAsKnown ? FindOthers(file, lines, project) : Lines();
            files.insert_or_assign(name, KnownFile{Replace(file, lines, project, others),
                                                   project.lines + others.size(), true});
            written.found.append(others.cbegin(), others.cend());
        });
}

}  // namespace

Written Write(const IO::Location& folder, const Lines& lines, const Lines* kept, const Files& files)
{
    Written written{files, {}, nullptr};
    Changes changes;
    if (kept != nullptr) {
        changes = FindChanges(folder, lines, *kept, files);
        if (changes.areLinesAdded)
            for (const auto& added :
                 SortByProject(lines, kept->size(), &changes.projects, written.failure))
                if (Extend(folder, lines, added, written.files))
                    changes.projects.erase(added.id);
        if (changes.projects.empty())
            return written;
    }
    const auto* const wanted = kept == nullptr ? nullptr : &changes.projects;
    // Those that are written say otherwise; of the lines of the others none are left.
    for (auto& [name, file] : written.files.byName)
        if (wanted == nullptr || wanted->contains(ProjectOf(name)))
            file.isOfLines = false;
    for (const auto& project : SortByProject(lines, 0, wanted, written.failure))
        try {
            WriteProject(folder, lines, project, written);
        } catch (const BinCacheHandlerException&) {
            if (!written.failure)
                written.failure = std::current_exception();
        }
    return written;
}

}  // namespace SYC::Detail::LogCacheLines
