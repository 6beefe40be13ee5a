#include "Command.hpp"
#include "Commands.hpp"

#include "BrowseProject.hpp"
#include "BrowseShareableProject.hpp"
#include "CreateNewSyncraProject.hpp"
#include "FlowWait.hpp"
#include "JoinProject.hpp"
#include "JoinedProject.hpp"
#include "LeaveProject.hpp"
#include "OVRoot/Ascii.hpp"
#include "ProjectArguments.hpp"
#include "Question.hpp"
#include "SYClientBase/MessageLoop.hpp"
#include "SYClientProjectDiscovery.hpp"
#include "SyncraURL.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

Syncra::Client::SignInData LoginOf(const ServerArguments& server)
{
    return {OV::FromUtf8(server.server), server.port, OV::FromUtf8(server.user),
            server.ReadPassword()};
}

const char* WordOf(SYC::BrowsedProject::Membership membership)
{
    switch (membership) {
    case SYC::BrowsedProject::Membership::Member:
        return "member";
    case SYC::BrowsedProject::Membership::Public:
        return "public";
    case SYC::BrowsedProject::Membership::None:
        return "none";
    }
    return "none";
}

struct BrowseArguments {
    ServerArguments place;
    std::string category;

    void Resolve(Context& context) { place.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        place.AddOptions(command);
        command.add_option("--category", category, "Only those of this category")
            ->option_text("NAME");
    }
};

Json BrowsedJson(const SYC::BrowsedProject& project)
{
    const bool isThere = project.membership != SYC::BrowsedProject::Membership::None;
    return {{"project", ForJson(project.name)},
            {"projectId", ForJsonOrNull(project.id)},
            {"category", ForJson(project.category)},
            {"state", ForJsonOrNull(project.GetStateText())},
            {"dataVersion", ForJson(project.version)},
            {"membership", WordOf(project.membership)},
            {"members", isThere ? Json(project.members) : Json(nullptr)},
            {"atWork", isThere ? Json(project.atWork) : Json(nullptr)},
            {"cached", project.IsCached()},
            {"status", ForJson(project.GetStatusText())},
            {"unsent", project.hasUnsentWork},
            {"lastOpened", project.lastOpenedTime},
            {"folder",
             ForJsonOrNull(project.IsCached() ? project.cacheFolder.ToPath() : OV::UniString())}};
}

void Browse(const BrowseArguments& arguments, Context& context)
{
    FlowWait wait(context.output);
    SYC::BrowseProject browse(LoginOf(arguments.place), context.DataFolder(), wait.Executors());
    browse.Refresh();
    // What is cached here is listed all the same.
    if (!wait.Await(browse)) {
        context.exitCode = ExitCodeOf(browse.GetFailure());
        context.output.Error(ForDisplay(Explain(browse.GetFailure())));
    }
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows{
        {"PROJECT", "CATEGORY", "ON SERVER", "YOU", "MEMBERS", "AT WORK", "HERE"}};
    for (const auto& project : browse.GetProjects()) {
        if (!arguments.category.empty() &&
            !OV::EqualsIgnoreCase(project.category, OV::FromUtf8(arguments.category)))
            continue;
        list.push_back(BrowsedJson(project));
        rows.push_back({ForDisplay(project.name), ForDisplay(project.category),
                        ForDisplay(project.GetStateText()), WordOf(project.membership),
                        PlainText(list.back()["members"]), PlainText(list.back()["atWork"]),
                        ForDisplay(project.GetStatusText())});
    }
    if (context.output.json)
        context.output.PrintJson({{"projects", std::move(list)}});
    else if (list.empty())
        context.output.PrintLine("There is no such project that you may see.");
    else
        context.output.PrintTable(rows);
}

struct JoinArguments {
    ProjectArguments project;
    SYC::JoinOptions options;

    void Resolve(Context& context) { project.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        project.AddOptions(command);
        command.add_flag("--take-over", options.allowTakeover,
                         "Take the session over from another computer");
        command.add_flag("--new-session", options.newSession,
                         "Forget the session of the cache and take or start the server's");
    }
};

void Join(const JoinArguments& arguments, Context& context)
{
    const auto info = arguments.project.Read();
    FlowWait wait(context.output);
    SYC::JoinProject join(SYC::ToSyncraLocation(info), context.DataFolder(), wait.Executors());
    context.output.Progress("Joining \"" + ForDisplay(info.projectName) + "\" as " +
                            DescribeLogin(info) + " ...");
    join.Join(arguments.options);
    if (!wait.Await(join)) {
        const auto code = join.GetResult() == SYC::CheckResult::Offline
                              ? ExitCodeOf(join.GetFailure())
                              : ExitCodeOf(join.GetResult());
        throw CommandFailure(code, Explain(join.GetFailure()));
    }
    const auto project = join.TakeProject();
    const auto* mails = project ? project->GetMails() : nullptr;
    if (const auto& failure = join.GetRefreshFailure())
        context.output.Notice("Joined, but members and mails are not known yet: " +
                              ForDisplay(Explain(failure)));
    const auto members = project ? project->GetMembers().GetLoginNameTable().size() : 0;
    if (context.output.json)
        return context.output.PrintJson(
            {{"joined", true},
             {"project", ForJson(info.projectName)},
             {"folder",
              ForJsonOrNull(
                  project ? project->GetManager().FindCache()->GetCacheFolderLocation().ToPath()
                          : OV::UniString())},
             {"members", members},
             {"mails", mails != nullptr ? Json(mails->GetMails().size()) : Json(nullptr)}});
    context.output.PrintLine(
        "Joined \"" + ForDisplay(info.projectName) + "\": " + std::to_string(members) +
        " members, " + std::to_string(mails != nullptr ? mails->GetMails().size() : 0) + " mails.");
}

struct LeaveArguments {
    ProjectArguments project;
    bool keepsCache = false;
    bool discardsUnsent = false;
    bool yes = false;

    void Resolve(Context& context) { project.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        project.AddOptions(command);
        auto* keeps = command.add_flag("--keep-cache", keepsCache, "Keep the cache for next time");
        command
            .add_flag("--discard-unsent", discardsUnsent,
                      "Lose changes and mails that were not sent")
            ->excludes(keeps);
        command.add_flag("-y,--yes", yes, "Do not ask");
    }
};

void Leave(const LeaveArguments& arguments, Context& context)
{
    const auto described = arguments.project.Describe();
    FlowWait wait(context.output);
    {
        // Everything but the password is looked at before anybody is asked for one.
        SYC::LeaveProject look(SYC::ToSyncraLocation(described), context.DataFolder(),
                               wait.Executors());
        look.Look();
        if (!wait.Await(look) && look.GetFailure().kind == SYC::FailureKind::NoCache)
            throw CommandFailure(ExitCode::NotFound, Explain(look.GetFailure()));
        wait.Require(look);
        if (look.GetFound()->hasUnsentWork && !arguments.keepsCache && !arguments.discardsUnsent)
            throw CommandFailure(ExitCode::Failure,
                                 Explain(SYC::MakeFailure(SYC::FailureKind::UnsentWork)) +
                                     u" --discard-unsent loses it, --keep-cache keeps it.");
    }
    const std::string name = "\"" + ForDisplay(described.projectName) + "\"";
    if (!arguments.yes)
        Question::Require("Leave " + name + " on this computer" +
                          (arguments.keepsCache ? "?" : " and remove its cache?"));
    SYC::LeaveProject leave(SYC::ToSyncraLocation(arguments.project.Read()), context.DataFolder(),
                            wait.Executors());
    leave.Leave({!arguments.keepsCache, arguments.discardsUnsent});
    wait.Require(leave);
    if (context.output.json)
        context.output.PrintJson({{"left", true},
                                  {"project", ForJson(described.projectName)},
                                  {"cacheRemoved", !arguments.keepsCache}});
    else
        context.output.PrintLine("Left " + name + "; you are still a member of it.");
}

struct ShareArguments {
    ServerArguments place;
    std::string name, category, description;
    std::vector<std::string> members;
    bool onlyChecks = false;

    void Resolve(Context& context) { place.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        place.AddOptions(command);
        command.add_option("name", name, "The name of the new project")
            ->required()
            ->option_text("NAME");
        command.add_option("--category", category, "The category that lists show it under")
            ->option_text("NAME");
        command.add_option("--description", description, "What people should know about it")
            ->option_text("TEXT");
        command
            .add_option("--member", members,
                        "A member and his role; without one, you manage it. May be given again")
            ->option_text("LOGIN=ROLE");
        command.add_flag("--check", onlyChecks, "Only say whether the name is free");
    }
};

using ProjectMember = SYC::CreateNewSyncraProject::ProjectMember;

template <class Record>
OV::UniString IdByName(const OV::Array<Record>& records, OV::UniString Record::*name,
                       const OV::UniString& wanted, const char16_t* what)
{
    for (const auto& record : records)
        if (OV::EqualsIgnoreCase(record.*name, wanted))
            return record.id;
    throw CommandFailure(ExitCode::NotFound, OV::UniString(u"There is no ") + what + u" \"" +
                                                 wanted +
                                                 u"\" on the server, or you may not see it.");
}

OV::HashSet<ProjectMember> MembersOf(const ShareArguments& arguments,
                                     const SYC::ShareableServer& server)
{
    using namespace Syncra::Server::Management;
    auto pairs = arguments.members;
    if (pairs.empty())
        pairs.push_back(arguments.place.user + "=Project Manager");
    OV::HashSet<ProjectMember> members;
    for (const auto& pair : pairs) {
        const auto at = pair.find('=');
        if (at == std::string::npos)
            throw OV::IllegalArgumentException("--member wants LOGIN=ROLE.");
        members.insert(
            {IdByName(server.users, &User::loginName, OV::FromUtf8(pair.substr(0, at)), u"user"),
             IdByName(server.roles, &Role::name, OV::FromUtf8(pair.substr(at + 1)), u"role")});
    }
    return members;
}

/// Whether the name is free, as a dialog tells while it is typed.
void CheckName(SYC::CreateNewSyncraProject& create, const std::string& name, Context& context)
{
    using State = SYC::CreateNewSyncraProject::NameState;
    create.SetName(OV::FromUtf8(name));
    (void)SYCB::MessageLoop::RunUntil([&] { return create.GetNameState() != State::Checking; },
                                      60'000);
    const bool isFree = create.GetNameState() == State::Free;
    context.exitCode = isFree ? ExitCode::Success : ExitCode::Failure;
    if (context.output.json)
        context.output.PrintJson({{"name", name}, {"free", isFree}});
    else if (isFree)
        context.output.PrintLine("\"" + name + "\" is free.");
    if (!isFree)
        context.output.Error(ForDisplay(create.GetNameText()));
}

void Share(const ShareArguments& arguments, Context& context)
{
    const auto login = LoginOf(arguments.place);
    FlowWait wait(context.output);
    SYC::CreateNewSyncraProject create(login, wait.Executors());
    if (arguments.onlyChecks)
        return CheckName(create, arguments.name, context);
    SYC::BrowseShareableProject browse(login, wait.Executors());
    browse.Refresh();
    wait.Require(browse);
    auto& data = create.GetData();
    data.SetProjectName(OV::FromUtf8(arguments.name));
    data.SetProjectDescription(OV::FromUtf8(arguments.description));
    data.SetCategory({OV::FromUtf8(arguments.category)});
    create.SetMembers(MembersOf(arguments, browse.GetServer()));
    create.Create();
    wait.Require(create);
    if (context.output.json)
        context.output.PrintJson({{"shared", true}, {"project", ForJson(data.GetProjectName())}});
    else
        context.output.PrintLine("Shared \"" + ForDisplay(data.GetProjectName()) +
                                 "\". Its members open it with \"syclient join\".");
}

struct FindArguments {
    std::uint32_t seconds = 1;

    void AddOptions(CLI::App& command)
    {
        command.add_option("--wait", seconds, "How long to listen to the local network")
            ->option_text("SECONDS")
            ->check(CLI::Range(0, 60))
            ->capture_default_str();
    }
};

void Find(const FindArguments& arguments, Context& context)
{
    FlowWait wait(context.output);
    SYC::SYClientProjectDiscovery discovery(context.DataFolder(), wait.Executors());
    discovery.Refresh();
    wait.Require(discovery);
    (void)SYCB::MessageLoop::RunUntil([] { return false; }, arguments.seconds * 1000);
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows{{"", "SERVER", "PORT", "USERS", "CACHED", "FROM"}};
    for (const auto& server : discovery.GetServers()) {
        std::string users;
        Json names = Json::array();
        for (const auto& user : server.users) {
            users += (users.empty() ? "" : ", ") + ForDisplay(user);
            names.push_back(ForJson(user));
        }
        list.push_back({{"server", ForJson(server.host)},
                        {"port", server.port == 0 ? Json(nullptr) : Json(server.port)},
                        {"users", std::move(names)},
                        {"cached", server.cachedProjects},
                        {"known", server.isKnown},
                        {"found", server.isFound},
                        {"last", server.isLast}});
        rows.push_back({server.isLast ? "*" : " ", ForDisplay(server.host),
                        PlainText(list.back()["port"]), users,
                        std::to_string(server.cachedProjects),
                        server.isKnown ? "this computer" : "the network"});
    }
    if (context.output.json)
        context.output.PrintJson({{"servers", std::move(list)}});
    else if (list.empty())
        context.output.PrintLine("No server is known here, and none tells of itself.");
    else
        context.output.PrintTable(rows);
}

}  // namespace

void DeclareBrowse(CLI::App& command, Context& context)
{
    DefineCommand(command, context, &Browse);
}

void DeclareJoin(CLI::App& command, Context& context)
{
    command.footer("A join that fails or is interrupted leaves neither a cache nor a session that "
                   "it made. Exit codes as of \"open\".");
    DefineCommand(command, context, &Join);
}

void DeclareLeave(CLI::App& command, Context& context)
{
    DefineCommand(command, context, &Leave);
}

void DeclareShare(CLI::App& command, Context& context)
{
    command.footer("\"syclient projects set\" changes its settings, \"syclient projects remove\" "
                   "deletes it.");
    DefineCommand(command, context, &Share);
}

void AddFindServers(CLI::App& server, Context& context)
{
    AddCommand(server, context, "find",
               "The servers that this computer knows, and those that tell of themselves in the "
               "local network",
               &Find);
}
