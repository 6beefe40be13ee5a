#include "Management/ServerManagement.hpp"

#include "Management/ConfigurationStore.hpp"
#include "Management/ContentsMerge.hpp"

namespace Nexar {

void ServerManagement::AddRoutes(Router& router)
{
    router.Add("GET", "/root/syncrav2/configuration",
               [this](const Call&) { return ConfigurationStore(context_.database).Get(); });
    router.Add("PUT", "/root/syncrav2/configuration",
               [this](const Call& call) { Configure(call); });
    router.Add("POST", "/root/syncrav2/merge", [this](const Call& call) { Merge(call); });
    router.Add("GET", "/root/syncrav2/ports",
               [this](const Call&) { return Syncra::Protocol::PortList{ports_}; });
}

void ServerManagement::Configure(const Call& call)
{
    context_.rights.RequireAdministrator(call);
    const auto configuration = call.Read<Records::ServerConfiguration>();
    if (!configuration.serverName.empty())
        Rules::CheckName(configuration.serverName, "name of the server");
    ConfigurationStore(context_.database).Set(configuration);
}

void ServerManagement::Merge(const Call& call)
{
    context_.rights.RequireAdministrator(call);
    // An answer of the other server: its identifiers count.
    auto contents = Syncra::Protocol::ReadAnswer<Records::RepositoryContents>(call.request.body);
    for (const auto& project : MergeContents(context_.database, std::move(contents)))
        context_.signals.Raise(project, Syncra::Protocol::SignalId::MembersChanged);
}

}  // namespace Nexar
