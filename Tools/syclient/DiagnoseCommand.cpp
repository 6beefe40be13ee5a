#include "Command.hpp"
#include "Commands.hpp"

#include "Diagnosis/Diagnosis.hpp"
#include "Diagnosis/LogFile.hpp"
#include "IO/File.hpp"
#include "ProjectArguments.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

using SYC::Diagnosis;

struct DiagnoseArguments {
    ProjectArguments place;
    std::string file;
    bool isLocal = false;
    std::uint32_t minutes = 60;

    void AddOptions(CLI::App& command)
    {
        place.AddOptions(command);
        command.add_flag("--local", isLocal, "Ask no server");
        command.add_option("--minutes", minutes, "How far back the log goes")
            ->option_text("N")
            ->check(CLI::Range(0, 7 * 24 * 60))
            ->capture_default_str();
        command.add_option("--out", file, "Write it as JSON into a file that you alone can read")
            ->option_text("FILE");
    }
};

Json StepsJson(const Diagnosis& diagnosis)
{
    Json steps = Json::array();
    for (const auto& step : diagnosis.steps)
        steps.push_back({{"step", ForJson(step.name)},
                         {"address", ForJsonOrNull(step.address)},
                         {"milliseconds", step.milliseconds},
                         {"succeeded", step.succeeded},
                         {"outcome", ForJson(step.outcome)},
                         {"advice", ForJsonOrNull(step.advice)}});
    return steps;
}

Json CachesJson(const Diagnosis& diagnosis)
{
    Json caches = Json::array();
    for (const auto& cache : diagnosis.caches) {
        Json damage = Json::array();
        for (const auto& each : cache.damage)
            damage.push_back(ForJson(each));
        caches.push_back({{"folder", ForJson(cache.folder.ToPath())},
                          {"server", ForJsonOrNull(cache.server)},
                          {"user", ForJsonOrNull(cache.user)},
                          {"project", ForJsonOrNull(cache.project)},
                          {"unsentChanges", cache.hasUnsentChanges},
                          {"waitingMails", cache.waitingMails},
                          {"damage", std::move(damage)}});
    }
    return caches;
}

Json LocksJson(const Diagnosis& diagnosis)
{
    Json locks = Json::array();
    for (const auto& lock : diagnosis.locks)
        locks.push_back({{"file", ForJson(lock.file.ToPath())},
                         {"process", lock.processId == 0 ? Json(nullptr) : Json(lock.processId)},
                         {"program", ForJsonOrNull(lock.program)}});
    return locks;
}

Json AsJson(const Diagnosis& diagnosis)
{
    Json versions = Json::object();
    for (const auto& version : diagnosis.versions)
        versions[OV::ToUtf8(version.name)] = ForJson(version.number);
    Json log = Json::array();
    for (const auto& line : diagnosis.log)
        log.push_back(ForJson(line));
    const auto* hindrance = SYC::FindHindrance(diagnosis.steps);
    return {{"versions", std::move(versions)},
            {"steps", StepsJson(diagnosis)},
            {"whatToDo", hindrance != nullptr ? ForJsonOrNull(hindrance->advice) : Json(nullptr)},
            {"caches", CachesJson(diagnosis)},
            {"locks", LocksJson(diagnosis)},
            {"log", std::move(log)}};
}

/// One list under its title, or that there is nothing to list.
void PrintPart(const Output& output, const std::string& title, const Json& list,
               std::vector<std::string> columns)
{
    output.PrintLine("");
    if (list.empty())
        return output.PrintLine(title + ": none");
    output.PrintLine(output.Styled(Output::Style::Strong, title));
    std::vector<std::vector<std::string>> rows(1);
    for (const auto& column : columns)
        rows[0].push_back(HeadingOf(LabelOf(column)));
    for (const auto& item : list) {
        auto& row = rows.emplace_back();
        for (const auto& column : columns)
            row.push_back(PlainText(item[column]));
    }
    output.PrintTable(rows);
}

void Print(const Json& json, const Output& output)
{
    std::vector<std::pair<std::string, std::string>> versions;
    for (const auto& [name, number] : json["versions"].items())
        versions.emplace_back(name, PlainText(number));
    output.PrintFields(versions);
    PrintPart(output, "The way to the server", json["steps"],
              {"step", "address", "milliseconds", "succeeded", "outcome"});
    if (!json["whatToDo"].is_null())
        output.PrintLine("What to do: " + PlainText(json["whatToDo"]));
    PrintPart(output, "Caches", json["caches"],
              {"project", "server", "user", "unsentChanges", "waitingMails", "damage"});
    PrintPart(output, "Lock files", json["locks"], {"file", "process", "program"});
    output.PrintLine("");
    output.PrintLine("Log: " + std::to_string(json["log"].size()) + " lines");
    for (const auto& line : json["log"])
        output.PrintLine("  " + PlainText(line));
}

SYC::DiagnosisRequest RequestOf(const DiagnoseArguments& arguments, Context& context)
{
    SYC::DiagnosisRequest request;
    request.dataFolder = context.DataFolder();
    request.logFile = SYC::LogFile::GetDefaultLocation();
    request.logSeconds = static_cast<std::int32_t>(arguments.minutes * 60);
    ProjectArguments place = arguments.place;
    (void)place.Look(context);
    if (arguments.isLocal || place.server.empty() || place.port == 0)
        return request;
    auto& login = request.login.emplace();
    login.serverName = OV::FromUtf8(place.server);
    login.port = place.port;
    if (place.user.empty())
        return request;
    login.userName = OV::FromUtf8(place.user);
    login.password = place.ReadPassword();
    return request;
}

void RunDiagnose(const DiagnoseArguments& arguments, Context& context)
{
    const auto request = RequestOf(arguments, context);
    context.output.Progress("Looking at this computer and the way to the server ...");
    const Diagnosis diagnosis = SYC::Diagnose(request);
    const Json json = AsJson(diagnosis);
    if (!std::all_of(diagnosis.steps.begin(), diagnosis.steps.end(),
                     [](const auto& step) { return step.succeeded; }) ||
        !std::all_of(diagnosis.caches.begin(), diagnosis.caches.end(),
                     [](const auto& cache) { return cache.damage.empty(); }))
        context.exitCode = ExitCode::Failure;
    if (!arguments.file.empty()) {
        IO::File::Replace(IO::Location::FromPath(OV::FromUtf8(arguments.file)), json.dump(2) + "\n",
                          true);
        return context.output.PrintLine("Wrote \"" + ForDisplay(OV::FromUtf8(arguments.file)) +
                                        "\".");
    }
    if (context.output.json)
        context.output.PrintJson(json);
    else
        Print(json, context.output);
}

}  // namespace

void DeclareDiagnose(CLI::App& command, Context& context)
{
    command.footer("Of the server that holds (see \"syclient profile show\"), or of this computer "
                   "alone when none does. No password,\ntoken or text of a mail is in it. Exit "
                   "codes: 0 all well, 1 something was found.");
    DefineCommand(command, context, &RunDiagnose);
}
