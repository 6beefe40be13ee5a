#include "Command.hpp"
#include "Commands.hpp"

#include "ConnectToServer.hpp"
#include "ManagementTool/ConnectionProfiles.hpp"
#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/System.hpp"
#include "OVRoot/Terminal.hpp"
#include "ProjectArguments.hpp"
#include "Question.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

namespace {

using Syncra::Protocol::Project;
using Syncra::Server::ManagementTool::GUI::ConnectionProfile;
using Syncra::Server::ManagementTool::GUI::ConnectionProfiles;
using Syncra::Server::ManagementTool::GUI::SyncraInfo;

constexpr const char* UsualName = "default";

struct LoginArguments {
    ProjectArguments place;
    bool storesPassword = false;
    bool leavesPassword = false;

    void AddOptions(CLI::App& command)
    {
        place.AddOptions(command);
        auto* stores = command.add_flag("--store-password", storesPassword,
                                        "Keep the password on this computer, coded for you alone");
        command.add_flag("--no-store-password", leavesPassword, "Do not keep it, and do not ask")
            ->excludes(stores);
    }
};

/// The profile that is written: the one that is named, or else the one that holds now.
std::string ProfileName(const Context& context)
{
    if (!context.profile.empty())
        return context.profile;
    if (const auto named = OV::System::EnvironmentVariable("SYCLIENT_PROFILE"); !named.empty())
        return named;
    const auto current = OV::ToUtf8(ConnectionProfiles().GetCurrentName());
    return current.empty() ? UsualName : current;
}

/// A person answers what no option says; what a profile or the environment says is proposed.
void AskFor(std::string& value, const std::string& origin, const char* what,
            const std::string& usual)
{
    if (origin.starts_with("--") || !Question::CanAsk())
        return;
    const std::string proposed = value.empty() ? usual : value;
    value = Question::Ask(what, proposed);
}

/// A profile that is written need not be there yet.
Connection LookForLogin(ProjectArguments& place, Context& context)
{
    const auto name = OV::FromUtf8(ProfileName(context));
    const std::string named = std::exchange(context.profile, {});
    if (ConnectionProfiles().Find(name) != nullptr)
        context.profile = OV::ToUtf8(name);
    auto known = place.Look(context);
    context.profile = named;
    return known;
}

void AskForLogin(ProjectArguments& place, const Connection& known)
{
    AskFor(place.server, known.origins.server, "Server", "");
    std::string port = place.port == 0 ? "" : std::to_string(place.port);
    AskFor(port, known.origins.port, "Port", std::to_string(SYC::UsualPort));
    AskFor(place.user, known.origins.user, "Your login name", "");
    Connection asked;
    asked.values = {place.server, port, place.user, {}, {}};
    asked.origins.port = "The answer";
    asked.Require(Connection::Needs::Login);
    place.port = asked.Port();
}

/// A person is asked even where a password is stored: it may be another one by now.
OV::Secret PasswordOf(const ProjectArguments& place)
{
    if (auto given = place.GivenPassword())
        return std::move(*given);
    return Question::CanAsk() ? place.password.Read(DescribeLogin(place.Describe()))
                              : place.ReadPassword();
}

std::string NamesOf(const OV::Array<Project>& projects)
{
    std::string names;
    for (const auto& project : projects)
        names += (names.empty() ? "\"" : ", \"") + ForDisplay(project.name) + "\"";
    return names.empty() ? "none" : names;
}

/// The project that was named, or that a person picks by its number or its name; empty for none.
std::string PickProject(const std::string& named, bool isOption, const OV::Array<Project>& projects)
{
    std::string answer = named;
    if (!isOption && Question::CanAsk() && !projects.empty()) {
        for (std::size_t i = 0; i < projects.size(); ++i)
            Question::Show("  " + std::to_string(i + 1) + "  " + ForDisplay(projects[i].name));
        answer = Question::Ask("Project, by number or name; empty for none", named);
        std::size_t number = 0;
        const char* const end = answer.data() + answer.size();
        const auto read = std::from_chars(answer.data(), end, number);
        if (read.ec == std::errc() && read.ptr == end && number >= 1 && number <= projects.size())
            return OV::ToUtf8(projects[number - 1].name);
    }
    const bool isThere = std::any_of(projects.begin(), projects.end(), [&](const auto& each) {
        return each.name == OV::FromUtf8(answer);
    });
    if (!answer.empty() && !isThere)
        throw CommandFailure(
            ExitCode::ProjectNotFound,
            OV::FromUtf8("There is no project \"" + answer +
                         "\" that you may see. Those you may: " + NamesOf(projects) + "."));
    return answer;
}

void Remember(const ConnectionProfile& profile, const OV::Secret& password, bool isStored)
{
    ConnectionProfiles().Update([&](ConnectionProfiles& profiles) {
        profiles.Set(profile);
        (void)profiles.SetCurrent(profile.name);
    });
    if (isStored)
        SyncraInfo().Update([&](SyncraInfo& info) {
            info.AddUser(profile.userName, profile.serverName, password);
        });
}

void Login(const LoginArguments& arguments, Context& context)
{
    ProjectArguments place = arguments.place;
    const Connection known = LookForLogin(place, context);
    AskForLogin(place, known);
    context.place = {place.server, place.port, place.user, place.project};
    const OV::Secret password = PasswordOf(place);
    context.output.Progress("Signing in as " + DescribeLogin(place.Describe()) + " ...");
    const auto client = SYCB::CreateSyncraClient(
        {OV::FromUtf8(place.server), place.port, OV::FromUtf8(place.user), password, false});
    const std::string project =
        PickProject(place.project, known.origins.project.starts_with("--"), client->GetProjects());
    const bool isStored =
        arguments.storesPassword ||
        (!arguments.leavesPassword && Question::CanAsk() &&
         Question::Agrees("Keep the password on this computer, coded for you alone?"));
    const ConnectionProfile profile{OV::FromUtf8(ProfileName(context)), OV::FromUtf8(place.server),
                                    place.port, OV::FromUtf8(place.user), OV::FromUtf8(project)};
    Remember(profile, password, isStored);
    if (context.output.json)
        return context.output.PrintJson({{"profile", ForJson(profile.name)},
                                         {"server", place.server},
                                         {"port", place.port},
                                         {"user", place.user},
                                         {"project", ForJsonOrNull(profile.projectName)},
                                         {"passwordStored", isStored}});
    context.output.PrintLine("Signed in as " + DescribeLogin(place.Describe()) +
                             "; the profile \"" + ForDisplay(profile.name) +
                             "\" remembers it and holds from now on.");
    if (!project.empty())
        context.output.PrintLine(
            "Next: \"syclient open\", then for example \"syclient mail list\".");
}

}  // namespace

void DeclareLogin(CLI::App& command, Context& context)
{
    command.footer("The profile is the one that --profile names, or else the current one, or "
                   "\"default\". Commands take from it\nwhat neither an option nor the "
                   "environment names; \"syclient profile show\" tells what holds.");
    DefineCommand(command, context, &Login);
}
