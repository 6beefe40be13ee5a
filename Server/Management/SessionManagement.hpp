#pragma once

#include "Management/RecordRoutes.hpp"
#include "ProjectStore.hpp"
#include "SessionStore.hpp"

namespace Nexar {

/// The management service's view of who works where, for those who may end it.
class SessionManagement {
public:
    SessionManagement(const ManagementContext& context, ProjectStore& projects,
                      MemberStore& members, SessionStore& sessions)
        : context_(context), projects_(projects), members_(members), sessions_(sessions)
    {}

    void AddRoutes(Router& router);

private:
    [[nodiscard]] std::vector<Syncra::Protocol::SessionAtWork> List(const Call& call);
    void End(const Call& call);

    ManagementContext context_;
    ProjectStore& projects_;
    MemberStore& members_;
    SessionStore& sessions_;
};

}  // namespace Nexar
