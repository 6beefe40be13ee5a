#include "DeleteProject.hpp"

#include "Flow/Detail/FlowText.hpp"
#include "Flow/Detail/Repositories.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"

namespace SYC {

namespace {

using Syncra::Server::Management::ProjectRepository;

/// A deletion of which nobody knows is looked for.
Failure RemoveFromServer(const Syncra::Client::SignInData& login,
                         const DeleteProject::Project& project)
{
    bool wasSent = false;
    try {
        const auto repository = ConnectRepository<ProjectRepository>(login);
        wasSent = true;
        repository->Projects().Delete(project.id);
        return {};
    } catch (...) {
        Failure failure = DescribeException();
        const bool isGone =
            failure.kind == FailureKind::ObjectGone ||
            (wasSent && IsInDoubt(failure) && !AskForName(login, project.name).value_or(true));
        return isGone ? Failure() : failure;
    }
}

}  // namespace

void DeleteProject::Delete()
{
    Start([login = login_, project = project_](const Report& report) -> Result {
        report(GetText(FlowText::RemoveProject));
        return {{}, RemoveFromServer(login, project)};
    });
}

}  // namespace SYC
