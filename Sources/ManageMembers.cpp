#include "ManageMembers.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "Flow/Detail/Repositories.hpp"
#include "SyncraProtocol/Management/Group.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

#include <algorithm>

namespace SYC {

namespace {

using Syncra::Client::SignInData;
using Syncra::Server::Management::ProjectRepository;
using Syncra::Server::Management::UserRepository;
namespace BuiltInGroups = Syncra::Server::Management::BuiltInGroups;

/// As the server says now; nothing for who is no member.
std::optional<OV::UniString> AskForRole(const SignInData& login, const OV::UniString& projectId,
                                        const OV::UniString& loginName)
{
    for (const auto& member : ConnectQuickly(login)->GetProjectMembersEx(projectId, {}).members)
        if (member.loginName == loginName)
            return member.roleName;
    return std::nullopt;
}

bool HasSession(const SignInData& login, const OV::UniString& projectId,
                const OV::UniString& loginName)
{
    const auto sessions = ConnectQuickly(login)->GetAllSessions(projectId);
    return std::any_of(sessions.begin(), sessions.end(),
                       [&](const auto& session) { return session.loginName == loginName; });
}

Failure UnlessGone(Failure failure)
{
    return failure.kind == FailureKind::ObjectGone ? Failure() : failure;
}

}  // namespace

void ManageMembers::Look()
{
    Start([this, login = login_](const Report& report) -> Result {
        report(GetText(FlowText::AskForRights));
        const auto users = ConnectRepository<UserRepository>(login);
        Rights rights;
        for (const auto& group : users->GetUserGroups(login.userName))
            rights.managesAll |=
                group == BuiltInGroups::ProjectManagers || group == BuiltInGroups::Administrators;
        for (const auto& role : users->Roles().List())
            rights.roles.push_back(role.name);
        return {[this, rights] { rights_ = rights; }, {}};
    });
}

void ManageMembers::SetRole(const OV::UniString& loginName, const OV::UniString& role)
{
    Start([login = login_, project = projectId_, loginName, role](const Report& report) -> Result {
        report(GetText(FlowText::ChangeMember));
        return {{},
                ChangeOnServer<ProjectRepository>(
                    login,
                    [&](ProjectRepository& repository) {
                        repository.SetMemberRole(project, loginName, role);
                    },
                    [&] { return AskForRole(login, project, loginName) == role; })};
    });
}

void ManageMembers::TakeOut(const OV::UniString& loginName)
{
    Start([login = login_, project = projectId_, loginName](const Report& report) -> Result {
        report(GetText(FlowText::ChangeMember));
        return {
            {},
            UnlessGone(ChangeOnServer<ProjectRepository>(
                login,
                [&](ProjectRepository& repository) { repository.RemoveMember(project, loginName); },
                [&] { return !AskForRole(login, project, loginName); }))};
    });
}

void ManageMembers::EndSession(const OV::UniString& loginName, const OV::UniString& reason)
{
    Start(
        [login = login_, project = projectId_, loginName, reason](const Report& report) -> Result {
            report(GetText(FlowText::EndSession));
            return {{},
                    UnlessGone(ChangeOnServer<ProjectRepository>(
                        login,
                        [&](ProjectRepository& repository) {
                            for (const auto& session : repository.GetSessions(project))
                                if (session.loginName == loginName)
                                    repository.EndSession(session.id, reason);
                        },
                        [&] { return !HasSession(login, project, loginName); }))};
        });
}

}  // namespace SYC
