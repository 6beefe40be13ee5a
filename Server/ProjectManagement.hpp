#pragma once

#include "ManagementRights.hpp"
#include "ProjectStore.hpp"
#include "SessionStore.hpp"
#include "SignalHub.hpp"
#include "UserStore.hpp"

namespace Nexar {

/// The management service's projects: their state and their members.
class ProjectManagement {
public:
    ProjectManagement(UserStore& users, ProjectStore& projects, MemberStore& members,
                      SessionStore& sessions, SignalHub& signals, ManagementRights& rights)
        : users_(users), projects_(projects), members_(members), sessions_(sessions),
          signals_(signals), rights_(rights)
    {}

    void AddRoutes(Router& router);

private:
    void AddMemberRoutes(Router& router);
    void AddMember(const Call& call);
    void SetRole(const Call& call);
    void RemoveMember(const Call& call);
    void SetState(const Call& call);

    /// The project of the path, for who may manage its members.
    [[nodiscard]] std::string ManagedProject(const Call& call);
    [[nodiscard]] std::string FindUserId(const std::string& login);
    /// The role that the body names.
    [[nodiscard]] std::string ReadRole(const nlohmann::json& body);

    UserStore& users_;
    ProjectStore& projects_;
    MemberStore& members_;
    SessionStore& sessions_;
    SignalHub& signals_;
    ManagementRights& rights_;
};

}  // namespace Nexar
