#include "AdminCommands.hpp"
#include "AdminFields.hpp"
#include "Commands.hpp"

namespace {

using namespace AdminFields;
using namespace Management;
using ManagementCore::ProjectRepositoryManager;
using State = V1::ProjectStatus::State;

template <class Record>
using Family = AdminFamily<ProjectRepositoryManager, Record>;
template <class Record>
using Actions = AdminFamilyActions<ProjectRepositoryManager, Record>;

Family<ProjectCategory> Categories();

AdminField<V2::Project> Category()
{
    return {.name = "category",
            .option = "category",
            .placeholder = "NAME",
            .help = "The category that lists show it under; empty for none",
            .read = [](const V2::Project& project,
                       AdminSession&) { return ForJson(project.status.category); },
            .write =
                [](V2::Project& project, const Values& values, AdminSession& session) {
                    const auto& name = values.back();
                    project.status.category =
                        name.empty() ? OV::UniString() : Categories().Find(session, name).name;
                }};
}

AdminField<V2::Project> Backups()
{
    return {.name = "maximumBackups",
            .option = "maximum-backups",
            .placeholder = "N",
            .help = "How many automatic backups are kept",
            .read = [](const V2::Project& project,
                       AdminSession&) { return Json(project.maxBackupCounter); },
            .write =
                [](V2::Project& project, const Values& values, AdminSession&) {
                    project.maxBackupCounter = ParseNumber("maximum-backups", values.back());
                },
            .isListed = false};
}

AdminField<V2::Project> Members()
{
    static const std::string placeholder = "LOGIN=ROLE";
    return {
        .name = "members",
        .option = "member",
        .placeholder = placeholder,
        .help =
            "Makes a user a member with that role; no role takes the user out. May be given again",
        .read =
            [](const V2::Project& project, AdminSession& session) {
                std::map<std::string, Json> sorted;
                for (const auto& member : project.members)
                    sorted[OV::ToUtf8(session.users.NameOf(member.id))] =
                        ForJson(session.roles.NameOf(member.roleId));
                return Json(sorted);
            },
        .write =
            [](V2::Project& project, const Values& values, AdminSession& session) {
                for (const auto& each : values) {
                    const auto [login, role] = SplitPair("member", each, placeholder);
                    const auto id = session.users.IdOf(login);
                    std::erase_if(project.members,
                                  [&id](const auto& member) { return member.id == id; });
                    if (!role.empty())
                        project.members.insert({id, session.roles.IdOf(role)});
                }
            },
        .isListed = false};
}

Family<V2::Project> Projects()
{
    using Manager = ProjectRepositoryManager;
    using Record = V2::Project;
    return {.word = "projects",
            .single = "project",
            .key = &Record::name,
            .manager = &AdminSession::Projects,
            .list = &Manager::GetProjects,
            .find = &Manager::FindProject,
            .insert = &Manager::InsertProject,
            .update = &Manager::UpdateProject,
            .remove = &Manager::DeleteProject,
            .fields = {
                Text<Record>("description", "description", "What people should know about it",
                             &Record::description, false),
                Category(),
                Word<Record, std::int32_t>(
                    "state", "Whether it may be worked on",
                    {{"locked", State::Locked},
                     {"maintenance", State::Maintenance},
                     {"active", State::Active}},
                    [](auto& project) -> std::int32_t& { return project.status.state; }),
                Text<Record>("dataVersion", "data-version", "The version of its data format",
                             &Record::version),
                Shown<Record>(
                    "location",
                    [](const Record& project, AdminSession&) { return ForJson(project.location); },
                    false),
                Backups(), Members()}};
}

Family<ProjectCategory> Categories()
{
    using Manager = ProjectRepositoryManager;
    return {.word = "categories",
            .single = "category",
            .key = &ProjectCategory::name,
            .manager = &AdminSession::Projects,
            .list = &Manager::GetCustomProjectCategories,
            .find = &Manager::FindCustomProjectCategory,
            .insert = &Manager::InsertCustomProjectCategory,
            .update = &Manager::UpdateCustomProjectCategory,
            .remove = &Manager::DeleteCustomProjectCategory};
}

Family<ConnectedModule> Modules()
{
    const auto shown = [](const std::string& name, OV::UniString ConnectedModule::*member) {
        return Shown<ConnectedModule>(name, [member](const ConnectedModule& module, AdminSession&) {
            return ForJson(module.*member);
        });
    };
    return {.word = "modules",
            .single = "module",
            .key = &ConnectedModule::name,
            .manager = &AdminSession::Projects,
            .list = &ProjectRepositoryManager::GetConnectedModules,
            .fields = {
                shown("version", &ConnectedModule::version),
                shown("address", &ConnectedModule::address),
                Shown<ConnectedModule>("enabled", [](const ConnectedModule& module, AdminSession&) {
                    return Json(module.enabled);
                })}};
}

struct MergeArguments {
    std::string into;
    std::vector<std::string> from;

    void AddOptions(CLI::App& command)
    {
        command.add_option("--into", into, "The category that stays")
            ->required()
            ->option_text("NAME");
        command.add_option("names", from, "The categories that go")
            ->required()
            ->option_text("NAME...");
    }
};

void Merge(AdminSession& session, const MergeArguments& arguments)
{
    const auto categories = Categories();
    const ProjectCategory into = categories.Find(session, arguments.into);
    OV::Array<OV::UniString> from;
    for (const auto& name : arguments.from)
        from.push_back(categories.Find(session, name).id);
    session.Do(session.Projects(), &ProjectRepositoryManager::MergeCustomProjectCategories, from,
               into.id);
    Actions<ProjectCategory>::Tell(categories, session, "Merged into", into);
}

/// One member of a project, the others left as they are.
struct MemberArguments {
    enum class Change { Add, SetRole, Remove };
    Change change = Change::Add;
    std::string project{};
    std::string user{};
    std::string role{};
    bool yes = false;

    void AddOptions(CLI::App& command)
    {
        const auto add = [&](const char* name, const char* help, std::string& value) {
            command.add_option(name, value, help)->required()->option_text(HeadingOf(name));
        };
        add("name", "The name of the project", project);
        add("user", "The login name of the user", user);
        if (change == Change::Remove)
            command.add_flag("-y,--yes", yes, "Do not ask");
        else
            add("role", "The name of the role", role);
    }
};

void ChangeMember(AdminSession& session, const MemberArguments& arguments)
{
    using Change = MemberArguments::Change;
    const auto project = Projects().Find(session, arguments.project);
    const auto user = OV::FromUtf8(arguments.user);
    const auto role = OV::FromUtf8(arguments.role);
    const auto words = ForDisplay(user) +
                       (arguments.change == Change::Remove ? " is no member of \""
                                                           : " is " + ForDisplay(role) + " in \"") +
                       ForDisplay(project.name) + "\".";
    auto& manager = session.Projects();
    switch (arguments.change) {
    case Change::Add:
        session.Do(manager, &ProjectRepositoryManager::AddMember, project.id, user, role);
        break;
    case Change::SetRole:
        session.Do(manager, &ProjectRepositoryManager::SetMemberRole, project.id, user, role);
        break;
    case Change::Remove:
        if (!arguments.yes)
            Question::Require("Take " + ForDisplay(user) + " out of \"" + ForDisplay(project.name) +
                              "\"? That ends his session and deletes his mails.");
        session.Do(manager, &ProjectRepositoryManager::RemoveMember, project.id, user);
        break;
    }
    const Output& output = session.GetContext().output;
    if (output.json)
        output.PrintJson({{"project", ForJson(project.name)},
                          {"user", ForJson(user)},
                          {"role", ForJsonOrNull(role)}});
    else
        output.PrintLine(words);
}

void AddMemberActions(CLI::App& projects, Context& context)
{
    using Change = MemberArguments::Change;
    auto& members = AddSubcommand(projects, "members", "The members of a project, one by one");
    members.require_subcommand(1);
    AddAdminAction(members, context, "add", "Make a user a member", &ChangeMember,
                   {.change = Change::Add});
    AddAdminAction(members, context, "role", "Give a member another role", &ChangeMember,
                   {.change = Change::SetRole});
    AddAdminAction(members, context, "remove",
                   "Take a member out, which ends his session and deletes his mails", &ChangeMember,
                   {.change = Change::Remove});
}

}  // namespace

void AddProjectActions(CLI::App& projects, Context& context)
{
    Actions<V2::Project>::Add(projects, context, Projects());
    AddMemberActions(projects, context);
}

void DeclareCategories(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    Actions<ProjectCategory>::Add(command, context, Categories());
    AddAdminAction(command, context, "merge",
                   "Move the projects of some categories into another one, and delete those",
                   &Merge);
}

void DeclareModules(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    Actions<ConnectedModule>::Add(command, context, Modules());
}
