#pragma once

#include "ProjectManagement.hpp"
#include "UserManagement.hpp"

namespace Nexar {

/// The server as an administered object, a class for each family of requests.
class ManagementService {
public:
    ManagementService(UserStore& users, GroupStore& groups, PhotoStore& photos,
                      ProjectStore& projects, MemberStore& members, SessionStore& sessions,
                      SignalHub& signals)
        : rights_(groups, members), users_(users, groups, photos, rights_),
          projects_(users, projects, members, sessions, signals, rights_)
    {}

    void AddRoutes(Router& router)
    {
        users_.AddRoutes(router);
        projects_.AddRoutes(router);
    }

private:
    ManagementRights rights_;
    UserManagement users_;
    ProjectManagement projects_;
};

}  // namespace Nexar
