#include "ManagementTool/ProjectRepositoryManager.hpp"

namespace Syncra::Server::ManagementTool::Core {

Nothing ProjectRepositoryManager::MergeStep(Repository& repository, const List<Text>& from,
                                            const Text& into)
{
    repository.MergeCategories(from, into);
    return {};
}

bool ProjectRepositoryManager::CloseRepositories()
{
    const auto repository = Held();
    Hold(nullptr);
    if (!repository)
        return false;
    repository->Close();
    return true;
}

bool ProjectRepositoryManager::GetProject(const Text& id, Project& project)
{
    OV::Ref<GetProjectTask> task;
    const auto make = [&](const OV::Ref<Repository>& repository) {
        return task = OV::MakeRef<GetProjectTask>(repository, id);
    };
    auto failure = Attempt(make);
    if (failure && failure->type != ErrorType::NoError) {
        if (!ResetConnection() && GetLastFailure().type == ErrorType::NoError)
            return false;
        failure = Attempt(make);
    }
    if (!failure) {
        project = std::move(task->result);
        return true;
    }
    // What the user gave up, at whichever step, is no failure to tell him.
    if (failure->type == ErrorType::NoError)
        return false;
    const bool isGone =
        failure->type == ErrorType::ObjectRemoved || failure->type == ErrorType::ObjectMissing;
    UserAsyncTaskExecutingImplementation::Current().ShowAlert(
        isGone ? ErrorType::ObjectRemoved : ErrorType::RequestFailed, ObjectType::Project, nullptr);
    return false;
}

}  // namespace Syncra::Server::ManagementTool::Core
