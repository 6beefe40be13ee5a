#include "ProjectArguments.hpp"

#include "OVRoot/Exception.hpp"
#include "Output.hpp"
#include "SyncraURL.hpp"

#include <CLI/CLI.hpp>

void ProjectArguments::AddOptions(CLI::App& command)
{
    command.add_option("url", url, "Project URL: syncra://USER@SERVER:PORT/PROJECT")
        ->option_text("URL");
    command.add_option("-n,--project", project, "Name of the project, exactly")
        ->option_text("NAME");
    server.AddOptions(command, false);
}

SYC::Inner::ProjectConnectionInfo ProjectArguments::Describe() const
{
    SYC::Inner::ProjectConnectionInfo info;
    if (!url.empty()) {
        const auto location = IO::Location::FromUrlText(OV::FromUtf8(url));
        if (!SYC::IsSyncraURL(location))
            throw OV::IllegalArgumentException(
                u"\"" + location.ToDisplayText() +
                u"\" is no project URL. One looks like syncra://user@server:port/project.");
        info = SYC::ToConnectionInfo(location);
    }
    if (!server.server.empty())
        info.serverName = OV::FromUtf8(server.server);
    if (server.port != 0)
        info.port = server.port;
    if (!project.empty())
        info.projectName = OV::FromUtf8(project);
    if (!server.user.empty())
        info.userName = OV::FromUtf8(server.user);
    if (info.serverName.empty() || info.port == 0 || info.projectName.empty() ||
        info.userName.empty())
        throw OV::IllegalArgumentException(OV::StringView(
            "Name the project: a project URL, or --server, --port, --project and --user."));
    return info;
}

SYC::Inner::ProjectConnectionInfo ProjectArguments::Read() const
{
    auto info = Describe();
    if (info.password.empty() || server.password.IsGiven())
        info.password = server.password.Read(DescribeLogin(info));
    return info;
}

std::string DescribeLogin(const SYC::Inner::ProjectConnectionInfo& info)
{
    return ForDisplay(info.userName) + " on " + ForDisplay(info.serverName) + ":" +
           std::to_string(info.port);
}
