#include "Commands.hpp"

#include "OVRoot/Exception.hpp"
#include "ProjectArguments.hpp"
#include "SYClientBase/ProjectURL.hpp"
#include "SyncraURL.hpp"

#include <CLI/CLI.hpp>

#include <memory>

namespace {

void Build(const ProjectArguments& arguments, bool withoutPassword, Context& context)
{
    auto info = withoutPassword ? arguments.Describe() : arguments.Read();
    if (withoutPassword)
        info.password = {};
    const auto location = SYC::ToSyncraLocation(info);
    const auto url = SYC::ToUrl(location);
    if (context.output.json)
        context.output.PrintJson({{"url", ForJson(url)}});
    else
        context.output.PrintLine(ForDisplay(url));
}

void Parse(const std::string& text, Context& context)
{
    const auto location = IO::Location::FromUrlText(OV::FromUtf8(text));
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

void AddUrlCommand(CLI::App& app, Context& context)
{
    auto* command = app.add_subcommand("url", "Build a project URL, or take one apart");
    command->require_subcommand(1);

    auto* build = command->add_subcommand(
        "build", "Print the project URL of a login; its password is coded, for this user on this "
                 "machine only");
    const auto arguments = std::make_shared<ProjectArguments>();
    arguments->AddOptions(*build);
    const auto withoutPassword = std::make_shared<bool>(false);
    build->add_flag("--no-password", *withoutPassword, "Leave the password out");
    build->callback([=, &context] { Build(*arguments, *withoutPassword, context); });

    auto* parse = command->add_subcommand("parse", "Take a project URL apart");
    const auto text = std::make_shared<std::string>();
    parse->add_option("url", *text, "The URL")->required()->option_text("URL");
    parse->callback([=, &context] { Parse(*text, context); });
}
