#include "Command.hpp"
#include "Commands.hpp"

#include "ManagementTool/ServerConnectionManager.hpp"
#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/Exception.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "ServerArguments.hpp"
#include "SyncraProtocol/ErrorCode.hpp"
#include "TerminalWait.hpp"
#include "UserInterface/SetServerConnectionTask.hpp"

#include <CLI/CLI.hpp>

#include <optional>

namespace {

namespace ManagementCore = Syncra::Server::ManagementTool::Core;
using Syncra::Server::ManagementTool::GUI::SetServerConnectionTask;
using Syncra::Server::ManagementTool::GUI::SyncraInfo;

struct ConnectArguments {
    ServerArguments server;
    ManagementCore::UserGroupType::Value group = ManagementCore::UserGroupType::AnyUser;
    bool anyVersion = false;

    void Resolve(Context& context) { server.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        server.AddOptions(command);
        using Group = ManagementCore::UserGroupType;
        const std::map<std::string, Group::Value> groups{
            {"any", Group::AnyUser},
            {"administrators", Group::Administrators},
            {"project-managers", Group::ProjectManagers},
            {"workflow-managers", Group::ProjectWorkflowManagers}};
        command.add_option("--group", group, "The group that you must belong to")
            ->transform(CLI::CheckedTransformer(groups).description(""))
            ->option_text("any|administrators|project-managers|workflow-managers");
        command.add_flag("--any-version", anyVersion,
                         "Also a server that speaks another version of the protocol");
    }
};

struct SetArguments {
    std::optional<std::string> lastServer;
    std::optional<std::string> lastUser;
    std::optional<bool> messages;

    void AddOptions(CLI::App& command)
    {
        command.add_option("--last-server", lastServer, "The last server; empty for none")
            ->option_text("HOST");
        command
            .add_option("--last-user", lastUser,
                        "The last user, who needs a default password; empty for none")
            ->option_text("NAME");
        command.add_option("--messages", messages, "The message setting")->option_text("on|off");
    }
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

void List(const NoArguments&, Context& context)
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

void Set(const SetArguments& arguments, Context& context)
{
    const auto lastUser = OV::FromUtf8(arguments.lastUser.value_or(""));
    SyncraInfo known;
    if (!lastUser.empty() && !known.IsUserInDefaultList(lastUser)) {
        context.exitCode = ExitCode::NotFound;
        context.output.Error("\"" + ForDisplay(lastUser) +
                             "\" has no default password and is not remembered. "
                             "\"syclient password set --default\" stores one.");
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
    List({}, context);
}

/// What the task found out, as an exit code and the words for it.
std::pair<ExitCode, std::string> Judge(const SetServerConnectionTask& task,
                                       const ConnectArguments& arguments)
{
    const std::string login = arguments.server.Describe();
    if (!task.HasServerConnectionSucceeded())
        return {ExitCode::Offline,
                "No server that is trusted answers where " + login +
                    " is to be. Look at host name and port, and whether it runs."};
    if (!task.IsServerCompatible())
        return {ExitCode::IncompatibleVersion,
                "The server speaks another version of the protocol; --any-version tries it."};
    if (!task.HasUserAuthenticationSucceeded())
        return {ExitCode::AccessDenied,
                "Refused as " + login + ": wrong login, or not in the group asked for."};
    return {ExitCode::Success, "Connected as " + login + "."};
}

/// The management and the messaging service take a login as well, and nothing else that commands
/// ask for. Throws CommandFailure.
void RequireModelPort(const ConnectArguments& arguments, const OV::Secret& password)
{
    const ServerArguments& server = arguments.server;
    try {
        (void)SYCB::CreateSyncraClient({OV::FromUtf8(server.server), server.port,
                                        OV::FromUtf8(server.user), password, arguments.anyVersion})
            ->GetServicePortList();
    } catch (const Communication::ResponseContentException& refusal) {
        using Syncra::Protocol::ErrorCode;
        if (refusal.GetErrorCode() == static_cast<std::int32_t>(ErrorCode::NoSuchRoute))
            throw CommandFailure(ExitCode::Usage,
                                 u"Port " + OV::ToText(server.port) +
                                     u" is another service of the server; its model port, mostly "
                                     u"19001, is the one that is needed.");
        throw;
    }
}

/// Makes the server the current one and remembers it.
std::uint16_t Choose(const ServerArguments& server, const OV::Secret& password)
{
    auto& tool = ManagementCore::ServerConnectionManager::GetInstance();
    tool.SetUserName(OV::FromUtf8(server.user));
    tool.SetPassword(password);
    tool.SetConnection(OV::FromUtf8(server.server), static_cast<short>(server.port),
                       ManagementCore::ConnectionType::FullConnection);
    SyncraInfo().Update(
        [&](SyncraInfo& info) { info.SetLastServerName(OV::FromUtf8(server.server)); });
    return static_cast<std::uint16_t>(tool.GetManagementPort());
}

void Connect(const ConnectArguments& arguments, Context& context)
{
    const ServerArguments& server = arguments.server;
    const OV::Secret password = server.ReadPassword();
    const auto task = OV::MakeRef<SetServerConnectionTask>(
        OV::FromUtf8(server.server), static_cast<short>(server.port), OV::FromUtf8(server.user),
        password, arguments.group, arguments.anyVersion);
    TerminalWait wait(context.output);
    const bool done = wait.ExecuteTask(task, nullptr, TerminalWait::UsualDelayMilliseconds);
    if (wait.WasCancelled()) {
        context.exitCode = ExitCode::Failure;
        return;
    }
    const auto [exitCode, words] = Judge(*task, arguments);
    context.exitCode = exitCode;
    if (done)
        RequireModelPort(arguments, password);
    const std::uint16_t managementPort = done ? Choose(server, password) : std::uint16_t(0);
    if (wait.WasCancelled()) {
        context.exitCode = ExitCode::Failure;
        return;
    }
    if (context.output.json)
        context.output.PrintJson({{"connected", task->HasServerConnectionSucceeded()},
                                  {"authenticated", task->HasUserAuthenticationSucceeded()},
                                  {"compatible", task->IsServerCompatible()},
                                  {"managementPort", managementPort}});
    else if (done)
        context.output.PrintLine(words);
    else
        context.output.Error(words);
}

}  // namespace

void DeclareServer(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    AddCommand(command, context, "list",
               "Last server and user, message setting, and who has a password where; no password "
               "is shown",
               &List);
    AddFindServers(command, context);
    AddCommand(command, context, "connect",
               "Sign in to a server, look for you in a group, and remember the server", &Connect);
    AddCommand(command, context, "set", "Change what is remembered beside passwords", &Set);
    AddTrustCommands(command, context);
}
