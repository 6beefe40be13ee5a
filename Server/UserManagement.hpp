#pragma once

#include "GroupStore.hpp"
#include "ManagementRights.hpp"
#include "PhotoStore.hpp"
#include "Router.hpp"
#include "UserStore.hpp"

namespace Nexar {

/// The management service's users and what belongs to them.
class UserManagement {
public:
    UserManagement(UserStore& users, GroupStore& groups, PhotoStore& photos,
                   ManagementRights& rights)
        : users_(users), groups_(groups), photos_(photos), rights_(rights)
    {}

    void AddRoutes(Router& router);

private:
    /// The user of the path, or a refusal.
    [[nodiscard]] User FindUser(const Call& call);
    void AddPhotoRoutes(Router& router);
    [[nodiscard]] nlohmann::json List(const Call& call);
    [[nodiscard]] nlohmann::json Groups(const Call& call);
    void SetPhoto(const Call& call);

    UserStore& users_;
    GroupStore& groups_;
    PhotoStore& photos_;
    ManagementRights& rights_;
};

}  // namespace Nexar
