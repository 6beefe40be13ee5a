#include "MailCommands.hpp"

#include <CLI/CLI.hpp>

CLI::App* AddMailAction(CLI::App& mail, Context& context, const std::string& name,
                        const std::string& description, MailAction action)
{
    auto* command = mail.add_subcommand(name, description);
    const auto arguments = std::make_shared<ProjectArguments>();
    arguments->AddOptions(*command);
    command->callback([arguments, &context, action = std::move(action)] {
        ProjectHost host(context, *arguments);
        action(host, context);
    });
    return command;
}

OV::Ref<SYC::ClientMail> FindMail(ProjectHost& host, Context& context, const std::string& id)
{
    OV::Ref<SYC::ClientMail> mail;
    if (!host.Mails().GetMail(OV::FromUtf8(id), mail)) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("There is no mail \"" + id +
                             "\". \"syclient mail list\" shows the ids.");
    }
    return mail;
}

void AddMailCommand(CLI::App& app, Context& context)
{
    auto* mail =
        app.add_subcommand("mail", "Mails and ownership requests between the members of a project");
    mail->require_subcommand(1);
    mail->footer(
        "The project must have been opened by the user on this machine (\"syclient open\").\n"
        "Offline, list, read and outbox show what this machine has, send, reply and the\n"
        "requests wait in the outbox, and the exit code is 11.");
    AddMailReadCommands(*mail, context);
    AddMailSendCommands(*mail, context);
}
