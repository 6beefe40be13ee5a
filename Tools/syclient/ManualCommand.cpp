#include "Command.hpp"
#include "CommandTree.hpp"
#include "Commands.hpp"

#include "Context.hpp"

#include <CLI/CLI.hpp>

#include <iostream>

namespace {

using namespace CommandTree;

/// As roff reads it: what begins a line or a letter with a meaning is marked.
std::string Roff(const std::string& text)
{
    std::string marked;
    for (const char c : text) {
        if (c == '\\')
            marked += "\\e";
        else if (c == '-')
            marked += "\\-";
        else if (c == '\n')
            marked += ' ';
        else
            marked += (c == '.' || c == '\'') && marked.empty() ? "\\&" + std::string(1, c)
                                                                : std::string(1, c);
    }
    return marked;
}

void PrintOption(const CLI::Option& option)
{
    std::string names;
    for (const auto& name : option.get_snames())
        names += "\\fB\\-" + name + "\\fR, ";
    for (const auto& name : option.get_lnames())
        names += "\\fB\\-\\-" + Roff(name) + "\\fR, ";
    names.erase(names.size() < 2 ? 0 : names.size() - 2);
    if (TakesValue(option))
        names += std::string(names.empty() ? "" : " ") + "\\fI" + Roff(option.get_option_text()) +
                 "\\fR";
    std::cout << ".TP\n" << names << '\n' << Roff(option.get_description()) << ".\n";
}

void PrintOptions(const CLI::App& command)
{
    for (const CLI::Option* option : OptionsOf(command))
        if (option->get_name() != "--help")
            PrintOption(*option);
}

void PrintCommand(const CLI::App& command, Context& context)
{
    DeclareBelow(const_cast<CLI::App&>(command), context);
    const auto below = CommandsOf(command);
    if (below.empty() || command.get_require_subcommand_min() == 0) {
        std::cout << ".SS " << Roff(PathOf(command)) << '\n'
                  << Roff(command.get_description()) << ".\n";
        PrintOptions(command);
        if (const auto footer = command.get_footer(); !footer.empty())
            std::cout << ".PP\n" << Roff(footer) << '\n';
    }
    for (const CLI::App* each : below)
        PrintCommand(*each, context);
}

struct ManualArguments {
    const CLI::App* root = nullptr;

    static void AddOptions(CLI::App&) {}
};

void PrintManual(const ManualArguments& arguments, Context& context)
{
    const CLI::App& root = *arguments.root;
    std::cout << ".TH SYCLIENT 1 \"\" \"SYClient " SYCLIENT_VERSION "\" \"User Commands\"\n"
                 ".SH NAME\nsyclient \\- work with shared projects on a Nexar Server from a shell\n"
                 ".SH SYNOPSIS\n.B syclient\n[\\fIOPTION\\fR...] \\fICOMMAND\\fR "
                 "[\\fIARGUMENT\\fR...]\n.SH OPTIONS\n";
    PrintOptions(root);
    std::cout << ".SH COMMANDS\n";
    for (const CLI::App* each : CommandsOf(root))
        PrintCommand(*each, context);
    std::cout << ".SH ENVIRONMENT\n.TP\n\\fBSYCLIENT_SERVER\\fR, \\fBSYCLIENT_PORT\\fR, "
                 "\\fBSYCLIENT_USER\\fR, \\fBSYCLIENT_PROJECT\\fR\nWhat no option and no "
                 "\\fB\\-\\-profile\\fR names.\n.TP\n\\fBSYCLIENT_PROFILE\\fR\nThe profile that is "
                 "used in the place of the current one.\n.TP\n\\fBSYCLIENT_PASSWORD_FILE\\fR\nThe "
                 "file whose first line is the password.\n.TP\n\\fBNO_COLOR\\fR\nNo colours.\n"
                 ".SH EXIT STATUS\n";
    for (const ExitCode exitCode :
         {ExitCode::Success, ExitCode::Failure, ExitCode::Usage, ExitCode::NotFound,
          ExitCode::Offline, ExitCode::AccessDenied, ExitCode::SessionInUse,
          ExitCode::ProjectMismatch, ExitCode::ProjectNotFound, ExitCode::ForbiddenByState,
          ExitCode::IncompatibleVersion, ExitCode::Interrupted, ExitCode::Terminated})
        std::cout << ".TP\n\\fB" << static_cast<int>(exitCode) << "\\fR\n"
                  << Roff(WordOf(exitCode)) << '\n';
    std::cout << ".SH SEE ALSO\n.BR syclient\\-desktop (1),\n.BR nexar\\-server (8)\n";
}

}  // namespace

void DeclareManual(CLI::App& command, Context& context)
{
    DefineCommand<ManualArguments>(
        command, context,
        [](const ManualArguments& arguments, Context& shared) { PrintManual(arguments, shared); },
        {command.get_parent()});
}
