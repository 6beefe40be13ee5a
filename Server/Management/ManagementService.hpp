#pragma once

#include "Management/CategoryManagement.hpp"
#include "Management/GroupManagement.hpp"
#include "Management/ProjectManagement.hpp"
#include "Management/RoleManagement.hpp"
#include "Management/ServerManagement.hpp"
#include "Management/SessionManagement.hpp"
#include "Management/UserManagement.hpp"

namespace Nexar {

/// The server as an administered object, a class for each family of requests.
class ManagementService {
public:
    ManagementService(Database& database, UserStore& users, GroupStore& groups, PhotoStore& photos,
                      ProjectStore& projects, MemberStore& members, SessionStore& sessions,
                      SignalHub& signals, PasswordWorker& passwords, Tokens& tokens)
        : rights_(groups, members), context_{database, rights_, signals},
          users_(context_, users, groups, photos, passwords, tokens),
          groups_(context_, users, groups), projects_(context_, users, projects, members, sessions),
          sessions_(context_, projects, members, sessions)
    {}
    // The families refer to the context.
    ManagementService(const ManagementService&) = delete;
    ManagementService& operator=(const ManagementService&) = delete;

    void AddRoutes(Router& router)
    {
        const auto add = [&router](auto&... families) { (families.AddRoutes(router), ...); };
        add(users_, roles_, groups_, permissions_, permissionSets_, customProperties_, projects_,
            sessions_, categories_, modules_, server_);
    }
    void SetPorts(std::vector<Syncra::Protocol::ServicePort> ports)
    {
        server_.SetPorts(std::move(ports));
    }

private:
    ManagementRights rights_;
    ManagementContext context_;
    UserManagement users_;
    GroupManagement groups_;
    ProjectManagement projects_;
    SessionManagement sessions_;
    RoleManagement roles_{context_};
    RecordRoutes<Records::Permission> permissions_{context_};
    RecordRoutes<Records::PermissionSet> permissionSets_{context_};
    RecordRoutes<Records::CustomPropertyDefinition> customProperties_{context_};
    CategoryManagement categories_{context_};
    RecordRoutes<Records::ConnectedModule> modules_{context_};
    ServerManagement server_{context_};
};

}  // namespace Nexar
