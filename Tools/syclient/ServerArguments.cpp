#include "ServerArguments.hpp"

#include "Context.hpp"
#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/UniString.hpp"
#include "Output.hpp"

#include <CLI/CLI.hpp>

void AddressArguments::AddOptions(CLI::App& command)
{
    command.add_option("-s,--server", server, "Server: host name or address; https://HOST for TLS")
        ->option_text("HOST");
    command.add_option("-p,--port", port, "Model port of the server (default: 19001)")
        ->option_text("N");
}

ConnectionValues AddressArguments::Options(const std::string* named) const
{
    ConnectionValues options;
    options.server = server;
    options.port = port == 0 ? "" : std::to_string(port);
    if (named != nullptr)
        options.project = *named;
    return options;
}

Connection AddressArguments::Fill(Context& context, ConnectionValues options,
                                  Connection::Needs needs)
{
    auto connection = Connection::Resolve(context, std::move(options), needs);
    server = connection.values.server;
    port = connection.Port();
    context.place = {server, port, {}, {}};
    return connection;
}

void AddressArguments::Resolve(Context& context, std::string* project)
{
    const auto connection = Fill(context, Options(project), Connection::Needs::Address);
    connection.Require(Connection::Needs::Address);
    if (project != nullptr && !project->empty())
        *project = connection.values.project;
}

void ServerArguments::AddOptions(CLI::App& command)
{
    AddressArguments::AddOptions(command);
    command.add_option("-u,--user", user, "Your login name")->option_text("NAME");
    password.AddOptions(command);
}

Connection ServerArguments::Fill(Context& context, ConnectionValues options,
                                 Connection::Needs needs)
{
    if (options.user.empty())
        options.user = user;
    auto connection = AddressArguments::Fill(context, std::move(options), needs);
    user = connection.values.user;
    urlPassword_ = connection.values.password;
    environmentFile_ = connection.passwordFile;
    context_ = &context;
    context.place.user = user;
    return connection;
}

void ServerArguments::Resolve(Context& context, std::string* project)
{
    const auto connection = Fill(context, Options(project), Connection::Needs::Login);
    connection.Require(Connection::Needs::Login);
    if (project != nullptr && !project->empty())
        *project = connection.values.project;
}

OV::Secret ServerArguments::StoredPassword() const
{
    const auto login = OV::FromUtf8(user), host = OV::FromUtf8(server);
    const Syncra::Server::ManagementTool::GUI::SyncraInfo info;
    return info.IsUserInServerList(login, host) ? info.GetUserPassword(login, host) : OV::Secret();
}

std::optional<OV::Secret> ServerArguments::GivenPassword() const
{
    if (password.IsGiven())
        return password.Read(Describe());
    if (!urlPassword_.empty())
        return urlPassword_;
    if (!environmentFile_.empty())
        return PasswordSource{environmentFile_}.Read(Describe());
    return std::nullopt;
}

OV::Secret ServerArguments::ReadPassword() const
{
    if (auto given = GivenPassword())
        return std::move(*given);
    if (auto stored = StoredPassword(); !stored.empty()) {
        context_->isPasswordStored = true;
        return stored;
    }
    return password.Read(Describe());
}

std::string ServerArguments::DescribePasswordSource() const
{
    return !password.file.empty()       ? "--password-file"
           : password.fromStandardInput ? "--password-stdin"
           : !urlPassword_.empty()      ? "project URL"
           : !environmentFile_.empty()  ? "SYCLIENT_PASSWORD_FILE"
           : !StoredPassword().empty()  ? "stored on this computer"
                                        : "asked for";
}

std::string ServerArguments::Describe() const
{
    return ForDisplay(OV::FromUtf8(user)) + " on " + ForDisplay(OV::FromUtf8(server)) + ":" +
           std::to_string(port);
}
