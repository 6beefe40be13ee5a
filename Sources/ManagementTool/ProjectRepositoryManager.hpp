#pragma once

#include "ManagementTool/ConnectedRepositoryManager.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraProtocol/Management/ConnectedModule.hpp"
#include "SyncraProtocol/Management/ProjectCategory.hpp"
#include "SyncraProtocol/Management/V2/ProjectV2.hpp"
#include "SyncraProtocol/Session.hpp"

namespace Syncra::Server::Management {
class ProjectRepository;
}

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
    using Text = OV::UniString;

public:
    /// The task of the operation of that name.
    /// @{
    using GetProjectsTask = RecordTask<RecordOperation::List, Project>;
    using GetProjectTask = RecordTask<RecordOperation::Get, Project>;
    using FindProjectTask = RecordTask<RecordOperation::Find, Project>;
    using InsertProjectTask = RecordTask<RecordOperation::Insert, Project>;
    using UpdateProjectTask = RecordTask<RecordOperation::Update, Project>;
    using DeleteProjectTask = RecordTask<RecordOperation::Delete, Project>;
    using GetCustomProjectCategoriesTask = RecordTask<RecordOperation::List, Category>;
    using FindCustomProjectCategoryTask = RecordTask<RecordOperation::Find, Category>;
    using InsertCustomProjectCategoryTask = RecordTask<RecordOperation::Insert, Category>;
    using UpdateCustomProjectCategoryTask = RecordTask<RecordOperation::Update, Category>;
    using DeleteCustomProjectCategoryTask = RecordTask<RecordOperation::Delete, Category>;
    class MergeCustomProjectCategoriesTask;
    class ChangeMemberTask;
    class GetSessionsTask;
    class EndSessionTask;
    using GetConnectedModulesTask = RecordTask<RecordOperation::List, Module>;
    /// @}

    /// The executor must outlive the manager and run one task at a time.
    explicit ProjectRepositoryManager(OV::Executor& executor);

    /// Ends the request under way and disconnects; returns whether there was a repository.
    bool CloseRepositories();

    /// Those that the signed-in user may see, in the order of their creation.
    bool GetProjects(OV::Array<Project>& projects);
    /// Tries twice, on a new connection the second time, before the user is told anything, and
    /// never asks him.
    bool GetProject(const Text& id, Project& project);
    /// The operation on the project of that name or identifier.
    /// @{
    bool FindProject(const Text& name, Project& project);
    bool InsertProject(Project& project);
    bool UpdateProject(Project& project);
    bool DeleteProject(const Project& project);
    /// @}

    /// In the order of their names.
    bool GetCustomProjectCategories(OV::Array<Category>& categories);
    /// The operation on the category of that name or identifier.
    /// @{
    bool FindCustomProjectCategory(const Text& name, Category& category);
    bool InsertCustomProjectCategory(Category& category);
    bool UpdateCustomProjectCategory(Category& category);
    bool DeleteCustomProjectCategory(const Category& category);
    /// @}
    /// Projects of the categories `from` come under `into`, and `from` are deleted, together or not
    /// at all. All are identifiers.
    bool MergeCustomProjectCategories(const OV::Array<Text>& from, const Text& into);

    // The members of a project one by one, of which the server allows more to who manages them.
    // `user` is an identifier or a login name, `role` the name of a role.
    /// A user who is no member becomes one.
    bool AddMember(const Text& projectId, const Text& loginName, const Text& role);
    /// A member gets another role.
    bool SetMemberRole(const Text& projectId, const Text& user, const Text& role);
    /// Ends his session, and deletes his mails.
    bool RemoveMember(const Text& projectId, const Text& user);

    /// Who works in a project, or for an empty `projectId` in any whose members the user manages.
    bool GetSessions(const Text& projectId, OV::Array<Protocol::SessionAtWork>& sessions);
    /// The owner's host is told who did so, and the reason (SYC::SessionEndObserver). What he has
    /// not sent yet stays on his computer. Ask the user before.
    bool EndSession(const Text& sessionId, const Text& reason);

    /// Those that the server has seen.
    bool GetConnectedModules(OV::Array<Module>& modules);
};

}  // namespace Syncra::Server::ManagementTool::Core
