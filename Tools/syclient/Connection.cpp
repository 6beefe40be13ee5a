#include "Connection.hpp"

#include "ConnectToServer.hpp"
#include "Context.hpp"
#include "ManagementTool/ConnectionProfiles.hpp"
#include "OVRoot/Ascii.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/System.hpp"
#include "SyncraURL.hpp"

#include <charconv>
#include <functional>

namespace {

using Syncra::Server::ManagementTool::GUI::ConnectionProfile;
using Syncra::Server::ManagementTool::GUI::ConnectionProfiles;

/// Values of one place, and how a part of them is called.
struct Layer {
    ConnectionValues values;
    std::function<std::string(const std::string& part)> originOf;
};

std::string VariableOf(const std::string& part)
{
    std::string name = "SYCLIENT_";
    for (const char c : part)
        name += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return name;
}

std::string FromEnvironment(const std::string& part)
{
    return OV::System::EnvironmentVariable(VariableOf(part));
}

/// A project may be named by its URL, which then says the rest that nothing else names.
void TakeProjectUrl(ConnectionValues& values)
{
    if (!LooksLikeProjectUrl(values.project))
        return;
    ConnectionValues url;
    url.FillFromUrl(values.project);
    values.project = url.project;
    ConnectionValues::ForEachPart([&](const char*, auto part) {
        if ((values.*part).empty())
            values.*part = url.*part;
    });
    if (values.password.empty())
        values.password = url.password;
}

Layer EnvironmentLayer()
{
    ConnectionValues values;
    ConnectionValues::ForEachPart(
        [&](const char* name, auto part) { values.*part = FromEnvironment(name); });
    TakeProjectUrl(values);
    return {std::move(values), VariableOf};
}

Layer ProfileLayer(const std::string& name, const std::string& namedBy)
{
    const ConnectionProfiles profiles;
    const ConnectionProfile* profile = profiles.Find(OV::FromUtf8(name));
    if (profile == nullptr)
        throw CommandFailure(
            ExitCode::NotFound,
            OV::FromUtf8("There is no profile \"" + name + "\", which " + namedBy +
                         " names. \"syclient profile list\" shows those there are."));
    ConnectionValues values;
    values.server = OV::ToUtf8(profile->serverName);
    values.port = profile->port == 0 ? "" : std::to_string(profile->port);
    values.user = OV::ToUtf8(profile->userName);
    values.project = OV::ToUtf8(profile->projectName);
    return {std::move(values), [name](const std::string&) { return "profile \"" + name + "\""; }};
}

bool AreSame(const std::string& left, const std::string& right)
{
    return OV::EqualsIgnoreCase(OV::FromUtf8(left), OV::FromUtf8(right));
}

void AddLayer(Connection& connection, const Layer& layer)
{
    auto& values = connection.values;
    if (!values.server.empty() && !layer.values.server.empty() &&
        !AreSame(values.server, layer.values.server))
        return;
    ConnectionValues::ForEachPart([&](const std::string& name, auto part) {
        if (!(values.*part).empty() || (layer.values.*part).empty())
            return;
        values.*part = layer.values.*part;
        auto& origins = connection.origins;
        (name == "server" ? origins.server
         : name == "port" ? origins.port
         : name == "user" ? origins.user
                          : origins.project) = layer.originOf(name);
    });
    if (values.password.empty())
        values.password = layer.values.password;
}

}  // namespace

bool LooksLikeProjectUrl(const std::string& text)
{
    static const std::string scheme = OV::ToUtf8(SYC::GetSyncraURLScheme()) + "://";
    return text.size() > scheme.size() && AreSame(text.substr(0, scheme.size()), scheme);
}

void ConnectionValues::FillFromUrl(const std::string& url)
{
    // The scheme counts in any letter case; the library takes it in small letters.
    const auto location = LooksLikeProjectUrl(url)
                              ? IO::Location::FromUrlText(SYC::GetSyncraURLScheme() +
                                                          OV::FromUtf8(url.substr(url.find(':'))))
                              : IO::Location();
    if (!SYC::IsSyncraURL(location))
        throw OV::IllegalArgumentException(
            u"\"" + OV::FromUtf8(url) +
            u"\" is no project URL. One looks like syncra://user@server:port/project.");
    const auto info = SYC::ToConnectionInfo(location);
    server = OV::ToUtf8(info.serverName);
    port = std::to_string(info.port);
    user = OV::ToUtf8(info.userName);
    project = OV::ToUtf8(info.projectName);
    password = info.password;
}

Connection Connection::Resolve(const Context& context, ConnectionValues options, Needs needs)
{
    TakeProjectUrl(options);
    Connection connection;
    AddLayer(connection, {std::move(options), [](const std::string& part) { return "--" + part; }});
    if (!context.profile.empty()) {
        connection.profile = context.profile;
        AddLayer(connection, ProfileLayer(context.profile, "--profile"));
    }
    AddLayer(connection, EnvironmentLayer());
    connection.passwordFile = FromEnvironment("password_file");
    if (context.profile.empty())
        connection.AddProfile(needs);
    if (!connection.values.server.empty() && connection.values.port.empty()) {
        connection.values.port = std::to_string(SYC::UsualPort);
        connection.origins.port = "the usual one";
    }
    return connection;
}

void Connection::AddProfile(Needs needs)
{
    if (const auto named = FromEnvironment("profile"); !named.empty()) {
        profile = named;
        AddLayer(*this, ProfileLayer(named, "SYCLIENT_PROFILE"));
    } else if (!Missing(needs).empty()) {
        profile = OV::ToUtf8(ConnectionProfiles().GetCurrentName());
        if (!profile.empty())
            AddLayer(*this, ProfileLayer(profile, "the list of profiles"));
    }
}

std::string Connection::Missing(Needs needs) const
{
    std::string missing;
    const auto look = [&](const std::string& value, const char* option, Needs since) {
        if (value.empty() && needs >= since)
            missing += (missing.empty() ? "" : ", ") + std::string(option);
    };
    look(values.server, "--server", Needs::Address);
    look(values.port, "--port", Needs::Address);
    look(values.user, "--user", Needs::Login);
    look(values.project, "--project", Needs::Project);
    return missing;
}

void Connection::Require(Needs needs) const
{
    if (const auto missing = Missing(needs); !missing.empty())
        throw OV::IllegalArgumentException(OV::StringView(
            "Missing: " + missing +
            ". \"syclient login\" asks once and remembers; a project URL or "
            "SYCLIENT_SERVER, SYCLIENT_PORT, SYCLIENT_USER and SYCLIENT_PROJECT name them, too."));
}

std::uint16_t Connection::Port() const
{
    std::uint16_t number = 0;
    const char* const end = values.port.data() + values.port.size();
    const auto read = std::from_chars(values.port.data(), end, number);
    if (!values.port.empty() && (read.ec != std::errc() || read.ptr != end || number == 0))
        throw OV::IllegalArgumentException(OV::StringView(
            origins.port + " says \"" + values.port + "\"; a port is a number from 1 to 65535."));
    return number;
}
