#include "ManagementTool/ProjectRepositoryManager.hpp"

#include "ManagementTool/Detail/RecordOperations.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"

namespace Syncra::Server::ManagementTool::Core {

using namespace Management;

namespace {

template <class Record>
using ProjectKind = RecordKind<ProjectRepository, Record>;

constexpr ProjectKind<V2::Project> Projects{&ProjectRepository::Projects, ObjectType::Project};
constexpr ProjectKind<ProjectCategory> Categories{&ProjectRepository::Categories,
                                                  ObjectType::ProjectCategory, true};
constexpr ProjectKind<ConnectedModule> Modules{&ProjectRepository::Modules};

}  // namespace

// clang-format off
using ProjectManager = ProjectRepositoryManager;

bool ProjectManager::GetProjects(OV::Array<Project>& projects)       { return List(Projects, projects); }
bool ProjectManager::FindProject(const Text& name, Project& project) { return Find(Projects, name, project); }
bool ProjectManager::InsertProject(Project& project)                 { return Insert(Projects, project); }
bool ProjectManager::UpdateProject(Project& project)                 { return Update(Projects, project); }
bool ProjectManager::DeleteProject(const Project& project)           { return Delete(Projects, project); }

bool ProjectManager::GetCustomProjectCategories(OV::Array<Category>& categories)     { return List(Categories, categories); }
bool ProjectManager::FindCustomProjectCategory(const Text& name, Category& category) { return Find(Categories, name, category); }
bool ProjectManager::InsertCustomProjectCategory(Category& category)                 { return Insert(Categories, category); }
bool ProjectManager::UpdateCustomProjectCategory(Category& category)                 { return Update(Categories, category); }
bool ProjectManager::DeleteCustomProjectCategory(const Category& category)           { return Delete(Categories, category); }

bool ProjectManager::GetConnectedModules(OV::Array<Module>& modules)                      { return List(Modules, modules); }
// clang-format on

class ProjectRepositoryManager::MergeCustomProjectCategoriesTask
    : public StepTask<ProjectRepository, Nothing> {
    using StepTask::StepTask;
};

class ProjectRepositoryManager::ChangeMemberTask : public StepTask<ProjectRepository, Nothing> {
    using StepTask::StepTask;
};
class ProjectRepositoryManager::GetSessionsTask
    : public StepTask<ProjectRepository, OV::Array<Protocol::SessionAtWork>> {
    using StepTask::StepTask;
};
class ProjectRepositoryManager::EndSessionTask : public StepTask<ProjectRepository, Nothing> {
    using StepTask::StepTask;
};

ProjectRepositoryManager::ProjectRepositoryManager(OV::Executor& executor)
    : ConnectedRepositoryManager(executor)
{}

bool ProjectRepositoryManager::MergeCustomProjectCategories(const OV::Array<Text>& from,
                                                            const Text& into)
{
    return Change<MergeCustomProjectCategoriesTask>(
        {Categories.object},
        [from, into](Repository& repository) { repository.MergeCategories(from, into); });
}

bool ProjectRepositoryManager::AddMember(const Text& projectId, const Text& loginName,
                                         const Text& role)
{
    return Change<ChangeMemberTask>({ObjectType::User, &loginName}, [=](Repository& repository) {
        repository.AddMember(projectId, loginName, role);
    });
}

bool ProjectRepositoryManager::SetMemberRole(const Text& projectId, const Text& user,
                                             const Text& role)
{
    return Change<ChangeMemberTask>({ObjectType::User, &user}, [=](Repository& repository) {
        repository.SetMemberRole(projectId, user, role);
    });
}

bool ProjectRepositoryManager::RemoveMember(const Text& projectId, const Text& user)
{
    return Change<ChangeMemberTask>({ObjectType::User, &user}, [=](Repository& repository) {
        repository.RemoveMember(projectId, user);
    });
}

bool ProjectRepositoryManager::GetSessions(const Text& projectId,
                                           OV::Array<Protocol::SessionAtWork>& sessions)
{
    return Read<GetSessionsTask>({}, sessions, [projectId](Repository& repository) {
        return repository.GetSessions(projectId);
    });
}

bool ProjectRepositoryManager::EndSession(const Text& sessionId, const Text& reason)
{
    return Change<EndSessionTask>(
        {}, [=](Repository& repository) { repository.EndSession(sessionId, reason); });
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
        return task = OV::MakeRef<GetProjectTask>(
                   repository, [id](Repository& each) { return each.Projects().Get(id); });
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
