#include "BinCacheHandler/Detail/LogCacheFiles.hpp"
#include "BinCacheHandler/Detail/LogCacheLines.hpp"
#include "LogLine/Detail/KnownRecords.hpp"

namespace SYC::Detail::LogCacheLines {

namespace {

/// The records of a project, in the order of the lines.
struct Project {
    OV::UniString id;
    OV::String records;
};

/// In the order in which the projects appear. Lines without a project become `failure`.
OV::Array<Project> SortByProject(const Lines& lines, std::exception_ptr& failure)
{
    OV::Array<Project> projects;
    OV::HashTable<OV::UniString, std::size_t> places;
    OV::StringView last;
    std::size_t place = 0;
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
            const auto [known, isNew] = places.try_emplace(OV::FromUtf8(id), projects.size());
            place = known->second;
            if (isNew)
                projects.push_back({known->first, {}});
        }
        line.AppendRecord(projects[place].records);
    }
    return projects;
}

/// Appends to `records` those that the file of another process has beyond them; returns their
/// lines.
Lines AppendFound(const IO::Location& file, OV::String& records)
{
    KnownRecords known;
    SYC::LogRecord record;
    for (OV::StringView rest = records; const std::size_t length = record.Parse(rest);
         rest.remove_prefix(length))
        known.Add(record);
    const auto block =
        std::make_shared<const OV::String>(IO::File::ReadAll(file, IO::File::MostOfLogFile));
    Lines found;
    for (OV::StringView rest = *block; const std::size_t length = record.Parse(rest);
         rest.remove_prefix(length))
        if (!record.projectId.empty() && !known.Take(record)) {
            found.emplace_back(block, rest.data(), record);
            records += rest.substr(0, length);
        }
    return found;
}

void WriteProject(const IO::Location& folder, Project& project, Written& written)
{
    constexpr OV::StringView message = "Failed to  to create project cache file location.";
    const auto name = project.id + OV::UniString(LogCacheFiles::Extension);
    if (name == LogCacheFiles::StatisticsName)
        throw BinCacheHandlerException(message);
    const auto file = LogCacheFiles::Form(folder, name, message);
    auto& files = written.files.byName;
    const auto known = files.find(name);
    const bool isKnown = known != files.end();
    LogCacheFiles::Try(
        "Failed to create project cache: failed to create project cache channel.", [&] {
            const auto stamp = IO::File::GetChangeStamp(file);
            if (stamp && isKnown && known->second.Holds(project.records))
                return;
            if (stamp && !(isKnown && known->second.stamp == *stamp)) {
                const auto found = AppendFound(file, project.records);
                written.found.insert(written.found.end(), found.begin(), found.end());
            }
            const auto now = IO::File::Replace(file, project.records);
            files.insert_or_assign(name, KnownFile(now, project.records));
        });
}

}  // namespace

Written Write(const IO::Location& folder, const Lines& lines, const Files& files)
{
    Written written{files, {}, nullptr};
    for (auto& project : SortByProject(lines, written.failure))
        try {
            WriteProject(folder, project, written);
        } catch (const BinCacheHandlerException&) {
            if (!written.failure)
                written.failure = std::current_exception();
        }
    return written;
}

}  // namespace SYC::Detail::LogCacheLines
