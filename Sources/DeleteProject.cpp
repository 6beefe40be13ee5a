#include "DeleteProject.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "Flow/Detail/Repositories.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"

namespace SYC {

namespace {

using Syncra::Server::Management::ProjectRepository;

}  // namespace

void DeleteProject::Delete()
{
    Start([login = login_, project = project_](const Report& report) -> Result {
        report(GetText(FlowText::RemoveProject));
        auto failure = ChangeOnServer<ProjectRepository>(
            login, [&](ProjectRepository& repository) { repository.Projects().Delete(project.id); },
            [&] { return !ConnectQuickly(login)->ProjectExists(project.name); });
        const bool isGone = failure.kind == FailureKind::ObjectGone;
        return {{}, isGone ? Failure() : std::move(failure)};
    });
}

}  // namespace SYC
