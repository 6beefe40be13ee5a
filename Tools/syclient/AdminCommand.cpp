#include "AdminCommands.hpp"

#include <CLI/CLI.hpp>

void AddAdminCommand(CLI::App& app, Context& context)
{
    auto* admin = app.add_subcommand(
        "admin", "Administer a server: its users, what they may do, and its projects");
    admin->require_subcommand(1);
    admin->footer(
        "\"admin KIND list\" and \"show NAME\" tell what there is, \"add NAME\", \"change "
        "NAME\" and\n\"delete NAME\" change it. Names count in any letter case.");
    AddAdminUserFamilies(*admin, context);
    AddAdminProjectFamilies(*admin, context);
}
