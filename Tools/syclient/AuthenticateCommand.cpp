#include "Command.hpp"
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

struct AuthenticateArguments {
    ProjectArguments project;
    bool silent = false;

    void Resolve(Context& context) { project.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        project.AddOptions(command);
        command.add_flag("--silent", silent, "Ask nobody: refuse when the password differs");
    }
};

void RunAuthenticate(const AuthenticateArguments& arguments, Context& context)
{
    auto info = arguments.project.Describe();
    const std::string login = DescribeLogin(info);
    if (auto given = arguments.project.GivenPassword())
        info.password = std::move(*given);
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
        const bool accepted = SYC::AuthenticateOnCache(&manager, arguments.silent);
        Report(accepted, prompt.Asked(), login, context);
    } catch (const UserPasswordStore::UserIsNotInListException& error) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error(ForDisplay(error.GetMessage()) +
                             " \"syclient password set\" stores one.");
    }
}

}  // namespace

void DeclareAuthenticate(CLI::App& command, Context& context)
{
    command.footer("A password that differs, or is not given, is asked for on the terminal until "
                   "it is right; end of input\ngives up. Where no user is stored at all, everybody "
                   "is accepted. Exit codes: 0 accepted, 3 not cached, or\nno password stored for "
                   "this user and server, 12 refused.");
    DefineCommand(command, context, &RunAuthenticate);
}
