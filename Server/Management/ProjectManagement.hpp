#pragma once

#include "Management/RecordRoutes.hpp"
#include "ProjectStore.hpp"
#include "SessionStore.hpp"
#include "UserStore.hpp"

namespace Nexar {

/// The management service's projects: the records, their state and their members.
class ProjectManagement final : public RecordRoutes<Records::V2::Project> {
public:
    ProjectManagement(const ManagementContext& context, UserStore& users, ProjectStore& projects,
                      MemberStore& members, SessionStore& sessions)
        : RecordRoutes(context), users_(users), projects_(projects), members_(members),
          sessions_(sessions)
    {}

    void AddRoutes(Router& router) override;

private:
    using Project = Records::V2::Project;
    [[nodiscard]] Chooser Readable(const Call& call) override;
    void Updated(const Project& before, const Project& after,
                 const std::vector<std::string>& projects) override;
    void Deleted(const Project& project, const std::vector<std::string>& projects) override;

    void AddMemberRoutes(Router& router);
    void AddMember(const Call& call);
    void SetRole(const Call& call);
    void RemoveMember(const Call& call);
    void SetState(const Call& call);

    /// The project of the path, for who may manage its members.
    [[nodiscard]] std::string ManagedProject(const Call& call);
    /// The role of that name; throws Refusal when there is none.
    [[nodiscard]] std::string ExistingRole(const OV::UniString& name);

    UserStore& users_;
    ProjectStore& projects_;
    MemberStore& members_;
    SessionStore& sessions_;
};

}  // namespace Nexar
