#include "LogSelection.hpp"

#include "BinCacheHandler/BinCacheHandler.hpp"
#include "Log/LogFilter.hpp"
#include "LogIndex/TextParser.hpp"
#include "Numbers.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/LocalTime.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <limits>

namespace {

using Lines = OV::PagedArray<LogDataLine>;

/// An end of a day "2026-11-24".
std::int64_t ReadDay(const std::string& text, std::int64_t (*endOf)(int, int, int))
{
    int year = 0, month = 0, day = 0;
    constexpr std::string_view form = "0000-00-00";
    const bool isFormed = text.size() == form.size() &&
                          std::equal(text.begin(), text.end(), form.begin(), [](char c, char f) {
                              return f == '-' ? c == f : OV::IsDigit(c);
                          });
    const int count = isFormed ? std::sscanf(text.c_str(), "%4d-%2d-%2d", &year, &month, &day) : 0;
    // Days that no calendar has come out as others.
    const OV::LocalTime start = OV::ToLocalTime(OV::StartOfDay(year, month, day));
    if (count != 3 || start.year != year || start.month != month || start.day != day)
        throw OV::IllegalArgumentException("\"" + text + "\" is no day; write it as 2026-11-24.");
    return endOf(year, month, day);
}

/// The id of the project that lines name so; nothing when none does.
std::optional<OV::UniString> FindProject(const Lines& lines, const std::string& name)
{
    const auto found = std::find_if(lines.begin(), lines.end(), [&](const LogDataLine& line) {
        return line.Record().project == name;
    });
    return found == lines.end() ? std::nullopt : std::optional(found->GetProjectId());
}

}  // namespace

OV::UniString LogCacheName(const AddressArguments& address)
{
    LogSource source;
    source.host = OV::FromUtf8(address.server);
    source.port = address.port;
    return source.GetCacheName();
}

void LogSelection::AddOptions(CLI::App& command)
{
    address.AddOptions(command);
    command.add_option("-n,--project", project, "Only this project")->option_text("NAME");
    command.add_option("--from", from, "Only from this day on")->option_text("YYYY-MM-DD");
    command.add_option("--to", to, "Only up to this day")->option_text("YYYY-MM-DD");
    command.add_option("--by", user, "Only what this user did; the full name")->option_text("NAME");
    command
        .add_option("--action", action, "Only this action, as lists show it (\"Send\", \"Join\")")
        ->option_text("TEXT");
    command.add_option("--min-size", smallestSize, "Only lines of so many bytes or more")
        ->option_text("BYTES")
        ->check(Numbers::UpTo(std::numeric_limits<std::uint32_t>::max()));
    command.add_option("--sort", sortColumn, "What the lines are sorted by")
        ->transform(CLI::CheckedTransformer(
                        std::map<std::string, int>{{"time", SYC::LogTable::Timestamp},
                                                   {"user", SYC::LogTable::User},
                                                   {"action", SYC::LogTable::Action},
                                                   {"comment", SYC::LogTable::Comment},
                                                   {"size", SYC::LogTable::Size},
                                                   {"duration", SYC::LogTable::Duration}})
                        .description(""))
        ->option_text("time|user|action|comment|size|duration");
    command.add_flag("--descending", isDescending, "The last first");
}

std::shared_ptr<const SYC::LogTable> LogSelection::Read(Context& context,
                                                        PerformanceData* load) const
{
    SYC::LogFilter filter;
    if (from)
        filter.from = ReadDay(*from, OV::StartOfDay);
    if (to)
        filter.to = ReadDay(*to, OV::EndOfDay);
    if (from && to && *from > *to)
        throw OV::IllegalArgumentException(
            OV::StringView("--from " + *from + " is after --to " + *to + "."));
    if (!user.empty())
        filter.user = OV::FromUtf8(user);
    if (!action.empty())
        filter.operationText = OV::FromUtf8(action);
    filter.smallestSize = smallestSize;
    SYC::BinCacheHandler cache(LogCacheName(address));
    cache.GetCacheData();
    if (load != nullptr)
        cache.GetPerformanceData(*load);
    const auto lines = cache.GetLines();
    if (lines->empty()) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error(
            "No log of this server is cached. \"syclient log update\" fetches it.");
        return nullptr;
    }
    if (!project.empty()) {
        filter.projectId = FindProject(*lines, project);
        if (!filter.projectId) {
            context.exitCode = ExitCode::NotFound;
            context.output.Error("The log names no project \"" + ForDisplay(OV::FromUtf8(project)) +
                                 "\".");
            return nullptr;
        }
    }
    return SYC::LogTable(lines, filter.Select(*lines)).Sorted(sortColumn, !isDescending);
}
