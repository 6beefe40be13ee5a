#pragma once

#include "GroupStore.hpp"
#include "Management/RecordRoutes.hpp"
#include "UserStore.hpp"

namespace Nexar {

/// User groups and who is in them.
class GroupManagement final : public RecordRoutes<Records::Group> {
public:
    GroupManagement(const ManagementContext& context, UserStore& users, GroupStore& groups)
        : RecordRoutes(context), users_(users), groups_(groups)
    {}

    void AddRoutes(Router& router) override;

private:
    void AddUser(const Call& call);
    void RemoveUser(const Call& call);
    /// The name of the group of the path.
    [[nodiscard]] std::string ManagedGroup(const Call& call);

    UserStore& users_;
    GroupStore& groups_;
};

}  // namespace Nexar
