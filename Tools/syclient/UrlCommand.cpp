#include "Command.hpp"
#include "Commands.hpp"

#include "OVRoot/Exception.hpp"
#include "ProjectArguments.hpp"
#include "SYClientBase/ProjectURL.hpp"
#include "SyncraURL.hpp"

#include <CLI/CLI.hpp>

namespace {

struct BuildArguments {
    ProjectArguments project;
    bool withoutPassword = false;

    void Resolve(Context& context) { project.Resolve(context); }
    void AddOptions(CLI::App& command)
    {
        project.AddOptions(command);
        command.add_flag("--no-password", withoutPassword, "Leave the password out");
    }
};

struct ParseArguments {
    std::string url;

    void AddOptions(CLI::App& command)
    {
        command.add_option("url", url, "The URL")->required()->option_text("URL");
    }
};

void Build(const BuildArguments& arguments, Context& context)
{
    auto info = arguments.withoutPassword ? arguments.project.Describe() : arguments.project.Read();
    if (arguments.withoutPassword)
        info.password = {};
    const auto location = SYC::ToSyncraLocation(info);
    const auto url = SYC::ToUrl(location);
    if (context.output.json)
        context.output.PrintJson({{"url", ForJson(url)}});
    else
        context.output.PrintLine(ForDisplay(url));
}

void Parse(const ParseArguments& arguments, Context& context)
{
    const auto location = IO::Location::FromUrlText(OV::FromUtf8(arguments.url));
    const bool isProject = SYC::IsSyncraURL(location);
    if (!isProject)
        context.exitCode = ExitCode::Failure;
    const auto server = SYCB::GetServerName(location);
    const auto project = SYCB::GetProjectName(location);
    if (context.output.json) {
        context.output.PrintJson({{"isProjectUrl", isProject},
                                  {"scheme", ForJson(location.GetScheme())},
                                  {"server", ForJson(server)},
                                  {"port", location.GetPort()},
                                  {"project", ForJson(project)},
                                  {"user", ForJson(location.GetUserName())},
                                  {"hasPassword", !location.GetPassword().empty()}});
        return;
    }
    context.output.PrintLine(isProject ? "A project URL:" : "Not a project URL:");
    context.output.PrintFields({{"scheme", ForDisplay(location.GetScheme())},
                                {"server", ForDisplay(server)},
                                {"port", std::to_string(location.GetPort())},
                                {"project", ForDisplay(project)},
                                {"user", ForDisplay(location.GetUserName())},
                                {"password", location.GetPassword().empty() ? "none" : "coded"}});
}

}  // namespace

void DeclareUrl(CLI::App& command, Context& context)
{
    command.require_subcommand(1);
    AddCommand(command, context, "build",
               "Print the project URL of a login; its password is coded, for this user on this "
               "machine only",
               &Build);
    AddCommand(command, context, "parse", "Take a project URL apart", &Parse);
}
