#include "ModelService.hpp"

#include "ProjectAccess.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <algorithm>

namespace Nexar {

using namespace Syncra::Protocol;

namespace {

constexpr std::uint64_t LongestWaitMilliseconds = 60'000;
constexpr std::size_t MaximumAttributeBytes = 4096;

}  // namespace

void ModelService::AddRoutes(Router& router)
{
    AddProjectRoutes(router);
    AddMemberRoutes(router);
    AddSessionRoutes(router);
    AddAttributeRoutes(router);
    router.AddAsync(
        "GET", "/syncra/v1/signals", [this](Call& call) { ReadSignals(call); },
        [this](const Call& call, const Reply& reply) { WaitForSignals(call, reply); });
}

void ModelService::AddProjectRoutes(Router& router)
{
    router.Add("GET", "/syncra/v1/ports", [this](const Call&) { return PortList{ports_}; });
    router.Add("GET", "/syncra/v1/projects",
               [this](const Call& call) { return projects_.VisibleJson(call.user.userId); });
    router.AddAsync("GET", "/syncra/v1/projects/overview", nullptr,
                    [this, &router](Call call, const Reply& reply) {
                        router.AnswerReading(
                            std::move(call), reply,
                            [this, present = presence_.Counts()](const Call& asked) {
                                auto projects = projects_.OverviewFor(asked.user.userId);
                                for (auto& project : projects)
                                    if (const auto at = present.find(OV::ToUtf8(project.id));
                                        at != present.end())
                                        project.atWork = at->second;
                                return WriteJson(ProjectOverviewList{std::move(projects)});
                            });
                    });
    router.Add("GET", "/syncra/v1/projects/exists", [this](const Call& call) {
        return ProjectExistence{projects_.NameExists(call.QueryText("name"))};
    });
    router.Add("GET", "/syncra/v1/projects/{}/membership", [this](const Call& call) {
        (void)RequireProject(projects_, call.parameters[0]);
        return ProjectMembership{projects_.IsMember(call.parameters[0], call.user.userId)};
    });
    router.Add("GET", "/syncra/v1/projects/{}/state", [this](const Call& call) {
        return StateOfProject{RequireMembership(projects_, call, call.parameters[0])};
    });
}

void ModelService::AddMemberRoutes(Router& router)
{
    router.Add("GET", "/syncra/v1/projects/{}/members", [this](const Call& call) {
        RequireMembership(projects_, call, call.parameters[0]);
        return MemberList{members_.List(call.parameters[0])};
    });
    router.Add("GET", "/syncra/v1/projects/{}/members/changes", [this](const Call& call) {
        const auto& projectId = call.parameters[0];
        RequireMembership(projects_, call, projectId);
        const auto changed =
            signals_.Store().MembersChangedAfter(projectId, call.QueryText("after"));
        auto body = members_.Changes(projectId, changed.since);
        body.changes.place = OV::FromUtf8(changed.place);
        return body;
    });
}

void ModelService::AddSessionRoutes(Router& router)
{
    router.Add("GET", "/syncra/v1/projects/{}/sessions",
               [this](const Call& call) { return SessionList{ListSessions(call)}; });
    router.Add("POST", "/syncra/v1/projects/{}/sessions",
               [this](const Call& call) { return StartSession(call); });
    router.Add("DELETE", "/syncra/v1/sessions/{}", [this](const Call& call) {
        const auto projectId = sessions_.Close(call.parameters[0], call.user.userId);
        if (!projectId)
            throw Refusal(ErrorCode::NotFound,
                          "You have no such session; it may have ended already.");
        signals_.RaiseAbout(*projectId, SignalId::SessionsChanged, {call.user.userId});
    });
    router.Add("GET", "/syncra/v1/sessions/{}/end", [this](const Call& call) {
        if (auto end = sessions_.FindEnd(call.parameters[0], call.user.userId))
            return *std::move(end);
        throw Refusal(ErrorCode::NotFound, "Nobody ended such a session of yours.");
    });
}

void ModelService::AddAttributeRoutes(Router& router)
{
    router.Add("GET", "/syncra/v1/sessions/{}/attributes/{}", [this](const Call& call) {
        if (!sessions_.IsVisibleTo(call.parameters[0], call.user.userId))
            throw Refusal(ErrorCode::NotFound,
                          "There is no such session in a project of yours; it may have ended.");
        return AttributeValue{
            OV::FromUtf8(sessions_.GetAttribute(call.parameters[0], call.parameters[1]))};
    });
    router.Add("PUT", "/syncra/v1/sessions/{}/attributes/{}", [this](const Call& call) {
        const auto projectId = ProjectOfOwnSession(call);
        const auto value = OV::ToUtf8(call.Read<AttributeValue>().value);
        if (std::max(value.size(), call.parameters[1].size()) > MaximumAttributeBytes)
            throw Refusal(ErrorCode::TooLarge, "A session attribute holds at most 4096 bytes.");
        sessions_.SetAttribute(call.parameters[0], call.parameters[1], value,
                               limits_.attributesOfSession);
        const auto name = OV::FromUtf8(call.parameters[1]);
        if (name == SessionAttributeNames::SessionType ||
            name == SessionAttributeNames::ComputerName)
            signals_.RaiseAbout(projectId, SignalId::SessionsChanged, {call.user.userId});
    });
}

std::string ModelService::ProjectOfOwnSession(const Call& call)
{
    auto project = sessions_.FindProject(call.parameters[0], call.user.userId);
    if (!project)
        throw Refusal(ErrorCode::NotFound, "You have no such session; it may have ended already.");
    return *std::move(project);
}

std::vector<Session> ModelService::ListSessions(const Call& call)
{
    const auto& projectId = call.parameters[0];
    RequireMembership(projects_, call, projectId);
    const auto scope = call.request.query.find("scope");
    if (scope != call.request.query.end()) {
        if (scope->second != "all")
            throw Refusal(ErrorCode::BadRequest, "\"scope\" is \"all\" or is left out.");
        return sessions_.List(projectId);
    }
    std::vector<Session> own;
    if (auto session = sessions_.Find(projectId, call.user.userId))
        own.push_back(std::move(*session));
    return own;
}

Session ModelService::StartSession(const Call& call)
{
    const auto& projectId = call.parameters[0];
    const auto state = RequireMembership(projects_, call, projectId);
    if (state == ProjectState::Maintenance)
        throw Refusal(ErrorCode::ProjectUnavailable,
                      "The project is under maintenance. Try again when it is over.");
    auto session = sessions_.Start(projectId, call.user.userId);
    if (!session)
        throw Refusal(ErrorCode::SessionExists, "You have a session in this project already.");
    signals_.RaiseAbout(projectId, SignalId::SessionsChanged, {call.user.userId});
    return *std::move(session);
}

/// Finds the answer, or else the place from which on the request waits.
void ModelService::ReadSignals(Call& call)
{
    const auto projectId = call.QueryText("project");
    RequireMembership(projects_, call, projectId);
    const auto after = call.QueryNumber("after", 0);
    const auto wait = call.QueryNumber("wait", 0);
    auto batch = signals_.Store().BatchAfter(projectId, call.user.userId, after);
    // 0 without waiting asks for the place alone, and gets no signals.
    const bool asksForPlace = after == 0 && wait == 0;
    if (asksForPlace)
        batch.events.clear();
    const bool isAnswer = wait == 0 || after > batch.next || !batch.events.empty();
    call.findings = {isAnswer ? WriteJson(batch) : std::string(), std::to_string(batch.next)};
}

void ModelService::WaitForSignals(const Call& call, const Reply& reply)
{
    const auto projectId = call.QueryText("project");
    const auto wait = std::min(call.QueryNumber("wait", 0), LongestWaitMilliseconds);
    // Who only asks for his place holds nothing. The handle goes with the answer's closure.
    std::shared_ptr<void> presence;
    if (wait > 0)
        presence = presence_.Enter(projectId, call.user.userLogin);
    if (!call.findings[0].empty())
        return reply({200, call.findings[0]});
    reply.WhenGone(
        signals_.Wait(projectId, call.user.userId, ReadNumber(call.findings[1]).value_or(0),
                      std::chrono::milliseconds(wait),
                      [reply, presence](const SignalBatch& batch) { reply(JsonResponse(batch)); }));
}

}  // namespace Nexar
