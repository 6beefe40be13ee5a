#include "UserInterface/ProjectDialogs.hpp"

#include "BrowseShareableProject.hpp"
#include "CreateNewSyncraProject.hpp"
#include "DeleteProject.hpp"
#include "Flow/Detail/CacheOfProject.hpp"
#include "Flow/Detail/FlowText.hpp"
#include "Flow/OwnExecutors.hpp"
#include "JoinProject.hpp"
#include "SyncraURL.hpp"
#include "UpdateProjectSettings.hpp"
#include "UserInterface/FlowDialog.hpp"
#include "UserInterface/LeaveProjectDialog.hpp"
#include "UserInterface/ProjectSettingsDialog.hpp"

namespace SYC {

namespace {

using Syncra::Client::SignInData;

constexpr int Agreed = 1;

/// Whether there is a session of this computer that another one can take the place of.
bool HasCachedSession(const IO::Location& project, const IO::Location& dataFolder)
{
    const auto cache = FindCacheOf(project, CacheFolderOr(dataFolder));
    return cache && !cache->GetSessionId().empty();
}

/// Asks for what the join failed for the want of; whether it is to be tried again.
bool Agrees(const JoinProject& join, const IO::Location& project, const IO::Location& dataFolder,
            JoinOptions& options)
{
    const Failure& failure = join.GetFailure();
    if (join.GetResult() == CheckResult::SessionInUse)
        return options.allowTakeover = OV::ShowAlert(Alerts::TakeSessionOver,
                                                     {failure.sentence, failure.advice}) == Agreed;
    if (join.GetResult() == CheckResult::ProjectMismatch && !options.newSession &&
        HasCachedSession(project, dataFolder))
        return options.newSession =
                   OV::ShowAlert(Alerts::NewSession, {ToConnectionInfo(project).projectName}) ==
                   Agreed;
    return ShowFailure(failure);
}

/// Runs a flow behind its dialog, again while the user wants to after a failure.
template <class Start>
bool Run(Flow& flow, FlowText title, Start start)
{
    do {
        start();
        if (FlowDialog(flow, GetText(title)).Invoke())
            return true;
    } while (ShowFailure(flow.GetFailure()));
    return false;
}

const Syncra::Server::Management::V2::Project* FindById(const BrowseShareableProject& browse,
                                                        const OV::UniString& id)
{
    for (const auto& project : browse.GetServer().projects)
        if (project.id == id)
            return &project;
    (void)ShowFailure(MakeFailure(FailureKind::ObjectGone));
    return nullptr;
}

}  // namespace

std::unique_ptr<JoinedProject> JoinProjectWithDialogs(const IO::Location& project,
                                                      const IO::Location& dataFolder)
{
    // The project goes on telling on one of them.
    const auto executors = std::make_shared<OwnExecutors>();
    JoinProject join(project, dataFolder, *executors);
    JoinOptions options;
    do {
        join.Join(options);
        if (FlowDialog(join, GetText(FlowText::JoinTitle)).Invoke()) {
            (void)ShowFailure(join.GetRefreshFailure());
            auto joined = join.TakeProject();
            joined->Keep(executors);
            return joined;
        }
    } while (Agrees(join, project, dataFolder, options));
    return nullptr;
}

bool LeaveProjectWithDialogs(const IO::Location& project, const IO::Location& dataFolder)
{
    OwnExecutors executors;
    LeaveProject leave(project, dataFolder, executors);
    if (!Run(leave, FlowText::LeaveTitle, [&] { leave.Look(); }))
        return false;
    const auto found = *leave.GetFound();
    if (found.isInUse) {
        (void)ShowFailure(MakeFailure(FailureKind::ObjectInUse));
        return false;
    }
    LeaveProjectDialog dialog(ToConnectionInfo(project).projectName, found);
    return dialog.Invoke() &&
           Run(leave, FlowText::LeaveTitle, [&] { leave.Leave(dialog.GetOptions()); });
}

IO::Location ShareProjectWithDialogs(const SignInData& login)
{
    OwnExecutors executors;
    BrowseShareableProject browse(login, executors);
    if (!Run(browse, FlowText::ShareTitle, [&] { browse.Refresh(); }))
        return {};
    if (!browse.GetServer().mayShare) {
        (void)ShowFailure(MakeFailure(FailureKind::AccessDenied));
        return {};
    }
    CreateNewSyncraProject create(login, executors);
    ProjectSettingsDialog dialog(browse.GetServer(), create);
    return dialog.Invoke() ? create.GetLocation() : IO::Location();
}

bool UpdateProjectSettingsWithDialogs(const SignInData& login, const OV::UniString& projectId)
{
    OwnExecutors executors;
    BrowseShareableProject browse(login, executors);
    if (!Run(browse, FlowText::SettingsTitle, [&] { browse.Refresh(); }))
        return false;
    const auto* project = FindById(browse, projectId);
    if (project == nullptr)
        return false;
    UpdateProjectSettings update(login, *project, executors);
    return ProjectSettingsDialog(browse.GetServer(), update).Invoke();
}

bool DeleteProjectWithDialogs(const SignInData& login, const OV::UniString& projectId)
{
    OwnExecutors executors;
    BrowseShareableProject browse(login, executors);
    if (!Run(browse, FlowText::DeleteTitle, [&] { browse.Refresh(); }))
        return false;
    const auto* project = FindById(browse, projectId);
    if (project == nullptr)
        return false;
    if (OV::ShowAlert(Alerts::DeleteProject, {project->name}) != Agreed ||
        OV::ShowAlert(Alerts::DeleteProjectForGood,
                      {project->name, static_cast<std::uint64_t>(project->members.size())}) !=
            Agreed)
        return false;
    DeleteProject removal(login, *project, executors);
    return Run(removal, FlowText::DeleteTitle, [&] { removal.Delete(); });
}

}  // namespace SYC
