#include "Management/ManagementRights.hpp"

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

bool ManagementRights::ManagesMembersOf(const Call& call, const std::string& projectId)
{
    return IsProjectManager(call) ||
           members_.HasPermission(projectId, call.user.userId, ManageMembers);
}

bool ManagementRights::IsAnyManager(const Call& call)
{
    return IsProjectManager(call) ||
           members_.HasPermissionAnywhere(call.user.userId, ManageMembers);
}

void ManagementRights::RequireAdministrator(const Call& call)
{
    if (!IsAdministrator(call))
        throw Refusal(ErrorCode::AccessDenied, "Only administrators may do this.");
}

void ManagementRights::RequireProjectManager(const Call& call)
{
    if (!IsProjectManager(call))
        throw Refusal(ErrorCode::AccessDenied,
                      "Only administrators and project managers may do this.");
}

void ManagementRights::RequireMemberManager(const Call& call, const std::string& projectId)
{
    if (!ManagesMembersOf(call, projectId))
        throw Refusal(ErrorCode::AccessDenied,
                      "You may not manage the members of this project. Ask one of its managers.");
}

void ManagementRights::RequireAllOf(const Call& call, const std::string& projectId,
                                    const std::string& role)
{
    if (IsProjectManager(call) || members_.HasPermissionsOf(projectId, call.user.userId, role))
        return;
    throw Refusal(ErrorCode::AccessDenied,
                  "The role \"" + role +
                      "\" may more than yours. Ask one of the project's managers.");
}

}  // namespace Nexar
