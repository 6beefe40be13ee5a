#include "ProjectAccess.hpp"

namespace Nexar {

using Syncra::Protocol::ErrorCode;
using Syncra::Protocol::ProjectState;

ProjectState RequireProject(ProjectStore& projects, const std::string& projectId)
{
    const auto state = projects.FindState(projectId);
    if (!state)
        throw Refusal(ErrorCode::NotFound, "There is no such project; it may have been deleted.");
    return *state;
}

ProjectState RequireMembership(ProjectStore& projects, const Call& call,
                               const std::string& projectId)
{
    const auto state = RequireProject(projects, projectId);
    if (!projects.IsMember(projectId, call.user.userId))
        throw Refusal(ErrorCode::AccessDenied,
                      "You are no member of this project. Ask its manager to add you.");
    return state;
}

}  // namespace Nexar
