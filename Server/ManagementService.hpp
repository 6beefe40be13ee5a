#pragma once

#include "UserManagement.hpp"

namespace Nexar {

/// The server as an administered object, a class for each family of requests.
class ManagementService {
public:
    ManagementService(UserStore& users, GroupStore& groups, PhotoStore& photos)
        : users_(users, groups, photos)
    {}

    void AddRoutes(Router& router) { users_.AddRoutes(router); }

private:
    UserManagement users_;
};

}  // namespace Nexar
