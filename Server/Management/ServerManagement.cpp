#include "Management/ServerManagement.hpp"

#include "Management/ConfigurationStore.hpp"
#include "Management/ContentsMerge.hpp"

namespace Nexar {

using nlohmann::json;
using Syncra::Protocol::FromJson;

void ServerManagement::AddRoutes(Router& router)
{
    router.Add("GET", "/root/syncrav2/configuration",
               [this](const Call&) { return ToJson(ConfigurationStore(context_.database).Get()); });
    router.Add("PUT", "/root/syncrav2/configuration", [this](const Call& call) {
        Configure(call);
        return json::object();
    });
    router.Add("POST", "/root/syncrav2/merge", [this](const Call& call) {
        Merge(call);
        return json::object();
    });
    router.Add("GET", "/root/syncrav2/ports", [this](const Call&) {
        json ports = json::array();
        for (const auto& port : ports_)
            ports.push_back(ToJson(port));
        return json{{"ports", std::move(ports)}};
    });
}

void ServerManagement::Configure(const Call& call)
{
    context_.rights.RequireAdministrator(call);
    const auto configuration = FromJson<Records::ServerConfiguration>(call.Body());
    if (!configuration.serverName.empty())
        Rules::CheckName(configuration.serverName, "name of the server");
    ConfigurationStore(context_.database).Set(configuration);
}

void ServerManagement::Merge(const Call& call)
{
    context_.rights.RequireAdministrator(call);
    for (const auto& project :
         MergeContents(context_.database, FromJson<Records::RepositoryContents>(call.Body())))
        context_.signals.Raise(project, Syncra::Protocol::SignalId::MembersChanged);
}

}  // namespace Nexar
