#include "Management/ConfigurationStore.hpp"

namespace Nexar {

using Syncra::Server::Management::ServerConfiguration;

ServerConfiguration ConfigurationStore::Get()
{
    auto query = database_.Prepare(
        "SELECT server_name, minimum_password_length FROM configuration /* all */");
    if (!query.Step())
        return {};
    return {OV::FromUtf8(query.Text(0)), static_cast<std::int32_t>(query.Number(1))};
}

void ConfigurationStore::Set(const ServerConfiguration& configuration)
{
    database_
        .Prepare(
            "UPDATE configuration SET server_name = $1, minimum_password_length = $2 /* all */")
        .Bind(1, OV::ToUtf8(configuration.serverName))
        .Bind(2, std::int64_t{configuration.minimumPasswordLength})
        .Run();
}

}  // namespace Nexar
