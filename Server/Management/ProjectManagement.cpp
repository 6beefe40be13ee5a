#include "Management/ProjectManagement.hpp"

#include "ProjectAccess.hpp"

namespace Nexar {

using Syncra::Protocol::ErrorCode;
using Syncra::Protocol::SignalId;

namespace {

/// The users who are among `members`, and not in the same role among `others`.
template <class Members>
SignalHub::UserIds Missing(const Members& members, const Members& others)
{
    SignalHub::UserIds users;
    for (const auto& member : members)
        if (!others.contains(member))
            users.insert(OV::ToUtf8(member.id));
    return users;
}

}  // namespace

void ProjectManagement::AddRoutes(Router& router)
{
    RecordRoutes::AddRoutes(router);
    AddMemberRoutes(router);
    router.Add("PUT", Path("/{}/state"), [this](const Call& call) { SetState(call); });
}

void ProjectManagement::AddMemberRoutes(Router& router)
{
    router.Add("POST", Path("/{}/members"), [this](const Call& call) { AddMember(call); });
    router.Add("PUT", Path("/{}/members/{}"), [this](const Call& call) { SetRole(call); });
    router.Add("DELETE", Path("/{}/members/{}"), [this](const Call& call) { RemoveMember(call); });
}

ProjectManagement::Chooser ProjectManagement::Readable(const Call& call)
{
    if (context_.rights.IsProjectManager(call))
        return [](const Project&) { return true; };
    return [this, call](const Project& project) {
        return context_.rights.ManagesMembersOf(call, OV::ToUtf8(project.id));
    };
}

void ProjectManagement::Updated(const Project& before, const Project& after,
                                const std::vector<std::string>&)
{
    const auto id = OV::ToUtf8(after.id);
    if (before.status.state != after.status.state)
        context_.signals.Raise(id, SignalId::ProjectStateChanged);
    auto changed = Missing(before.members, after.members);
    changed.merge(Missing(after.members, before.members));
    if (changed.empty())
        return;
    context_.signals.RaiseAbout(id, SignalId::MembersChanged, changed);
    // Who was taken out may have had a session.
    context_.signals.RaiseAbout(id, SignalId::SessionsChanged, changed);
}

void ProjectManagement::Deleted(const Project& project, const std::vector<std::string>&)
{
    // Answers the requests that its members hold; they ask again and learn that it is gone.
    context_.signals.Raise(OV::ToUtf8(project.id), SignalId::ProjectStateChanged);
}

void ProjectManagement::AddMember(const Call& call)
{
    const auto projectId = ManagedProject(call);
    const auto member = call.Read<Records::NewMember>();
    const auto role = ExistingRole(member.role);
    context_.rights.RequireAllOf(call, projectId, role);
    const auto userId = users_.RequireId(OV::ToUtf8(member.loginName));
    if (!members_.Add(projectId, userId, role))
        throw Refusal(ErrorCode::NameAlreadyExists, "The user is a member already.");
    context_.signals.RaiseAbout(projectId, SignalId::MembersChanged, {userId});
}

void ProjectManagement::SetRole(const Call& call)
{
    const auto projectId = ManagedProject(call);
    const auto role = ExistingRole(call.Read<Records::RoleOfMember>().value);
    context_.rights.RequireAllOf(call, projectId, role);
    const auto userId = users_.RequireId(call.parameters[1]);
    context_.rights.RequireAllOf(call, projectId, members_.RoleOf(projectId, userId));
    if (!members_.SetRole(projectId, userId, role))
        throw Refusal(ErrorCode::NotFound, "The user is no member of this project.");
    context_.signals.RaiseAbout(projectId, SignalId::MembersChanged, {userId});
}

void ProjectManagement::RemoveMember(const Call& call)
{
    const auto projectId = ManagedProject(call);
    const auto userId = users_.RequireId(call.parameters[1]);
    context_.rights.RequireAllOf(call, projectId, members_.RoleOf(projectId, userId));
    const bool hadSession = sessions_.Find(projectId, userId).has_value();
    if (!members_.Remove(projectId, userId))
        throw Refusal(ErrorCode::NotFound, "The user is no member of this project.");
    // Reaches the request that he himself holds, too: his client asks again and is refused.
    context_.signals.RaiseAbout(projectId, SignalId::MembersChanged, {userId});
    if (hadSession)
        context_.signals.RaiseAbout(projectId, SignalId::SessionsChanged, {userId});
}

void ProjectManagement::SetState(const Call& call)
{
    const auto& projectId = call.parameters[0];
    const auto former = RequireProject(projects_, projectId);
    context_.rights.RequireProjectManager(call);
    const auto state = call.Read<Syncra::Protocol::StateOfProject>().state;
    if (state == former)
        return;
    projects_.SetState(projectId, state);
    context_.signals.Raise(projectId, SignalId::ProjectStateChanged);
}

std::string ProjectManagement::ManagedProject(const Call& call)
{
    (void)RequireProject(projects_, call.parameters[0]);
    context_.rights.RequireMemberManager(call, call.parameters[0]);
    return call.parameters[0];
}

std::string ProjectManagement::ExistingRole(const OV::UniString& name)
{
    auto role = OV::ToUtf8(name);
    if (!projects_.RoleExists(role))
        throw Refusal(ErrorCode::NotFound, "There is no role \"" + role + "\".");
    return role;
}

}  // namespace Nexar
