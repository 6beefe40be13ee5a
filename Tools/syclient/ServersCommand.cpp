#include "Commands.hpp"

#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/Exception.hpp"
#include "PasswordSource.hpp"
#include "SYClientBase/ConnectionValidator.hpp"

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

namespace {

using Syncra::Server::ManagementTool::GUI::SyncraInfo;

struct AddArguments {
    std::string server;
    std::string user;
    PasswordSource password;
    bool isDefault = false;
};

struct SetArguments {
    std::optional<std::string> lastServer;
    std::optional<std::string> lastUser;
    std::optional<bool> messages;
};

/// Servers that the file of the previous version named; known until the first change is saved.
Json ConvertedServers()
{
    Json servers = Json::array();
    for (const auto& server : SYCB::ConnectionValidator::GetInstance().GetWorkingConnections())
        servers.push_back({{"server", ForJson(server.host)}, {"port", server.port}});
    return servers;
}

Json UsersOf(const SyncraInfo& info)
{
    Json users = Json::array();
    for (const auto& user : info.GetUserList()) {
        Json servers = Json::array();
        for (const auto& server : info.GetServerList(user))
            servers.push_back(ForJson(server));
        users.push_back({{"user", ForJson(user)},
                         {"hasDefaultPassword", info.IsUserInDefaultList(user)},
                         {"servers", servers}});
    }
    return users;
}

void PrintUsers(const SyncraInfo& info, const Output& output)
{
    std::vector<std::vector<std::string>> rows{{"USER", "DEFAULT PASSWORD", "SERVERS"}};
    for (const auto& user : info.GetUserList()) {
        std::string servers;
        for (const auto& server : info.GetServerList(user))
            servers += (servers.empty() ? "" : ", ") + ForDisplay(server);
        rows.push_back({ForDisplay(user), info.IsUserInDefaultList(user) ? "yes" : "no", servers});
    }
    if (rows.size() == 1)
        output.PrintLine("No password is stored.");
    else
        output.PrintTable(rows);
}

void List(const Context& context)
{
    const SyncraInfo info;
    if (context.output.json) {
        context.output.PrintJson({{"file", ForJson(info.GetFileLocation().ToPath())},
                                  {"lastServer", ForJson(info.GetLastServerName())},
                                  {"lastUser", ForJson(info.GetLastUserName())},
                                  {"messages", info.GetMessageSetting()},
                                  {"users", UsersOf(info)},
                                  {"convertedServers", ConvertedServers()}});
        return;
    }
    std::string converted;
    for (const auto& server : ConvertedServers())
        converted += (converted.empty() ? "" : ", ") + server["server"].get<std::string>() + ":" +
                     server["port"].dump();
    context.output.PrintFields({{"file", ForDisplay(info.GetFileLocation().ToPath())},
                                {"last server", ForDisplay(info.GetLastServerName())},
                                {"last user", ForDisplay(info.GetLastUserName())},
                                {"messages", info.GetMessageSetting() ? "on" : "off"},
                                {"of the previous version", converted}});
    PrintUsers(info, context.output);
}

void Finish(const Context& context, const std::string& done, Json json)
{
    if (context.output.json)
        context.output.PrintJson(json);
    else
        context.output.PrintLine(done);
}

void Add(const AddArguments& arguments, const Context& context)
{
    const auto user = OV::FromUtf8(arguments.user), server = OV::FromUtf8(arguments.server);
    const std::string login = ForDisplay(user) + " on " + ForDisplay(server);
    // Asked for before the file is locked: a person takes his time.
    OV::UniString password = arguments.password.Read(login);
    const OV::SecureWipeGuard<char16_t> wipe(password);
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
                             "\" is stored. \"syclient servers list\" names those there are.");
        return;
    }
    known.Update([&](SyncraInfo& info) { info.RemoveUser(user); });
    Finish(context, "Forgot the passwords of " + ForDisplay(user) + ".",
           {{"forgotten", true}, {"user", ForJson(user)}});
}

void Set(const SetArguments& arguments, Context& context)
{
    const auto lastUser = OV::FromUtf8(arguments.lastUser.value_or(""));
    SyncraInfo known;
    if (!lastUser.empty() && !known.IsUserInDefaultList(lastUser)) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("\"" + ForDisplay(lastUser) +
                             "\" has no default password and is not remembered. "
                             "\"syclient servers add --default\" stores one.");
        return;
    }
    known.Update([&](SyncraInfo& info) {
        if (arguments.lastServer)
            info.SetLastServerName(OV::FromUtf8(*arguments.lastServer));
        if (arguments.lastUser)
            info.SetLastUserName(lastUser);
        if (arguments.messages)
            info.SetMessageSetting(*arguments.messages);
    });
    List(context);
}

void AddAddCommand(CLI::App& servers, Context& context)
{
    auto* command = servers.add_subcommand(
        "add", "Store, or replace, the password of a user on a server; coded, for you on this "
               "machine only");
    const auto arguments = std::make_shared<AddArguments>();
    command->add_option("-s,--server", arguments->server, "Server: host name or address")
        ->required()
        ->option_text("HOST");
    command->add_option("-u,--user", arguments->user, "Login name")
        ->required()
        ->option_text("NAME");
    command->add_flag("--default", arguments->isDefault,
                      "Also make it the user's default password");
    arguments->password.AddOptions(*command);
    command->callback([arguments, &context] { Add(*arguments, context); });
}

void AddSetCommand(CLI::App& servers, Context& context)
{
    auto* command = servers.add_subcommand("set", "Change what is remembered beside passwords");
    const auto arguments = std::make_shared<SetArguments>();
    command->add_option("--last-server", arguments->lastServer, "The last server; empty for none")
        ->option_text("HOST");
    command
        ->add_option("--last-user", arguments->lastUser,
                     "The last user, who needs a default password; empty for none")
        ->option_text("NAME");
    command->add_option("--messages", arguments->messages, "The message setting")
        ->option_text("on|off");
    command->callback([arguments, &context] { Set(*arguments, context); });
}

}  // namespace

void AddServersCommand(CLI::App& app, Context& context)
{
    auto* command = app.add_subcommand(
        "servers", "The servers and users that this machine remembers, and their passwords");
    command->require_subcommand(1);
    command
        ->add_subcommand("list", "Last server and user, message setting, and who has a password "
                                 "where; no password is shown")
        ->callback([&context] { List(context); });
    AddAddCommand(*command, context);
    auto* forget = command->add_subcommand("forget", "Forget all passwords of a user");
    const auto user = std::make_shared<std::string>();
    forget->add_option("user", *user, "Login name")->required()->option_text("NAME");
    forget->callback([user, &context] { Forget(*user, context); });
    AddSetCommand(*command, context);
}
