#include "Management/SessionManagement.hpp"

#include "ProjectAccess.hpp"

namespace Nexar {

using namespace Syncra::Protocol;

namespace {

constexpr const char* Root = "/root/syncrav2/sessions";

}  // namespace

void SessionManagement::AddRoutes(Router& router)
{
    router.Add("GET", Root, [this](const Call& call) { return SessionsAtWork{List(call)}; });
    router.Add("POST", std::string(Root) + "/{}/end", [this](const Call& call) { End(call); });
}

std::vector<SessionAtWork> SessionManagement::List(const Call& call)
{
    const auto project = call.request.query.find("project");
    const bool isOfOne = project != call.request.query.end();
    if (isOfOne) {
        (void)RequireProject(projects_, project->second);
        context_.rights.RequireMemberManager(call, project->second);
    }
    auto sessions = sessions_.ListAtWork(isOfOne ? project->second : std::string());
    std::map<OV::UniString, bool> manages;
    std::erase_if(sessions, [&](const SessionAtWork& session) {
        const auto [found, isNew] = manages.try_emplace(session.projectId, isOfOne);
        if (isNew && !isOfOne)
            found->second = context_.rights.ManagesMembersOf(call, OV::ToUtf8(session.projectId));
        return !found->second;
    });
    return sessions;
}

void SessionManagement::End(const Call& call)
{
    const auto& sessionId = call.parameters[0];
    const auto session = sessions_.FindOwner(sessionId);
    // Who may not see the session is not told whether there is one.
    if (!session || !context_.rights.ManagesMembersOf(call, session->projectId))
        throw Refusal(ErrorCode::NotFound,
                      "There is no such session that you may end; it may have ended already.");
    context_.rights.RequireAllOf(call, session->projectId,
                                 members_.RoleOf(session->projectId, session->userId));
    const auto reason = call.Read<ReasonOfEnd>().value;
    Rules::CheckText(reason, "reason");
    if (!sessions_.End(sessionId, *session, call.user.userId, reason))
        throw Refusal(ErrorCode::NotFound, "The session has ended already.");
    context_.signals.RaiseAbout(session->projectId, SignalId::SessionsChanged, {session->userId});
    context_.signals.RaiseFor(session->projectId, SignalId::SessionEnded, {session->userId});
}

}  // namespace Nexar
