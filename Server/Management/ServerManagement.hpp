#pragma once

#include "Management/RecordRoutes.hpp"
#include "SyncraProtocol/ServicePort.hpp"

#include <vector>

namespace Nexar {

/// What concerns the server as a whole: its configuration, its ports, and taking over another one's
/// roles.
class ServerManagement {
public:
    explicit ServerManagement(const ManagementContext& context) : context_(context) {}

    void AddRoutes(Router& router);
    void SetPorts(std::vector<Syncra::Protocol::ServicePort> ports) { ports_ = std::move(ports); }

private:
    void Configure(const Call& call);
    void Merge(const Call& call);

    const ManagementContext& context_;
    std::vector<Syncra::Protocol::ServicePort> ports_;
};

}  // namespace Nexar
