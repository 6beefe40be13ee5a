#include "Command.hpp"
#include "Commands.hpp"

#include "ManagementTool/ConnectionProfiles.hpp"
#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/Exception.hpp"
#include "ProjectArguments.hpp"

#include <CLI/CLI.hpp>

namespace {

using Syncra::Server::ManagementTool::GUI::ConnectionProfile;
using Syncra::Server::ManagementTool::GUI::ConnectionProfiles;
using Syncra::Server::ManagementTool::GUI::SyncraInfo;

struct ShowArguments {
    ProjectArguments place;

    void AddOptions(CLI::App& command) { place.AddOptions(command); }
};

void Show(const ShowArguments& arguments, Context& context)
{
    ProjectArguments place = arguments.place;
    const Connection connection = place.Look(context);
    const auto& origins = connection.origins;
    const std::string password = place.DescribePasswordSource();
    const struct {
        const char* name;
        std::string value;
        const std::string& origin;
    } parts[] = {{"server", place.server, origins.server},
                 {"port", connection.values.port, origins.port},
                 {"user", place.user, origins.user},
                 {"project", place.project, origins.project}};
    if (context.output.json) {
        Json json{
            {"profile", connection.profile.empty() ? Json(nullptr) : Json(connection.profile)}};
        for (const auto& part : parts)
            json[part.name] = part.value.empty()
                                  ? Json(nullptr)
                                  : Json{{"value", part.value}, {"from", part.origin}};
        json["password"] = {{"from", password}};
        return context.output.PrintJson(json);
    }
    std::vector<std::vector<std::string>> rows{{"WHAT", "VALUE", "FROM"}};
    for (const auto& part : parts)
        rows.push_back(
            {part.name, ForDisplay(OV::FromUtf8(part.value)),
             ForDisplay(OV::FromUtf8(part.value.empty() ? "named nowhere" : part.origin))});
    rows.push_back({"password", "", password});
    context.output.PrintTable(rows);
}

void List(const NoArguments&, Context& context)
{
    const ConnectionProfiles profiles;
    const SyncraInfo info;
    Json list = Json::array();
    std::vector<std::vector<std::string>> rows{
        {"", "PROFILE", "SERVER", "PORT", "USER", "PROJECT", "PASSWORD"}};
    for (const auto& profile : profiles.GetProfiles()) {
        const bool isCurrent = profile.name == profiles.GetCurrentName();
        const bool isStored = info.IsUserInServerList(profile.userName, profile.serverName);
        list.push_back({{"profile", ForJson(profile.name)},
                        {"current", isCurrent},
                        {"server", ForJson(profile.serverName)},
                        {"port", profile.port},
                        {"user", ForJson(profile.userName)},
                        {"project", ForJsonOrNull(profile.projectName)},
                        {"passwordStored", isStored}});
        rows.push_back({isCurrent ? "*" : " ", ForDisplay(profile.name),
                        ForDisplay(profile.serverName), std::to_string(profile.port),
                        ForDisplay(profile.userName), ForDisplay(profile.projectName),
                        isStored ? "stored" : "asked for"});
    }
    if (context.output.json)
        context.output.PrintJson({{"profiles", std::move(list)}});
    else if (rows.size() == 1)
        context.output.PrintLine("There is no profile; \"syclient login\" makes one.");
    else
        context.output.PrintTable(rows);
}

struct NameArguments {
    std::string name;

    void AddOptions(CLI::App& command)
    {
        command.add_option("name", name, "The name of the profile")
            ->required()
            ->option_text("NAME");
    }
};

/// Changes the profile of that name by `change`, which is false when there is none.
void Change(const NameArguments& arguments, Context& context, const std::string& done,
            bool (ConnectionProfiles::*change)(const OV::UniString&))
{
    const auto name = OV::FromUtf8(arguments.name);
    ConnectionProfiles profiles;
    if (profiles.Find(name) != nullptr)
        profiles.Update([&](ConnectionProfiles& all) { (void)(all.*change)(name); });
    else
        throw CommandFailure(ExitCode::NotFound,
                             u"There is no profile \"" + name +
                                 u"\". \"syclient profile list\" shows those there are.");
    if (context.output.json)
        context.output.PrintJson({{"profile", ForJson(name)}, {"done", true}});
    else
        context.output.PrintLine("\"" + ForDisplay(name) + "\" " + done + ".");
}

void Use(const NameArguments& arguments, Context& context)
{
    Change(arguments, context, "holds from now on", &ConnectionProfiles::SetCurrent);
}

void Remove(const NameArguments& arguments, Context& context)
{
    Change(arguments, context, "is removed; \"syclient password forget\" forgets a stored password",
           &ConnectionProfiles::Remove);
}

}  // namespace

void DeclareProfile(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    command.footer(
        "What holds, the first that names it: an option or project URL; the profile of --profile; "
        "SYCLIENT_SERVER,\nSYCLIENT_PORT, SYCLIENT_USER, SYCLIENT_PROJECT; the profile of "
        "SYCLIENT_PROFILE; the current profile. One that\nnames another server than the one that "
        "holds is passed over. A password: an option, the URL,\nSYCLIENT_PASSWORD_FILE, the stored "
        "one, a prompt.");
    AddCommand(command, context, "show", "What holds for a command now, and where it comes from",
               &Show);
    AddCommand(command, context, "list", "The profiles; \"*\" marks the current one", &List);
    AddCommand(command, context, "use", "Make a profile the current one", &Use);
    AddCommand(command, context, "remove", "Forget a profile; stored passwords stay", &Remove);
}
