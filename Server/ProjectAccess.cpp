#include "ProjectAccess.hpp"

namespace Nexar {

using Syncra::Protocol::ErrorCode;
using Syncra::Protocol::Project;

Project RequireProject(ProjectStore& projects, const std::string& projectId)
{
    auto project = projects.Find(projectId);
    if (!project)
        throw Refusal(ErrorCode::NotFound, "There is no such project; it may have been deleted.");
    return *std::move(project);
}

Project RequireMembership(ProjectStore& projects, const Call& call, const std::string& projectId)
{
    auto project = RequireProject(projects, projectId);
    if (!projects.IsMember(projectId, call.user.userId))
        throw Refusal(ErrorCode::AccessDenied,
                      "You are no member of this project. Ask its manager to add you.");
    return project;
}

}  // namespace Nexar
