#pragma once

#include "GroupStore.hpp"
#include "MemberStore.hpp"
#include "Router.hpp"

namespace Nexar {

/// Who may ask what of the management service. Administrators may everything. Looked up at each
/// request: a right that was taken away is gone at once.
class ManagementRights {
public:
    ManagementRights(GroupStore& groups, MemberStore& members) : groups_(groups), members_(members)
    {}

    [[nodiscard]] bool IsAdministrator(const Call& call);
    [[nodiscard]] bool IsProjectManager(const Call& call);
    [[nodiscard]] bool ManagesMembersOf(const Call& call, const std::string& projectId);
    /// Who manages the members of any project, and so must know the users to choose from.
    [[nodiscard]] bool IsAnyManager(const Call& call);

    /// Each of these throws Refusal for who has not the right.
    void RequireAdministrator(const Call& call);
    /// Every project: project managers.
    void RequireProjectManager(const Call& call);
    /// The members of one project: project managers, and members whose role manages members.
    void RequireMemberManager(const Call& call, const std::string& projectId);
    /// Whoever manages the members of one project alone gives and takes only roles whose every
    /// permission he has there himself.
    void RequireAllOf(const Call& call, const std::string& projectId, const std::string& role);

private:
    GroupStore& groups_;
    MemberStore& members_;
};

}  // namespace Nexar
