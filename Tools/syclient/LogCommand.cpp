#include "Command.hpp"
#include "Commands.hpp"

#include "EventLogUpdater.hpp"
#include "IO/IOException.hpp"
#include "InterruptNote.hpp"
#include "Log/PieChartUpdater.hpp"
#include "LogSelection.hpp"
#include "Numbers.hpp"
#include "OVRoot/System.hpp"
#include "OVRoot/Terminal.hpp"
#include "ServerArguments.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <limits>
#include <thread>

namespace {

/// Shows how far an update has come, and keeps what it ends with.
class UpdateView final : public EventLogObserver {
public:
    explicit UpdateView(const Output& output)
        : isShown_(!output.quiet && !output.json &&
                   OV::Terminal::IsTerminal(OV::Terminal::Stream::Error))
    {}

    std::atomic<std::size_t> lines = 0;
    std::string failure;

private:
    static constexpr std::size_t BarLength = 30;

    void RefreshLog(const OV::PagedArray<LogDataLine>& all) override
    {
        lines = all.size();
        if (isShown_)
            std::cerr << "\r\033[K" << std::flush;
    }
    void UpdateProgress(std::uint64_t done, std::uint64_t total) override
    {
        if (!isShown_ || total == 0)
            return;
        const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
        const auto filled = static_cast<std::size_t>(share * BarLength);
        std::cerr << "\r[" << std::string(filled, '#') << std::string(BarLength - filled, ' ')
                  << "] " << static_cast<int>(share * 100) << " %" << std::flush;
    }
    void UpdateFailed(const OV::UniString& reason) override { failure = ForDisplay(reason); }

    bool isShown_;
};

/// False when it failed or Ctrl-C ended it, which is told.
bool RunUpdate(SYC::LogUpdater& updater, UpdateView& view, Context& context)
{
    const InterruptNote note;
    updater.Attach(view);
    updater.Start();
    while (updater.IsRunning() && !InterruptNote::WasInterrupted())
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    if (InterruptNote::WasInterrupted())
        updater.Interrupt();
    updater.Await();
    updater.Detach(view);
    if (InterruptNote::WasInterrupted()) {
        context.exitCode = ExitCode::Failure;
        context.output.Error("Cancelled; the next update goes on from what was there before.");
    } else if (const auto& failure = updater.GetLastFailure()) {
        context.exitCode = ExitCodeOf(failure);
        context.output.Error(ForDisplay(failure.sentence));
    }
    return context.exitCode == ExitCode::Success;
}

void Update(const ServerArguments& server, Context& context)
{
    LogSource source;
    source.host = OV::FromUtf8(server.server);
    source.port = server.port;
    source.userName = OV::FromUtf8(server.user);
    source.password = server.ReadPassword();
    SYC::BinCacheHandler cache(source.GetCacheName());
    UpdateView view(context.output);
    EventLogUpdater log(source, cache);
    context.output.Progress("Fetching the log from " + server.Describe() + " ...");
    if (!RunUpdate(log, view, context))
        return;
    const std::size_t lines = view.lines;
    PieChartUpdater statistics(source, cache);
    if (!RunUpdate(statistics, view, context))
        return;
    PerformanceData performance;
    cache.GetPerformanceData(performance);
    const bool hasLoad = performance.HasChartLine(ChartType::Cpu);
    if (context.output.json) {
        context.output.PrintJson(
            {{"lines", lines}, {"load", hasLoad}, {"folder", ForJson(cache.GetFolder().ToPath())}});
        return;
    }
    context.output.PrintLine(std::to_string(lines) + " lines of the log are cached in \"" +
                             ForDisplay(cache.GetFolder().ToPath()) + "\".");
    if (!hasLoad)
        context.output.PrintLine("The load of the server is not among them: it is told to "
                                 "administrators alone.");
}

struct ShowArguments {
    LogSelection selection;
    int limit = 100;
    bool csv = false;

    void Resolve(Context& context) { selection.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        selection.AddOptions(command);
        command.add_option("--limit", limit, "How many lines at most; 0: all")
            ->option_text("N")
            ->check(Numbers::UpTo(std::numeric_limits<int>::max()))
            ->capture_default_str();
        command.add_flag("--csv", csv, "Comma-separated, as spreadsheets read it");
    }
};

Json LineJson(const LogDataLine& line)
{
    return {{"time", line.GetTimeVal()},
            {"user", ForJson(line.GetLoginName())},
            {"fullName", ForJson(line.GetUser())},
            {"action", ForJson(line.GetOperation())},
            {"actionText", ForJson(line.GetOperationText())},
            {"comment", ForJson(line.GetComment())},
            {"size", line.GetSizeVal()},
            {"duration", ForJson(line.GetDuration())},
            {"project", ForJson(line.GetProject())},
            {"projectId", ForJson(line.GetProjectId())}};
}

/// A spreadsheet takes what begins like a formula for one; members write comments.
bool LooksLikeFormula(const std::string& text)
{
    return !text.empty() && std::string_view("=+-@").find(text[0]) != std::string_view::npos &&
           text.find_first_not_of("0123456789.,", 1) != std::string::npos;
}

/// As spreadsheets read it: quotes within a text are doubled.
std::string CsvText(const OV::UniString& text)
{
    const std::string shown = ForDisplay(text);
    std::string quoted = LooksLikeFormula(shown) ? "\"'" : "\"";
    for (const char c : shown)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

void PrintCsv(const SYC::LogTable& table, int first, int last, const Output& output)
{
    const auto print = [&](auto&& cell) {
        std::string line;
        for (int column = 1; column <= SYC::LogTable::ColumnCount; ++column)
            line += (column > 1 ? "," : "") + CsvText(cell(column));
        output.PrintLine(line);
    };
    print([](int column) { return SYC::LogTable::GetTitle(column); });
    for (int row = first; row <= last; ++row)
        print([&](int column) { return table.GetText(row, column); });
}

void PrintTable(const SYC::LogTable& table, int first, int last, const Output& output)
{
    std::vector<std::vector<std::string>> rows(1);
    for (int column = 1; column <= SYC::LogTable::ColumnCount; ++column)
        rows[0].push_back(ForDisplay(SYC::LogTable::GetTitle(column)));
    for (int row = first; row <= last; ++row) {
        auto& cells = rows.emplace_back();
        for (int column = 1; column <= SYC::LogTable::ColumnCount; ++column)
            cells.push_back(ForDisplay(table.GetText(row, column)));
    }
    output.PrintTable(rows);
}

void Show(const ShowArguments& arguments, Context& context)
{
    const auto table = arguments.selection.Read(context);
    if (table == nullptr)
        return;
    const int count = table->GetCount();
    // Of lines that go down the first are the largest or the newest, of those that go up the last.
    const int shown = arguments.limit > 0 ? std::min(arguments.limit, count) : count;
    const int first = arguments.selection.isDescending ? 1 : count - shown + 1;
    const int last = first + shown - 1;
    if (shown < count)
        context.output.Progress(std::to_string(shown) + " of " + std::to_string(count) +
                                " lines; --limit 0 shows all.");
    if (context.output.json) {
        Json lines = Json::array();
        for (int row = first; row <= last; ++row)
            lines.push_back(LineJson(table->GetLine(row)));
        context.output.PrintJson({{"count", count}, {"lines", std::move(lines)}});
    } else if (arguments.csv) {
        PrintCsv(*table, first, last, context.output);
    } else {
        PrintTable(*table, first, last, context.output);
    }
}

struct ExportArguments {
    LogSelection selection;
    std::string file;

    void Resolve(Context& context) { selection.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        selection.AddOptions(command);
        command.add_option("file", file, "The file, which is replaced")
            ->required()
            ->option_text("FILE");
    }
};

void Export(const ExportArguments& arguments, Context& context)
{
    const auto table = arguments.selection.Read(context);
    if (table == nullptr)
        return;
    try {
        table->Export(IO::Location::FromPath(OV::FromUtf8(arguments.file)));
    } catch (const IO::IOException& failure) {
        context.exitCode = ExitCode::Failure;
        context.output.Error("An error has occurred while saving file. " +
                             ForDisplay(failure.GetMessage()));
        return;
    }
    if (context.output.json)
        context.output.PrintJson({{"exported", table->GetCount()}});
    else
        context.output.PrintLine("Exported " + std::to_string(table->GetCount()) + " lines.");
}

/// How many lines have each text, the most frequent first.
Json Shares(const SYC::LogTable& table, OV::UniString (LogDataLine::*text)() const)
{
    std::map<OV::UniString, std::uint64_t> counts;
    for (int row = 1; row <= table.GetCount(); ++row)
        ++counts[(table.GetLine(row).*text)()];
    std::vector<std::pair<OV::UniString, std::uint64_t>> sorted(counts.begin(), counts.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    Json shares = Json::array();
    for (const auto& [name, count] : sorted)
        shares.push_back({{"name", ForJson(name)},
                          {"lines", count},
                          {"share", static_cast<double>(count) / table.GetCount()}});
    return shares;
}

Json LoadJson(const PerformanceData& data)
{
    Json load = Json::array();
    for (const auto& line : data.GetChartLines())
        load.push_back({{"name", ForJson(line.name)},
                        {"unit", ForJson(line.unit)},
                        {"samples", line.points.size()},
                        {"lowest", line.values[2]},
                        {"highest", line.values[3]},
                        {"last", line.values[4]},
                        {"mean", line.values[5]}});
    return load;
}

void PrintShares(const std::string& title, const Json& shares, const Output& output)
{
    std::vector<std::vector<std::string>> rows{{title, "LINES", "SHARE"}};
    for (const auto& share : shares) {
        const auto tenths = static_cast<int>(share["share"].get<double>() * 1000 + 0.5);
        rows.push_back({ForDisplay(OV::FromUtf8(share["name"].get<std::string>())),
                        share["lines"].dump(),
                        std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " %"});
    }
    output.PrintTable(rows);
    output.PrintLine("");
}

std::string Rounded(const Json& value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value.get<double>());
    return text;
}

void Stats(const LogSelection& selection, Context& context)
{
    PerformanceData data;
    const auto table = selection.Read(context, &data);
    if (table == nullptr)
        return;
    const Json json{{"lines", table->GetCount()},
                    {"actions", Shares(*table, &LogDataLine::GetOperationText)},
                    {"users", Shares(*table, &LogDataLine::GetUser)},
                    {"projects", Shares(*table, &LogDataLine::GetProject)},
                    {"load", LoadJson(data)}};
    if (context.output.json)
        return context.output.PrintJson(json);
    PrintShares("ACTION", json["actions"], context.output);
    PrintShares("USER", json["users"], context.output);
    PrintShares("PROJECT", json["projects"], context.output);
    std::vector<std::vector<std::string>> rows{
        {"LOAD", "UNIT", "LOWEST", "MEAN", "HIGHEST", "LAST"}};
    for (const auto& line : json["load"])
        rows.push_back({line["name"].get<std::string>(), line["unit"].get<std::string>(),
                        Rounded(line["lowest"]), Rounded(line["mean"]), Rounded(line["highest"]),
                        Rounded(line["last"])});
    if (rows.size() > 1)
        context.output.PrintTable(rows);
}

struct ChartArguments {
    AddressArguments address;
    std::string kind;
    std::string file;
    std::string size = "900x540";

    void Resolve(Context& context) { address.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        address.AddOptions(command);
        command
            .add_option("kind", kind,
                        "cpu, memory, actions, transferred, longest, gauges, activity, by-action, "
                        "by-user or sizes")
            ->required()
            ->option_text("KIND");
        command.add_option("-o,--out", file, "The file")->required()->option_text("FILE");
        command.add_option("--size", size, "In pixels")->option_text("WxH")->capture_default_str();
    }
};

/// Charts are the desktop's; it draws without a window.
void Chart(const ChartArguments& arguments, Context& context)
{
    if (!arguments.file.ends_with(".png") && !arguments.file.ends_with(".csv"))
        throw OV::IllegalArgumentException(OV::StringView(
            "Charts are PNG pictures or CSV tables: name a file that ends with .png or .csv."));
    LogSelection all;
    all.address = arguments.address;
    if (all.Read(context) == nullptr)
        return;
    const std::string program = OV::System::ProgramFolder() + "syclient-desktop";
    const auto exitCode =
        OV::System::RunProgram(program, {"-platform", "offscreen", "--chart", arguments.kind,
                                         "--log-cache", OV::ToUtf8(LogCacheName(arguments.address)),
                                         "--size", arguments.size, "--out", arguments.file});
    if (exitCode && *exitCode == 0) {
        if (context.output.json)
            context.output.PrintJson({{"drawn", arguments.file}});
        else
            context.output.PrintLine("Wrote \"" + arguments.file + "\".");
        return;
    }
    context.exitCode = exitCode && *exitCode == 2 ? ExitCode::Usage : ExitCode::Failure;
    if (!exitCode || *exitCode == 127)
        context.output.Error("Charts are drawn by \"" + program +
                             "\", which is not there; install it beside syclient.");
}

}  // namespace

void DeclareLog(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    command.footer("All but \"update\" read the cache of this machine and need no server.");
    AddCommand(command, context, "update", "Fetch what is new into the cache of this machine",
               &Update);
    AddCommand(command, context, "show", "The last lines of the log", &Show);
    AddCommand(command, context, "export", "Write the lines to a file, as the log viewer does",
               &Export);
    AddCommand(command, context, "chart",
               "Draw the statistics into a PNG file, or write them as CSV", &Chart);
    AddCommand(command, context, "stats", "Shares of actions, users and projects, and the load",
               &Stats);
}
