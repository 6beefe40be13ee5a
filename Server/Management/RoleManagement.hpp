#pragma once

#include "Management/RecordRoutes.hpp"

namespace Nexar {

/// Roles, and making one out of another.
class RoleManagement final : public RecordRoutes<Records::Role> {
public:
    using RecordRoutes::RecordRoutes;

    void AddRoutes(Router& router) override
    {
        RecordRoutes::AddRoutes(router);
        router.Add("POST", Path("/{}/duplicate"), [this](const Call& call) {
            RequireWriter(call);
            auto role = Store().Require(IdOf(call));
            role.id = NewId();
            role.name = call.Read<Records::NewName>().value;
            return Add(role, [](const auto&) {});
        });
    }
};

}  // namespace Nexar
