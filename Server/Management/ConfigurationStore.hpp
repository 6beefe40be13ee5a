#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Management/ServerConfiguration.hpp"

namespace Nexar {

class ConfigurationStore {
public:
    explicit ConfigurationStore(Database& database) : database_(database) {}

    [[nodiscard]] Syncra::Server::Management::ServerConfiguration Get();
    void Set(const Syncra::Server::Management::ServerConfiguration& configuration);

private:
    Database& database_;
};

}  // namespace Nexar
