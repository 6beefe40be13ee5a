#pragma once

#include "Command.hpp"
#include "ProjectHost.hpp"

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

/// The mail of that id, or the only one whose id begins with those four or more letters; an error
/// message and null when there is none.
[[nodiscard]] OV::Ref<SYC::ClientMail> FindMailAmong(const SYC::MailClient::MailList& mails,
                                                     Context& context, const std::string& id);
/// The same in the box.
[[nodiscard]] OV::Ref<SYC::ClientMail> FindMail(ProjectHost& host, Context& context,
                                                const std::string& id);
