#include "AdminCommands.hpp"
#include "Command.hpp"
#include "Commands.hpp"

#include "CacheView.hpp"
#include "CleanUp.hpp"
#include "Files/FileErrors.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Clock.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/ExceptionText.hpp"
#include "ProjectArguments.hpp"
#include "Question.hpp"
#include "RegisteredProjects.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

using SYC::CachedProjectInfo;
using SYC::RegisteredProject;

struct ListArguments {
    std::string server;
    std::string user;
    std::string name;
    bool unsent = false;

    void AddOptions(CLI::App& command)
    {
        command.add_option("-s,--server", server, "Only those of this server")->option_text("HOST");
        command.add_option("-u,--user", user, "Only those of this login name")->option_text("NAME");
        command.add_option("-n,--name", name, "Only those whose name holds this text")
            ->option_text("TEXT");
        command.add_flag("--unsent", unsent, "Only those with changes or mails not sent yet");
    }
};

struct ForgetArguments {
    std::string folder;
    bool yes = false;
    bool force = false;

    void AddOptions(CLI::App& command)
    {
        command
            .add_option("folder", folder,
                        "A cache folder by name or path, or its project by name or URL")
            ->required()
            ->option_text("FOLDER");
        command.add_flag("-y,--yes", yes, "Do not ask");
        command.add_flag("--force", force, "Even with changes or mails that were not sent");
    }
};

std::string DescribeProject(const CachedProjectInfo& cache)
{
    SYC::Inner::ProjectConnectionInfo info;
    cache.GetProjectConnectionInfo(info);
    info.password = {};
    return "\"" + ForDisplay(info.projectName) + "\" of " + DescribeLogin(info);
}

/// Letters A to Z in any case.
bool Holds(const std::string& text, const std::string& part)
{
    return std::search(text.begin(), text.end(), part.begin(), part.end(),
                       [](char a, char b) { return OV::Fold(a) == OV::Fold(b); }) != text.end();
}

bool IsWanted(const RegisteredProject& project, const ListArguments& arguments)
{
    return (arguments.name.empty() ||
            Holds(ForDisplay(project.GetProjectName()), arguments.name)) &&
           (!arguments.unsent || SYC::HasUnsentWork(project.GetCachedProjectInfo()));
}

OV::Array<RegisteredProject> Select(const ListArguments& arguments, Context& context)
{
    auto& registry = SYC::registeredProjects();
    const auto folder = context.DataFolder();
    OV::Array<SYC::CacheInfoRecord> records;
    registry.RefreshCaches(folder);
    registry.SearchCaches(folder, records);
    // One that cannot be read costs its line only.
    for (const auto& record : records)
        if (!record.info) {
            context.output.Error(ForDisplay(record.problem));
            context.exitCode = ExitCode::Failure;
        }
    OV::Array<RegisteredProject> projects;
    registry.FillProjects(projects, OV::FromUtf8(arguments.server), OV::FromUtf8(arguments.user),
                          {}, records);
    std::erase_if(projects, [&](const auto& each) { return !IsWanted(each, arguments); });
    return projects;
}

std::vector<std::string> Row(const CachedProjectInfo& cache, const Json& json)
{
    return {ForDisplay(cache.GetProjectName()),
            ForDisplay(cache.GetServerName()) + ":" + json["port"].dump(),
            ForDisplay(cache.GetLoginName()),
            CacheStatus(cache),
            TimeForDisplay(cache.GetLastOpenProjectTime()),
            SizeForDisplay(json["sizeBytes"].get<std::uint64_t>()),
            ForDisplay(cache.GetLocalFolderName())};
}

void List(const ListArguments& arguments, Context& context)
{
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows{
        {"PROJECT", "SERVER", "USER", "STATUS", "LAST OPENED", "SIZE", "FOLDER"}};
    for (const auto& project : Select(arguments, context)) {
        const auto& cache = project.GetCachedProjectInfo();
        list.push_back(CacheJson(cache));
        rows.push_back(Row(cache, list.back()));
    }
    if (context.output.json)
        context.output.PrintJson({{"projects", std::move(list)}});
    else if (list.empty())
        context.output.PrintLine("No such project is cached in \"" +
                                 ForDisplay(context.DataFolder().ToPath()) + "\".");
    else
        context.output.PrintTable(rows);
}

struct ForgetView {
    std::string project;
    /// Why it is not to be removed just so.
    std::string problem;
    bool unsent = false;
};

/// Nobody knows what an unreadable cache holds; it can be removed like one with unsent changes.
ForgetView LookAt(const IO::Location& folder)
{
    try {
        const CachedProjectInfo cache(folder);
        const std::string project = DescribeProject(cache);
        return {project,
                "The cache of " + project +
                    " holds changes or mails that were not sent. Open the project and send them.",
                SYC::HasUnsentWork(cache)};
    } catch (const Syncra::Server::ManagementTool::Core::FileError& error) {
        return {"\"" + ForDisplay(folder.LastComponent()) + "\"", ForDisplay(error.GetMessage()),
                true};
    }
}

void Forget(const ForgetArguments& arguments, Context& context)
{
    const auto folder = FindCacheFolder(arguments.folder, context);
    if (folder.IsEmpty())
        return;
    const auto [project, problem, unsent] = LookAt(folder);
    const std::string path = ForDisplay(folder.ToPath());
    if (unsent && !arguments.force) {
        context.exitCode = ExitCode::Failure;
        context.output.Error(problem + " --force removes it all the same.");
        return;
    }
    if (!arguments.yes)
        Question::Require("Remove the cache of " + project + " with all that is in \"" + path +
                          "\"?");
    SYC::registeredProjects().RemoveProject(folder, arguments.force);
    if (context.output.json)
        context.output.PrintJson(
            {{"forgotten", true}, {"folder", ForJson(folder.ToPath())}, {"hadUnsent", unsent}});
    else
        context.output.PrintLine("Removed the cache of " + project + ".");
}

struct CleanArguments {
    bool yes = false;

    void AddOptions(CLI::App& command) { command.add_flag("-y,--yes", yes, "Do not ask"); }
};

/// What would become of a cache, or did.
std::string FateOf(const SYC::CacheToClean& cache, bool isRemoved)
{
    return cache.isInUse         ? "stays: it is in use"
           : cache.hasUnsentWork ? "stays: it holds what was not sent"
           : isRemoved           ? "removed"
                                 : "goes";
}

/// Removes those that may go. One that somebody began to use meanwhile, or that the disk does not
/// let go, is told and stays.
std::vector<bool> RemoveThoseThatMayGo(const OV::Array<SYC::CacheToClean>& due, Context& context)
{
    std::vector<bool> removed;
    for (const auto& cache : due) {
        bool isGone = false;
        if (cache.MayGo()) {
            try {
                isGone = SYC::registeredProjects().RemoveProject(
                    cache.project.GetCachedProjectInfo().GetCacheFolderLocation());
            } catch (const OV::Exception& problem) {
                context.exitCode = ExitCode::Failure;
                context.output.Error(ForDisplay(OV::MessageWithCauses(problem)));
            }
        }
        removed.push_back(isGone);
    }
    return removed;
}

void ShowDue(const OV::Array<SYC::CacheToClean>& due, const std::vector<bool>& removed,
             const Output& output)
{
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows{{"PROJECT", "SERVER", "USER", "LAST OPENED", ""}};
    for (std::size_t i = 0; i < due.size(); ++i) {
        const auto& cache = due[i].project.GetCachedProjectInfo();
        list.push_back({{"project", ForJson(cache.GetProjectName())},
                        {"server", ForJson(cache.GetServerName())},
                        {"user", ForJson(cache.GetLoginName())},
                        {"folder", ForJson(cache.GetCacheFolderLocation().ToPath())},
                        {"lastOpened", cache.GetLastOpenProjectTime()},
                        {"unsent", due[i].hasUnsentWork},
                        {"inUse", due[i].isInUse},
                        {"removed", removed[i]}});
        rows.push_back({ForDisplay(cache.GetProjectName()), ForDisplay(cache.GetServerName()),
                        ForDisplay(cache.GetLoginName()),
                        TimeForDisplay(cache.GetLastOpenProjectTime()),
                        FateOf(due[i], removed[i])});
    }
    if (output.json)
        output.PrintJson({{"caches", std::move(list)}});
    else
        output.PrintTable(rows);
}

void Clean(const CleanArguments& arguments, Context& context)
{
    const auto folder = context.DataFolder();
    const auto days = Context::Registry().GetLastUsedDays();
    const auto due = SYC::FindCachesToClean(OV::Clock::Current().Now(), folder);
    if (due.empty() && !context.output.json)
        return context.output.PrintLine(days <= 0 ? "No cache is ever due: \"syclient options set "
                                                    "--last-used-days N\" says after how "
                                                    "many days one is."
                                                  : "No cache was left unopened for more than " +
                                                        std::to_string(days) +
                                                        (days == 1 ? " day." : " days."));
    std::vector<bool> removed(due.size(), false);
    if (!arguments.yes)
        ShowDue(due, removed, context.output);
    const bool mayAny =
        std::any_of(due.begin(), due.end(), [](const auto& each) { return each.MayGo(); });
    if (!arguments.yes && (!mayAny || context.output.json || !Question::CanAsk()))
        return context.output.Notice("Nothing was removed; --yes removes what goes.");
    if (!arguments.yes)
        Question::Require("Remove what goes?");
    removed = RemoveThoseThatMayGo(due, context);
    ShowDue(due, removed, context.output);
}

}  // namespace

void DeclareProjects(CLI::App& command, Context& context)
{
    command.require_subcommand(0, 1);
    DefineCommand(command, context, &List);
    AddCommand(command, context, "forget",
               "Remove a cache from this machine; the project on its server stays", &Forget);
    AddCommand(command, context, "clean",
               "Remove caches that were not opened for long, but none that is in use or holds what "
               "was not "
               "sent; shows them first",
               &Clean);
    command.footer(
        "\"list\", \"show\", \"add\", \"set\" and \"remove\" work on a server, the rest on "
        "this machine.");
    AddProjectActions(command, context);
}
