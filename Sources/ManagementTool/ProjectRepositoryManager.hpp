#pragma once

#include "ManagementTool/ConnectedRepositoryManager.hpp"
#include "ManagementTool/RecordSteps.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// The management tool's way to the projects of a server. For the main thread; how operations wait,
/// fail and are repeated is told at ConnectedRepositoryManager. GetX takes an identifier, FindX a
/// name; what is inserted or updated becomes as the server keeps it.
class SYC_API ProjectRepositoryManager
    : public ConnectedRepositoryManager<Management::ProjectRepository> {
    using Repository = Management::ProjectRepository;
    using Project = Management::V2::Project;
    using Category = Management::ProjectCategory;
    using Module = Management::ConnectedModule;
    template <class Record>
    using List = OV::Array<Record>;
    using Text = OV::UniString;

    using ProjectSteps = RecordSteps<&Repository::Projects>;
    using CategorySteps = RecordSteps<&Repository::Categories>;
    using ModuleSteps = RecordSteps<&Repository::Modules>;
    static Nothing MergeStep(Repository& repository, const List<Text>& from, const Text& into);

public:
    using GetProjectsTask = StepTask<ProjectSteps::List>;
    using GetProjectTask = StepTask<ProjectSteps::Get>;
    using FindProjectTask = StepTask<ProjectSteps::Find>;
    using InsertProjectTask = StepTask<ProjectSteps::Insert>;
    using UpdateProjectTask = StepTask<ProjectSteps::Update>;
    using DeleteProjectTask = StepTask<ProjectSteps::Delete>;
    using GetCustomProjectCategoriesTask = StepTask<CategorySteps::List>;
    using FindCustomProjectCategoryTask = StepTask<CategorySteps::Find>;
    using InsertCustomProjectCategoryTask = StepTask<CategorySteps::Insert>;
    using UpdateCustomProjectCategoryTask = StepTask<CategorySteps::Update>;
    using DeleteCustomProjectCategoryTask = StepTask<CategorySteps::Delete>;
    using MergeCustomProjectCategoriesTask = StepTask<MergeStep>;
    using GetConnectedModulesTask = StepTask<ModuleSteps::List>;

    /// The executor must outlive the manager and run one task at a time.
    explicit ProjectRepositoryManager(OV::Executor& executor)
        : ConnectedRepositoryManager(executor, Management::CreateProjectRepository)
    {}

    /// Ends the request under way and disconnects; returns whether there was a repository.
    bool CloseRepositories();

    bool GetProjects(List<Project>& projects) { return Read<GetProjectsTask>(OfProject, projects); }
    /// Tries twice, on a new connection the second time, before the user is told anything, and
    /// never asks him.
    bool GetProject(const Text& id, Project& project);
    bool FindProject(const Text& name, Project& project)
    {
        return Read<FindProjectTask>(OfProject, project, name);
    }
    bool InsertProject(Project& project)
    {
        return Read<InsertProjectTask>(OfProject, project, project);
    }
    bool UpdateProject(Project& project) { return Read<UpdateProjectTask>({}, project, project); }
    bool DeleteProject(const Project& project) { return Remove<DeleteProjectTask>(project); }

    bool GetCustomProjectCategories(List<Category>& categories)
    {
        return Read<GetCustomProjectCategoriesTask>(OfCategory, categories);
    }
    bool FindCustomProjectCategory(const Text& name, Category& category)
    {
        return Read<FindCustomProjectCategoryTask>(OfCategory, category, name);
    }
    bool InsertCustomProjectCategory(Category& category)
    {
        return Read<InsertCustomProjectCategoryTask>({ObjectType::ProjectCategory, &category.name},
                                                     category, category);
    }
    bool UpdateCustomProjectCategory(Category& category)
    {
        return Read<UpdateCustomProjectCategoryTask>({}, category, category);
    }
    bool DeleteCustomProjectCategory(const Category& category)
    {
        return Remove<DeleteCustomProjectCategoryTask>(category);
    }
    /// Projects of the categories `from` come under `into`, and `from` are deleted, together or not
    /// at all. All are identifiers.
    bool MergeCustomProjectCategories(const List<Text>& from, const Text& into)
    {
        return Change<MergeCustomProjectCategoriesTask>(OfCategory, from, into);
    }

    bool GetConnectedModules(List<Module>& modules)
    {
        return Read<GetConnectedModulesTask>({}, modules);
    }

private:
    static constexpr FailureManner OfProject{ObjectType::Project};
    static constexpr FailureManner OfCategory{ObjectType::ProjectCategory};
};

}  // namespace Syncra::Server::ManagementTool::Core
