#include "AdminCommands.hpp"
#include "AdminFields.hpp"

namespace {

using namespace AdminFields;
using namespace Management;
using ManagementCore::ProjectRepositoryManager;
using State = V1::ProjectStatus::State;

template <class Record>
using Family = AdminFamily<ProjectRepositoryManager, Record>;
template <class Record>
using Commands = AdminFamilyCommands<ProjectRepositoryManager, Record>;

AdminField<V2::Project> Category()
{
    return {
        "category",
        "category",
        "NAME",
        "The category that lists show it under; empty for none",
        [](const V2::Project& project, AdminSession&) { return ForJson(project.status.category); },
        [](V2::Project& project, const Values& values, AdminSession&) {
            project.status.category = OV::FromUtf8(values.back());
        }};
}

AdminField<V2::Project> Backups()
{
    return {
        "maximumBackups",
        "maximum-backups",
        "N",
        "How many automatic backups are kept",
        [](const V2::Project& project, AdminSession&) { return Json(project.maxBackupCounter); },
        [](V2::Project& project, const Values& values, AdminSession&) {
            project.maxBackupCounter = ParseNumber("maximum-backups", values.back());
        },
        false};
}

AdminField<V2::Project> Members()
{
    static const std::string placeholder = "LOGIN=ROLE";
    return {"members",
            "member",
            placeholder,
            "Makes a user a member with that role; no role takes him out. May be given again",
            [](const V2::Project& project, AdminSession& session) {
                std::map<std::string, Json> sorted;
                for (const auto& member : project.members)
                    sorted[OV::ToUtf8(session.users.NameOf(member.id))] =
                        ForJson(session.roles.NameOf(member.roleId));
                return Json(sorted);
            },
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
            false};
}

Family<V2::Project> Projects()
{
    using Manager = ProjectRepositoryManager;
    using Record = V2::Project;
    return {
        "projects",
        "project",
        "name",
        &Record::name,
        &AdminSession::Projects,
        &Manager::GetProjects,
        &Manager::FindProject,
        &Manager::InsertProject,
        &Manager::UpdateProject,
        &Manager::DeleteProject,
        {Text<Record>("description", "description", "What people should know about it",
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
             [](const Record& project, AdminSession&) { return ForJson(project.location); }, false),
         Backups(), Members()}};
}

Family<ProjectCategory> Categories()
{
    using Manager = ProjectRepositoryManager;
    return {"categories",
            "category",
            "name",
            &ProjectCategory::name,
            &AdminSession::Projects,
            &Manager::GetCustomProjectCategories,
            &Manager::FindCustomProjectCategory,
            &Manager::InsertCustomProjectCategory,
            &Manager::UpdateCustomProjectCategory,
            &Manager::DeleteCustomProjectCategory,
            {}};
}

Family<ConnectedModule> Modules()
{
    const auto shown = [](const std::string& name, OV::UniString ConnectedModule::*member) {
        return Shown<ConnectedModule>(name, [member](const ConnectedModule& module, AdminSession&) {
            return ForJson(module.*member);
        });
    };
    return {"modules",
            "module",
            "name",
            &ConnectedModule::name,
            &AdminSession::Projects,
            &ProjectRepositoryManager::GetConnectedModules,
            nullptr,
            nullptr,
            nullptr,
            nullptr,
            {shown("version", &ConnectedModule::version),
             shown("address", &ConnectedModule::address),
             Shown<ConnectedModule>("enabled", [](const ConnectedModule& module, AdminSession&) {
                 return Json(module.enabled);
             })}};
}

struct MergeArguments {
    std::string into;
    std::vector<std::string> from;
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
    Commands<ProjectCategory>::Tell(categories, session, "Merged into", into);
}

void AddMerge(CLI::App& categories, Context& context)
{
    const auto arguments = std::make_shared<MergeArguments>();
    auto* command =
        AddAdminAction(categories, context, "merge",
                       "Move the projects of some categories into another one, and delete those",
                       [arguments](AdminSession& session) { Merge(session, *arguments); });
    command->add_option("--into", arguments->into, "The category that stays")
        ->required()
        ->option_text("NAME");
    command->add_option("names", arguments->from, "The categories that go")
        ->required()
        ->option_text("NAME...");
}

}  // namespace

void AddProjectFamilies(CLI::App& app, Context& context)
{
    Commands<V2::Project>::Add(app, context, Projects(), "The projects of the server");
    auto* categories = Commands<ProjectCategory>::Add(
        app, context, Categories(), "The headings that lists show projects under");
    AddMerge(*categories, context);
    Commands<ConnectedModule>::Add(app, context, Modules(), "Programs that work for the server");
}
