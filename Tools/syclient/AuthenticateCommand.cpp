#include "Commands.hpp"

#include "AuthenticateOnCache.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "ManagementTool/UserPasswordStore.hpp"
#include "OVRoot/Terminal.hpp"
#include "ProjectArguments.hpp"
#include "SyncraURL.hpp"
#include "UserInterface/AuthenticationFailedDialog.hpp"

#include <CLI/CLI.hpp>

#include <memory>

namespace {

using Syncra::Server::ManagementTool::Core::UserPasswordStore;
using Syncra::Server::ManagementTool::GUI::AuthenticationFailedDialog;

/// Asks on the terminal what the dialog asks, at its next opening and all after it.
class TerminalPrompt {
public:
    explicit TerminalPrompt(std::string promptFor) : promptFor_(std::move(promptFor)) { Expect(); }

    [[nodiscard]] int Asked() const noexcept { return asked_; }

private:
    void Expect()
    {
        toolkit_.AddScript(AuthenticationFailedDialog::Number,
                           [this](Dlg::HeadlessDialog& dialog) { Ask(dialog); });
    }

    void Ask(Dlg::HeadlessDialog& dialog)
    {
        Expect();
        auto typed = OV::Terminal::ReadPassword((asked_ > 0 ? "That is not it. " : "") +
                                                ("Password of " + promptFor_ + ": "));
        if (!typed) {
            dialog.Leave();
            return;
        }
        ++asked_;
        const OV::SecureWipeGuard<char> wipeTyped(*typed);
        OV::UniString password = OV::FromUtf8(*typed);
        const OV::SecureWipeGuard<char16_t> wipe(password);
        dialog.Type(AuthenticationFailedDialog::PasswordEdit, password);
        dialog.Press(AuthenticationFailedDialog::OkButton);
    }

    Dlg::HeadlessToolkit toolkit_;
    std::string promptFor_;
    int asked_ = 0;
};

void Report(bool accepted, int asked, const std::string& login, Context& context)
{
    context.exitCode = accepted ? ExitCode::Success : ExitCode::AccessDenied;
    if (context.output.json)
        context.output.PrintJson({{"accepted", accepted}, {"asked", asked}});
    else if (accepted)
        context.output.PrintLine("Accepted " + login + ".");
    else
        context.output.Error("Refused: the password of " + login + " is not the stored one.");
}

void RunAuthenticate(const ProjectArguments& arguments, bool silent, Context& context)
{
    auto info = arguments.Describe();
    const std::string login = DescribeLogin(info);
    if (arguments.server.password.IsGiven())
        info.password = arguments.server.password.Read(login);
    SYC::ClientProjectConnectionManager manager(SYC::ToSyncraLocation(info), context.DataFolder(),
                                                {});
    if (!manager.FindCache()) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("\"" + ForDisplay(info.projectName) + "\" is not cached for " + login +
                             " in \"" + ForDisplay(context.DataFolder().ToPath()) + "\".");
        return;
    }
    const TerminalPrompt prompt(login);
    try {
        const bool accepted = SYC::AuthenticateOnCache(&manager, silent);
        Report(accepted, prompt.Asked(), login, context);
    } catch (const UserPasswordStore::UserIsNotInListException& error) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error(ForDisplay(error.GetMessage()) +
                             " \"syclient password set\" stores one.");
    }
}

}  // namespace

void AddAuthenticateCommand(CLI::App& app, Context& context)
{
    auto* command = app.add_subcommand(
        "authenticate", "Hold the password of a cached project against the stored one, as a host "
                        "does before it opens the project without its server");
    const auto arguments = std::make_shared<ProjectArguments>();
    arguments->AddOptions(*command);
    const auto silent = std::make_shared<bool>(false);
    command->add_flag("--silent", *silent, "Ask nobody: refuse when the password differs");
    command->footer(
        "A password that differs, or is not given, is asked for on the terminal until "
        "it is right; end of input\ngives up. Where no user is stored at all, everybody "
        "is accepted. Exit codes: 0 accepted, 3 not cached, or\nno password stored for "
        "this user and server, 12 refused.");
    command->callback([=, &context] { RunAuthenticate(*arguments, *silent, context); });
}
