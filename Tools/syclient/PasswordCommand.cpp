#include "AdminSession.hpp"
#include "Command.hpp"
#include "Commands.hpp"

#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/Exception.hpp"
#include "ServerArguments.hpp"

#include <CLI/CLI.hpp>

namespace {

using Syncra::Server::ManagementTool::GUI::SyncraInfo;

struct SetArguments : ServerArguments {
    bool isDefault = false;

    void Resolve(Context& context) { (void)Fill(context, Options(), Connection::Needs::Login); }

    void AddOptions(CLI::App& command)
    {
        command.add_option("-s,--server", server, "Server: host name or address")
            ->option_text("HOST");
        command.add_option("-u,--user", user, "Login name")->option_text("NAME");
        command.add_flag("--default", isDefault, "Also make it the user's default password");
        password.AddOptions(command);
    }
};

struct ForgetArguments {
    std::string user;

    void AddOptions(CLI::App& command)
    {
        command.add_option("user", user, "Login name")->required()->option_text("NAME");
    }
};

void Finish(const Context& context, const std::string& done, Json json)
{
    if (context.output.json)
        context.output.PrintJson(json);
    else
        context.output.PrintLine(done);
}

void Set(const SetArguments& arguments, Context& context)
{
    const auto user = OV::FromUtf8(arguments.user), server = OV::FromUtf8(arguments.server);
    const std::string login = ForDisplay(user) + " on " + ForDisplay(server);
    if (user.empty() || server.empty())
        throw OV::IllegalArgumentException(
            OV::StringView("Name the server and the user, or sign in with \"syclient login\"."));
    // Asked for before the file is locked: a person takes his time.
    const OV::Secret password = arguments.password.Read(login);
    if (password.empty())
        throw OV::IllegalArgumentException(
            OV::StringView("Nothing is stored: the password must not be empty."));
    SyncraInfo().Update([&](SyncraInfo& info) {
        info.AddUser(user, server, password);
        if (arguments.isDefault)
            info.SetUserDefaultPassword(user, password);
    });
    Finish(context, "Stored the password of " + login + ".",
           {{"stored", true}, {"user", ForJson(user)}, {"server", ForJson(server)}});
}

struct ChangeArguments {
    PasswordSource source;

    void AddOptions(CLI::App& command) { source.AddOptions(command, "new-"); }
};

/// What this computer keeps for that server is the new password from then on.
void Change(AdminSession& session, const ChangeArguments& arguments)
{
    const auto user = OV::FromUtf8(session.Server().user);
    const auto server = OV::FromUtf8(session.Server().server);
    const OV::Secret password = arguments.source.ReadNew(ForDisplay(user));
    session.Do(session.Users(), &ManagementCore::UserRepositoryManager::SetUserPassword, user,
               password);
    if (SyncraInfo().IsUserInServerList(user, server))
        SyncraInfo().Update([&](SyncraInfo& info) { info.AddUser(user, server, password); });
    Finish(session.GetContext(),
           "Changed the password of " + ForDisplay(user) + " on " + ForDisplay(server) + ".",
           {{"changed", true}, {"user", ForJson(user)}, {"server", ForJson(server)}});
}

void Forget(const ForgetArguments& arguments, Context& context)
{
    const auto user = OV::FromUtf8(arguments.user);
    SyncraInfo known;
    if (!known.IsUserInList(user)) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("No password of \"" + ForDisplay(user) +
                             "\" is stored. \"syclient server list\" names those there are.");
        return;
    }
    known.Update([&](SyncraInfo& info) { info.RemoveUser(user); });
    Finish(context, "Forgot the passwords of " + ForDisplay(user) + ".",
           {{"forgotten", true}, {"user", ForJson(user)}});
}

}  // namespace

void DeclarePassword(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    AddCommand(command, context, "set",
               "Store, or replace, the password of a user on a server; coded, for you on this "
               "machine only",
               &Set);
    AddAdminAction(command, context, "change",
                   "Change your own password on the server, which signs you out everywhere else",
                   &Change);
    AddCommand(command, context, "forget", "Forget all passwords of a user", &Forget);
}
