#include "Commands.hpp"
#include "MailCommands.hpp"

#include <CLI/CLI.hpp>

void DeclareMail(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    command.footer(
        "The project must have been opened by the user on this machine (\"syclient open\").\n"
        "Offline, list, read and outbox show what this machine has, send, reply and the\n"
        "requests wait in the outbox, and the exit code is 11.");
    AddMailReadCommands(command, context);
    AddMailSendCommands(command, context);
}
