#include "ProjectManagement.hpp"

#include "ProjectAccess.hpp"

#include "SyncraProtocol/Detail/Json.hpp"

#include <nlohmann/json.hpp>

namespace Nexar {

using namespace Syncra::Protocol;
using nlohmann::json;

void ProjectManagement::AddRoutes(Router& router)
{
    AddMemberRoutes(router);
    router.Add("PUT", "/root/syncrav2/projects/{}/state", [this](const Call& call) {
        SetState(call);
        return json::object();
    });
}

void ProjectManagement::AddMemberRoutes(Router& router)
{
    router.Add("POST", "/root/syncrav2/projects/{}/members", [this](const Call& call) {
        AddMember(call);
        return json::object();
    });
    router.Add("PUT", "/root/syncrav2/projects/{}/members/{}", [this](const Call& call) {
        SetRole(call);
        return json::object();
    });
    router.Add("DELETE", "/root/syncrav2/projects/{}/members/{}", [this](const Call& call) {
        RemoveMember(call);
        return json::object();
    });
}

void ProjectManagement::AddMember(const Call& call)
{
    const auto projectId = ManagedProject(call);
    const auto body = call.Body();
    const auto userId = FindUserId(OV::ToUtf8(ReadText(body, "loginName")));
    if (!members_.Add(projectId, userId, ReadRole(body)))
        throw Refusal(ErrorCode::NameAlreadyExists, "The user is a member already.");
    signals_.Raise(projectId, SignalId::MembersChanged);
}

void ProjectManagement::SetRole(const Call& call)
{
    const auto projectId = ManagedProject(call);
    const auto userId = FindUserId(call.parameters[1]);
    if (!members_.SetRole(projectId, userId, ReadRole(call.Body())))
        throw Refusal(ErrorCode::NotFound, "The user is no member of this project.");
    signals_.Raise(projectId, SignalId::MembersChanged);
}

void ProjectManagement::RemoveMember(const Call& call)
{
    const auto projectId = ManagedProject(call);
    const auto userId = FindUserId(call.parameters[1]);
    const bool hadSession = sessions_.Find(projectId, userId).has_value();
    if (!members_.Remove(projectId, userId))
        throw Refusal(ErrorCode::NotFound, "The user is no member of this project.");
    // Reaches the request that he himself holds, too: his client asks again and is refused.
    signals_.Raise(projectId, SignalId::MembersChanged);
    if (hadSession)
        signals_.Raise(projectId, SignalId::SessionsChanged);
}

void ProjectManagement::SetState(const Call& call)
{
    const auto& projectId = call.parameters[0];
    const auto project = RequireProject(projects_, projectId);
    rights_.RequireProjectManager(call);
    const auto state = static_cast<ProjectState>(
        ReadInteger(call.Body(), "state", static_cast<std::int64_t>(ProjectState::Locked),
                    static_cast<std::int64_t>(ProjectState::Active)));
    if (state == project.state)
        return;
    projects_.SetState(projectId, state);
    signals_.Raise(projectId, SignalId::ProjectStateChanged);
}

std::string ProjectManagement::ManagedProject(const Call& call)
{
    (void)RequireProject(projects_, call.parameters[0]);
    rights_.RequireMemberManager(call, call.parameters[0]);
    return call.parameters[0];
}

std::string ProjectManagement::FindUserId(const std::string& login)
{
    const auto user = users_.FindByLogin(login);
    if (!user)
        throw Refusal(ErrorCode::NotFound, "There is no such user; he may have been deleted.");
    return user->id;
}

std::string ProjectManagement::ReadRole(const json& body)
{
    auto role = OV::ToUtf8(ReadText(body, "role"));
    if (!projects_.RoleExists(role))
        throw Refusal(ErrorCode::NotFound, "There is no role \"" + role + "\".");
    return role;
}

}  // namespace Nexar
