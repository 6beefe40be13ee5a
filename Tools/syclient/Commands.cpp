#include "Commands.hpp"

#include <CLI/CLI.hpp>

namespace {

struct Command {
    const char* name;
    const char* description;
    void (*declare)(CLI::App& command, Context& context);
};

constexpr Command Commands[] = {
    {"login",
     "Sign in once: this computer remembers server, login and project, and on wish the password",
     &DeclareLogin},
    {"profile", "What was remembered of servers, logins and projects", &DeclareProfile},
    {"whoami", "Who you are on the server: your name there, and the groups that you are in",
     &DeclareWhoAmI},
    {"browse",
     "The projects of a server that you may see: how each stands there and here, who works in it",
     &DeclareBrowse},
    {"join",
     "Join a project: make its cache, take or start its session, fetch its members and mails",
     &DeclareJoin},
    {"leave", "Leave a project on this computer: end its session and remove its cache",
     &DeclareLeave},
    {"share", "Share a new project on a server", &DeclareShare},
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
    {"password",
     "Your password on the server, and those that this machine keeps; \"server list\" tells for "
     "whom",
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
    {"diagnose",
     "What who helps needs to know: versions, the way to the server, caches, locks and the log; no "
     "secrets",
     &DeclareDiagnose},
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
    {"sessions", "Who works in which project, since when and where", &DeclareSessions},
    {"modules", "Programs that work for the server", &DeclareModules},
};

constexpr Command HiddenCommands[] = {
    {"completion", "Let a shell complete the words of a command line", &DeclareCompletion},
    {"manual", "The manual page, as man reads it", &DeclareManual},
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
    for (const Command& command : HiddenCommands)
        Add(app, context, command).group("");
}

void DeclareBelow(CLI::App& command, Context& context)
{
    const auto declare = [&](const auto& commands) {
        for (const Command& each : commands)
            if (each.name == command.get_name() && command.get_parent() != nullptr &&
                command.get_parent()->get_parent() == nullptr && command.count() == 0 &&
                command.get_subcommands(nullptr).empty() && command.get_options().size() <= 1)
                each.declare(command, context);
    };
    declare(Commands);
    declare(AdministrationCommands);
}
