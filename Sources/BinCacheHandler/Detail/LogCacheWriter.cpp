#include "BinCacheHandler/Detail/LogCacheFiles.hpp"
#include "BinCacheHandler/Detail/LogCacheLines.hpp"
#include "LogLine/Detail/KnownRecords.hpp"
#include "LogLine/Detail/LogRecords.hpp"

#include <limits>
#include <optional>

namespace SYC::Detail::LogCacheLines {

namespace {

/// The lines of a project, in their order.
struct Project {
    OV::UniString id;
    OV::Array<const LogDataLine*> lines;
};

/// The ids of projects whose files may not hold their lines.
OV::HashSet<OV::UniString> ChangedProjects(const IO::Location& folder, const Lines& lines,
                                           const Lines& kept, const Files& files)
{
    OV::HashSet<OV::UniString> changed;
    for (const auto& [each, other] : {std::pair(&lines, &kept), std::pair(&kept, &lines)}) {
        std::optional<OV::StringView> last;
        for (std::size_t at = each->CountShared(*other); at < each->size(); ++at)
            if (const OV::StringView id = (*each)[at].Record().projectId; id != last)
                changed.insert(OV::FromUtf8(*(last = id)));
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
    for (const LogDataLine& line : lines) {
        const OV::StringView id = line.Record().projectId;
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
                projects.push_back({known->first, {}});
            }
            place = known->second;
        }
        if (place != nowhere)
            projects[place].lines.push_back(&line);
    }
    return projects;
}

/// One after the other, in as much memory as they need.
OV::String RecordsOf(const OV::Array<const LogDataLine*>& lines)
{
    std::size_t size = 0;
    for (const LogDataLine* line : lines)
        size += line->Record().Size();
    OV::String records;
    records.reserve(size);
    for (const LogDataLine* line : lines)
        line->AppendRecord(records);
    return records;
}

/// Appends to `records` those that the file of another process has beyond them; returns their
/// lines.
Lines AppendFound(const IO::Location& file, OV::String& records)
{
    KnownRecords known;
    for (const auto& [record, bytes] : LogRecords(records))
        known.Add(record);
    const auto block =
        std::make_shared<const OV::String>(IO::File::ReadAll(file, IO::File::MostOfLogFile));
    Lines found;
    for (const auto& [record, bytes] : LogRecords(*block))
        if (!record.projectId.empty() && !known.Take(record)) {
            found.emplace_back(block, bytes.data(), record);
            records += bytes;
        }
    return found;
}

void WriteProject(const IO::Location& folder, const Project& project, Written& written)
{
    constexpr OV::StringView message = "Failed to  to create project cache file location.";
    const auto name = project.id + OV::UniString(LogCacheFiles::Extension);
    if (name == LogCacheFiles::StatisticsName)
        throw BinCacheHandlerException(message);
    const auto file = LogCacheFiles::Form(folder, name, message);
    auto& files = written.files.byName;
    const auto known = files.find(name);
    const bool isKnown = known != files.end();
    OV::String records = RecordsOf(project.lines);
    LogCacheFiles::Try("Failed to create project cache: failed to create project cache channel.",
                       [&] {
                           const auto stamp = IO::File::GetChangeStamp(file);
                           if (stamp && isKnown && known->second.Holds(records))
                               return;
                           if (stamp && !(isKnown && known->second.stamp == *stamp)) {
                               const auto found = AppendFound(file, records);
                               written.found.append(found.cbegin(), found.cend());
                           }
                           const auto now = IO::File::Replace(file, records);
                           files.insert_or_assign(name, KnownFile(now, records));
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
            WriteProject(folder, project, written);
        } catch (const BinCacheHandlerException&) {
            if (!written.failure)
                written.failure = std::current_exception();
        }
    return written;
}

}  // namespace SYC::Detail::LogCacheLines
