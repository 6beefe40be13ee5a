#include "Commands.hpp"

#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/Exception.hpp"
#include "PasswordSource.hpp"

#include <CLI/CLI.hpp>

#include <memory>

namespace {

using Syncra::Server::ManagementTool::GUI::SyncraInfo;

struct SetArguments {
    std::string server;
    std::string user;
    PasswordSource password;
    bool isDefault = false;
};

void Finish(const Context& context, const std::string& done, Json json)
{
    if (context.output.json)
        context.output.PrintJson(json);
    else
        context.output.PrintLine(done);
}

void Set(const SetArguments& arguments, const Context& context)
{
    const auto user = OV::FromUtf8(arguments.user), server = OV::FromUtf8(arguments.server);
    const std::string login = ForDisplay(user) + " on " + ForDisplay(server);
    // Asked for before the file is locked: a person takes his time.
    const OV::Secret password = arguments.password.Read(login);
    if (user.empty() || server.empty() || password.empty())
        throw OV::IllegalArgumentException(
            OV::StringView("Nothing is stored: user, server and password must not be empty."));
    SyncraInfo().Update([&](SyncraInfo& info) {
        info.AddUser(user, server, password);
        if (arguments.isDefault)
            info.SetUserDefaultPassword(user, password);
    });
    Finish(context, "Stored the password of " + login + ".",
           {{"stored", true}, {"user", ForJson(user)}, {"server", ForJson(server)}});
}

void Forget(const std::string& name, Context& context)
{
    const auto user = OV::FromUtf8(name);
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

void AddSetCommand(CLI::App& passwords, Context& context)
{
    auto* command = passwords.add_subcommand(
        "set", "Store, or replace, the password of a user on a server; coded, for you on this "
               "machine only");
    const auto arguments = std::make_shared<SetArguments>();
    command->add_option("-s,--server", arguments->server, "Server: host name or address")
        ->required()
        ->option_text("HOST");
    command->add_option("-u,--user", arguments->user, "Login name")
        ->required()
        ->option_text("NAME");
    command->add_flag("--default", arguments->isDefault,
                      "Also make it the user's default password");
    arguments->password.AddOptions(*command);
    command->callback([arguments, &context] { Set(*arguments, context); });
}

}  // namespace

void AddPasswordCommand(CLI::App& app, Context& context)
{
    auto* command = app.add_subcommand(
        "password", "The passwords that this machine keeps; \"server list\" tells for whom");
    command->require_subcommand(1);
    AddSetCommand(*command, context);
    auto* forget = command->add_subcommand("forget", "Forget all passwords of a user");
    const auto user = std::make_shared<std::string>();
    forget->add_option("user", *user, "Login name")->required()->option_text("NAME");
    forget->callback([user, &context] { Forget(*user, context); });
}
