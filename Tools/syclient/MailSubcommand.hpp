#pragma once

#include "Command.hpp"
#include "ProjectHost.hpp"

#include <CLI/CLI.hpp>

/// Adds an action on the mails of a project, which the options name beside what the action itself
/// is told; it runs with the project's host.
template <class Arguments>
void AddMailSubcommand(CLI::App& mail, Context& context, const std::string& name,
                       const std::string& description,
                       void (*run)(ProjectHost&, Context&, const Arguments&),
                       Arguments initial = {})
{
    using OfProject = ArgumentsAt<ProjectArguments, Arguments>;
    DefineCommand(
        AddSubcommand(mail, name, description), context,
        [run](const OfProject& arguments, Context& shared) {
            ProjectHost host(shared, arguments.place);
            run(host, shared, arguments.own);
        },
        OfProject{{}, std::move(initial)});
}

/// Adds the option of one id or several, which may stand without its name beside the project's URL.
template <class Ids>
void AddMailIdOption(CLI::App& command, Ids& ids, const std::string& description)
{
    command.add_option("-i,--id,id", ids, description)->required()->option_text("ID");
    command.validate_positionals();
    command.get_option("url")->check(
        [](const std::string& text) {
            return text.find(':') == std::string::npos ? "\"" + text + "\" is no project URL"
                                                       : std::string();
        },
        "");
}

/// The mail of that id, or the only one whose id begins with those six or more letters; an error
/// message and null when there is none or more than one.
[[nodiscard]] OV::Ref<SYC::ClientMail> FindMailAmong(const SYC::MailClient::MailList& mails,
                                                     Context& context, const std::string& id);
/// The same in the box.
[[nodiscard]] OV::Ref<SYC::ClientMail> FindMail(ProjectHost& host, Context& context,
                                                const std::string& id);
