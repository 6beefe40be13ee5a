#include "Command.hpp"
#include "Commands.hpp"

#include "CacheView.hpp"
#include "OVRoot/Logger.hpp"
#include "ProjectArguments.hpp"
#include "ProjectStatusText.hpp"
#include "RegisteredProjects.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/CommunicationException.hpp"
#include "SyncraURL.hpp"

#include <algorithm>
#include <optional>

namespace {

using Syncra::Protocol::Project;
using Syncra::Protocol::Session;

/// What the server tells of a project without a session being taken or started.
struct ServerView {
    ServerSays says = ServerSays::Unreachable;
    std::string problem;
    std::optional<Project> project;
    bool member = false;
    std::optional<Session> session;
    OV::UniString computer;
};

void AskAboutProject(Syncra::Client::SyncraClient& client, const OV::UniString& name,
                     ServerView& view)
{
    const auto projects = client.GetProjects();
    const auto found = std::find_if(projects.begin(), projects.end(),
                                    [&](const Project& project) { return project.name == name; });
    view.says = found == projects.end() && !client.ProjectExists(name) ? ServerSays::Deleted
                                                                       : ServerSays::Present;
    if (found == projects.end())
        return;
    view.project = *found;
    view.member = client.IsMember(found->id);
    if (!view.member)
        return;
    const auto sessions = client.GetSessions(found->id);
    if (sessions.empty())
        return;
    view.session = sessions.front();
    view.computer = client.GetSessionAttribute(
        view.session->id, Syncra::Protocol::SessionAttributeNames::ComputerName);
}

ServerView AskServer(const SYC::Inner::ProjectConnectionInfo& info, Context& context)
{
    ServerView view;
    try {
        const auto client = SYCB::CreateSyncraClient(SYC::ToSyncraLocation(info));
        AskAboutProject(*client, info.projectName, view);
        if (view.says == ServerSays::Deleted)
            context.exitCode = ExitCode::ProjectNotFound;
    } catch (const OV::Exception& error) {
        const bool isRefused =
            dynamic_cast<const Communication::ResponseContentException*>(&error) != nullptr;
        view.says = isRefused ? ServerSays::NotAsked : ServerSays::Unreachable;
        view.problem = ForDisplay(error.GetMessage());
        context.exitCode = ExitCodeOf(error);
        if (context.exitCode == ExitCode::Failure && !isRefused)
            throw;
    }
    return view;
}

void PrintJson(const ServerView& view, const std::string& status,
               const SYC::CachedProjectInfo* cache, const Output& output)
{
    Json json{{"reachable", view.says != ServerSays::Unreachable},
              {"problem", view.problem.empty() ? Json(nullptr) : Json(view.problem)},
              {"status", status},
              {"cached", cache != nullptr},
              {"onServer", view.project.has_value()},
              {"member", view.member}};
    if (view.project) {
        json["projectId"] = ForJson(view.project->id);
        json["state"] = ForJson(SYC::GetServerStateText(view.project->state));
    }
    json["session"] = view.session ? ForJson(view.session->id) : Json(nullptr);
    json["computer"] = ForJsonOrNull(view.computer);
    output.PrintJson(json);
}

void PrintText(const ServerView& view, const std::string& status, const Output& output)
{
    std::vector<std::pair<std::string, std::string>> fields{{"status", status}};
    if (view.says == ServerSays::Present || view.says == ServerSays::Deleted) {
        fields.emplace_back("on server",
                            view.project ? ForDisplay(SYC::GetServerStateText(view.project->state))
                            : view.says == ServerSays::Deleted ? "no such project"
                                                               : "exists, but not for you");
        fields.emplace_back("member", view.member ? "yes" : "no");
        fields.emplace_back("session", view.session ? ForDisplay(view.session->id) : "none");
        fields.emplace_back("held by", ForDisplay(view.computer));
    }
    output.PrintFields(fields);
}

void RunStatus(const ProjectArguments& arguments, Context& context)
{
    const auto info = arguments.Read();
    const auto cache = SYC::registeredProjects().GetCacheInfo(SYC::ToSyncraLocation(info), true,
                                                              context.DataFolder());
    context.output.Progress("Asking " + DescribeLogin(info) + " ...");
    const ServerView view = AskServer(info, context);
    if (!view.problem.empty())
        context.output.Error(view.problem);
    const std::string status = cache ? CacheStatus(*cache, view.says) : "not cached here";
    if (context.output.json)
        PrintJson(view, status, cache.get(), context.output);
    else
        PrintText(view, status, context.output);
}

}  // namespace

void DeclareStatus(CLI::App& command, Context& context)
{
    DefineCommand(command, context, &RunStatus);
}
