#include "ProjectArguments.hpp"

#include "Context.hpp"
#include "OVRoot/Exception.hpp"
#include "Output.hpp"

#include <CLI/CLI.hpp>

void ProjectArguments::AddOptions(CLI::App& command)
{
    command.add_option("url", url, "Project URL: syncra://USER@SERVER:PORT/PROJECT")
        ->option_text("URL");
    command.add_option("-n,--project", project, "Name of the project, exactly, or its URL")
        ->option_text("NAME");
    ServerArguments::AddOptions(command);
}

ConnectionValues ProjectArguments::Options() const
{
    auto options = ServerArguments::Options();
    options.project = project;
    options.user = user;
    if (url.empty())
        return options;
    ConnectionValues named;
    named.FillFromUrl(url);
    ConnectionValues::ForEachPart([&](const char*, auto part) {
        if ((options.*part).empty())
            options.*part = named.*part;
    });
    options.password = std::move(named.password);
    return options;
}

Connection ProjectArguments::Look(Context& context)
{
    auto connection = Fill(context, Options(), Connection::Needs::Project);
    project = connection.values.project;
    context.place.project = project;
    return connection;
}

void ProjectArguments::Resolve(Context& context)
{
    Look(context).Require(Connection::Needs::Project);
}

SYC::Inner::ProjectConnectionInfo ProjectArguments::Describe() const
{
    SYC::Inner::ProjectConnectionInfo info;
    info.serverName = OV::FromUtf8(server);
    info.port = port;
    info.projectName = OV::FromUtf8(project);
    info.userName = OV::FromUtf8(user);
    return info;
}

SYC::Inner::ProjectConnectionInfo ProjectArguments::Read() const
{
    auto info = Describe();
    info.password = ReadPassword();
    return info;
}

std::string DescribeLogin(const SYC::Inner::ProjectConnectionInfo& info)
{
    return ForDisplay(info.userName) + " on " + ForDisplay(info.serverName) + ":" +
           std::to_string(info.port);
}
