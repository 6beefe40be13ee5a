#pragma once

#include "ProjectStore.hpp"
#include "Router.hpp"
#include "SessionStore.hpp"
#include "SignalHub.hpp"
#include "SyncraProtocol/ServicePort.hpp"

namespace Nexar {

/// Projects, sessions and signals.
class ModelService {
public:
    ModelService(ProjectStore& projects, SessionStore& sessions, SignalHub& signals)
        : projects_(projects), sessions_(sessions), signals_(signals)
    {}

    void SetPorts(std::vector<Syncra::Protocol::ServicePort> ports) { ports_ = std::move(ports); }
    void AddRoutes(Router& router);

private:
    void AddProjectRoutes(Router& router);
    void AddSessionRoutes(Router& router);
    void AddAttributeRoutes(Router& router);

    void RequireOwnSession(const Call& call, const std::string& sessionId);
    [[nodiscard]] nlohmann::json StartSession(const Call& call);
    void WaitForSignals(const Call& call, const Reply& reply);

    ProjectStore& projects_;
    SessionStore& sessions_;
    SignalHub& signals_;
    std::vector<Syncra::Protocol::ServicePort> ports_;
};

}  // namespace Nexar
