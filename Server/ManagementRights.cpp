#include "ManagementRights.hpp"

namespace Nexar {

using Syncra::Protocol::ErrorCode;

namespace {

constexpr const char* ManageMembers = "ManageMembers";

}  // namespace

bool ManagementRights::IsAdministrator(const Call& call)
{
    return groups_.IsIn(call.user.userId, UserGroups::Administrators);
}

bool ManagementRights::IsProjectManager(const Call& call)
{
    return IsAdministrator(call) || groups_.IsIn(call.user.userId, UserGroups::ProjectManagers);
}

void ManagementRights::RequireProjectManager(const Call& call)
{
    if (!IsProjectManager(call))
        throw Refusal(ErrorCode::AccessDenied,
                      "Only administrators and project managers may do this.");
}

void ManagementRights::RequireMemberManager(const Call& call, const std::string& projectId)
{
    if (!IsProjectManager(call) &&
        !members_.HasPermission(projectId, call.user.userId, ManageMembers))
        throw Refusal(ErrorCode::AccessDenied,
                      "You may not manage the members of this project. Ask one of its managers.");
}

void ManagementRights::RequireAnyManager(const Call& call)
{
    if (!IsProjectManager(call) && !members_.HasPermissionAnywhere(call.user.userId, ManageMembers))
        throw Refusal(ErrorCode::AccessDenied, "Only those who manage members may do this.");
}

}  // namespace Nexar
