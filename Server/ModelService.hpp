#pragma once

#include "MemberStore.hpp"
#include "PresenceBoard.hpp"
#include "ProjectStore.hpp"
#include "Router.hpp"
#include "SessionStore.hpp"
#include "SignalHub.hpp"
#include "SyncraProtocol/ServicePort.hpp"

namespace Nexar {

/// Projects, their members, sessions and signals.
class ModelService {
public:
    ModelService(const Limits& limits, ProjectStore& projects, MemberStore& members,
                 SessionStore& sessions, SignalHub& signals, PresenceBoard& presence)
        : limits_(limits), projects_(projects), members_(members), sessions_(sessions),
          signals_(signals), presence_(presence)
    {}

    void SetPorts(std::vector<Syncra::Protocol::ServicePort> ports) { ports_ = std::move(ports); }
    void AddRoutes(Router& router);

private:
    void AddProjectRoutes(Router& router);
    void AddMemberRoutes(Router& router);
    void AddSessionRoutes(Router& router);
    void AddAttributeRoutes(Router& router);

    /// Throws Refusal when the session is none of the user's.
    [[nodiscard]] std::string ProjectOfOwnSession(const Call& call);
    [[nodiscard]] std::vector<Syncra::Protocol::Session> ListSessions(const Call& call);
    [[nodiscard]] Syncra::Protocol::Session StartSession(const Call& call);
    void ReadSignals(Call& call);
    void WaitForSignals(const Call& call, const Reply& reply);

    const Limits& limits_;
    ProjectStore& projects_;
    MemberStore& members_;
    SessionStore& sessions_;
    SignalHub& signals_;
    PresenceBoard& presence_;
    std::vector<Syncra::Protocol::ServicePort> ports_;
};

}  // namespace Nexar
