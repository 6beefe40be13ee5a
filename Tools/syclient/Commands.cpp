#include "Commands.hpp"

#include <CLI/CLI.hpp>

namespace {

struct Command {
    const char* name;
    const char* description;
    void (*declare)(CLI::App& command, Context& context);
};

constexpr Command Commands[] = {
    {"open",
     "Check a project and take or start its session: server, membership, replaced projects, "
     "session, cache",
     &DeclareOpen},
    {"close", "End the server session of an opened project", &DeclareClose},
    {"close-project",
     "Ask what becomes of local changes, as a host's dialog does, then end the session",
     &DeclareCloseProject},
    {"status", "Tell how a project stands, here and on its server, without touching its session",
     &DeclareStatus},
    {"cache", "What stands in the cache of a project", &DeclareCache},
    {"members", "The members of an opened project: who works in it, who is present",
     &DeclareMembers},
    {"mail", "Mails and ownership requests between the members of a project", &DeclareMail},
    {"log", "What users did in the projects of a server, and its load", &DeclareLog},
    {"server", "The servers and users of this machine", &DeclareServer},
    {"password", "The passwords that this machine keeps; \"server list\" tells for whom",
     &DeclarePassword},
    {"authenticate",
     "Hold the password of a cached project against the stored one, as a host does before it "
     "opens the project without its server",
     &DeclareAuthenticate},
    {"url", "Build a project URL, or take one apart", &DeclareUrl},
    {"projects",
     "A line for each project cached on this machine: how it stands, when it was last opened, how "
     "much room it takes; the projects of a server with a subcommand",
     &DeclareProjects},
    {"options", "Where this machine keeps its projects, and how hosts clean them up",
     &DeclareOptions},
    {"photo", "Fit a member's photo into a picture of any size, as mails and lists show it",
     &DeclarePhoto},
};

constexpr Command AdministrationCommands[] = {
    {"users", "The accounts of the server", &DeclareUsers},
    {"roles", "What members may do in a project", &DeclareRoles},
    {"groups", "Users who may do the same", &DeclareGroups},
    {"permissions", "What roles may allow", &DeclarePermissions},
    {"permission-sets", "Permissions that roles share", &DeclarePermissionSets},
    {"properties", "Fields that users have beside the usual ones", &DeclareProperties},
    {"categories", "The headings that lists show projects under", &DeclareCategories},
    {"modules", "Programs that work for the server", &DeclareModules},
};

CLI::App& Add(CLI::App& app, Context& context, const Command& command)
{
    CLI::App& added = *app.add_subcommand(command.name, command.description);
    added.preparse_callback(
        [declare = command.declare, &added, &context](std::size_t) { declare(added, context); });
    return added;
}

}  // namespace

void AddCommands(CLI::App& app, Context& context)
{
    for (const Command& command : Commands)
        Add(app, context, command);
    for (const Command& command : AdministrationCommands)
        Add(app, context, command).group("Administration of a server");
}
