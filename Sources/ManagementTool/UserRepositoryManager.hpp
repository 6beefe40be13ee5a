#pragma once

#include "ManagementTool/ConnectedRepositoryManager.hpp"
#include "ManagementTool/RecordSteps.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// The management tool's way to the users of a server and to what they may do. For the main thread;
/// how operations wait, fail and are repeated is told at ConnectedRepositoryManager. GetX takes an
/// identifier, FindX a name; what is inserted or updated becomes as the server keeps it. Where a
/// user is named, his identifier and his login name are both good.
class SYC_API UserRepositoryManager
    : public ConnectedRepositoryManager<Management::UserRepository> {
    using Repository = Management::UserRepository;
    using User = Management::User;
    using Role = Management::Role;
    using Group = Management::Group;
    using Permission = Management::Permission;
    using PermissionSet = Management::PermissionSet;
    using CustomProperty = Management::CustomPropertyDefinition;
    using Photo = Protocol::Photo;
    template <class Record>
    using List = OV::Array<Record>;
    using Text = OV::UniString;

    using UserSteps = RecordSteps<&Repository::Users>;
    using RoleSteps = RecordSteps<&Repository::Roles>;
    using GroupSteps = RecordSteps<&Repository::Groups>;
    using PermissionSteps = RecordSteps<&Repository::Permissions>;
    using PermissionSetSteps = RecordSteps<&Repository::PermissionSets>;
    using CustomPropertySteps = RecordSteps<&Repository::CustomProperties>;
    /// Those of the operations that are not of a family.
    struct Steps {
        static User FindUserByLogin(Repository& repository, const Text& loginName);
        static User InsertUser(Repository& repository, const User& user,
                               const OV::Secret& password);
        static Nothing SetUserPassword(Repository& repository, const Text& user,
                                       const OV::Secret& password);
        static Photo GetUserPhoto(Repository& repository, const Text& user);
        static Nothing SetUserPhoto(Repository& repository, const Text& user, const Photo& photo);
        static Role DuplicateRole(Repository& repository, const Text& id, const Text& newName);
        static bool IsInGroup(Repository& repository, const Text& group, const Text& user);
        static Nothing AddToGroup(Repository& repository, const Text& group, const Text& user);
        static Nothing RemoveFromGroup(Repository& repository, const Text& group, const Text& user);
        static Nothing Merge(Repository& repository,
                             const Management::RepositoryContents& contents);
    };

public:
    using GetUsersTask = StepTask<UserSteps::List>;
    using GetUserTask = StepTask<UserSteps::Get>;
    using FindUserTask = StepTask<UserSteps::Find>;
    using FindUserByLoginTask = StepTask<Steps::FindUserByLogin>;
    using InsertUserTask = StepTask<Steps::InsertUser>;
    using UpdateUserTask = StepTask<UserSteps::Update>;
    using DeleteUserTask = StepTask<UserSteps::Delete>;
    using SetUserPasswordTask = StepTask<Steps::SetUserPassword>;
    using GetUserPhotoTask = StepTask<Steps::GetUserPhoto>;
    using SetUserPhotoTask = StepTask<Steps::SetUserPhoto>;
    using GetRolesTask = StepTask<RoleSteps::List>;
    using GetRoleTask = StepTask<RoleSteps::Get>;
    using FindRoleTask = StepTask<RoleSteps::Find>;
    using InsertRoleTask = StepTask<RoleSteps::Insert>;
    using UpdateRoleTask = StepTask<RoleSteps::Update>;
    using DeleteRoleTask = StepTask<RoleSteps::Delete>;
    using DuplicateRoleTask = StepTask<Steps::DuplicateRole>;
    using GetGroupsTask = StepTask<GroupSteps::List>;
    using GetGroupTask = StepTask<GroupSteps::Get>;
    using FindGroupTask = StepTask<GroupSteps::Find>;
    using InsertGroupTask = StepTask<GroupSteps::Insert>;
    using UpdateGroupTask = StepTask<GroupSteps::Update>;
    using DeleteGroupTask = StepTask<GroupSteps::Delete>;
    using IsInGroupTask = StepTask<Steps::IsInGroup>;
    using AddToGroupTask = StepTask<Steps::AddToGroup>;
    using RemoveFromGroupTask = StepTask<Steps::RemoveFromGroup>;
    using GetPermissionsTask = StepTask<PermissionSteps::List>;
    using GetPermissionTask = StepTask<PermissionSteps::Get>;
    using FindPermissionTask = StepTask<PermissionSteps::Find>;
    using InsertPermissionTask = StepTask<PermissionSteps::Insert>;
    using UpdatePermissionTask = StepTask<PermissionSteps::Update>;
    using DeletePermissionTask = StepTask<PermissionSteps::Delete>;
    using GetPermissionSetsTask = StepTask<PermissionSetSteps::List>;
    using GetPermissionSetTask = StepTask<PermissionSetSteps::Get>;
    using FindPermissionSetTask = StepTask<PermissionSetSteps::Find>;
    using InsertPermissionSetTask = StepTask<PermissionSetSteps::Insert>;
    using UpdatePermissionSetTask = StepTask<PermissionSetSteps::Update>;
    using DeletePermissionSetTask = StepTask<PermissionSetSteps::Delete>;
    using GetCustomPropertiesTask = StepTask<CustomPropertySteps::List>;
    using FindCustomPropertyTask = StepTask<CustomPropertySteps::Find>;
    using InsertCustomPropertyTask = StepTask<CustomPropertySteps::Insert>;
    using UpdateCustomPropertyTask = StepTask<CustomPropertySteps::Update>;
    using DeleteCustomPropertyTask = StepTask<CustomPropertySteps::Delete>;
    using MergeTask = StepTask<Steps::Merge>;

    /// The executor must outlive the manager and run one task at a time.
    explicit UserRepositoryManager(OV::Executor& executor)
        : ConnectedRepositoryManager(executor, Management::CreateUserRepository)
    {}

    /// Puts this repository in place of the one connected to; an empty one disconnects. Returns
    /// whether there is one now.
    bool SetRepository(OV::Ref<Repository> repository)
    {
        Hold(std::move(repository));
        return IsConnected();
    }

    bool GetUsers(List<User>& users) { return Read<GetUsersTask>(OfUser, users); }
    bool GetUser(const Text& id, User& user) { return Read<GetUserTask>(OfUser, user, id); }
    /// By the full name; the first one when several have it.
    bool FindUser(const Text& name, User& user) { return Read<FindUserTask>(OfUser, user, name); }
    /// When nobody has the login name, the user is told nothing.
    bool FindUserByLoginName(const Text& loginName, User& user);
    /// Without a password the new user cannot sign in yet.
    bool InsertUser(User& user) { return InsertUser(user, {}); }
    bool InsertUser(User& user, const OV::Secret& password)
    {
        return Read<InsertUserTask>(OfUser, user, user, password);
    }
    bool UpdateUser(User& user) { return Read<UpdateUserTask>({}, user, user); }
    bool DeleteUser(const User& user) { return Remove<DeleteUserTask>(user); }
    bool SetUserPassword(const Text& user, const OV::Secret& password)
    {
        return Change<SetUserPasswordTask>(OfUser, user, password);
    }
    /// Empty when the user has none.
    bool GetUserPhoto(const Text& user, Photo& photo)
    {
        return Read<GetUserPhotoTask>(OfUser, photo, user);
    }
    /// An empty photo takes the present one away.
    bool SetUserPhoto(const Text& user, const Photo& photo)
    {
        return Change<SetUserPhotoTask>(OfUser, user, photo);
    }

    bool GetRoles(List<Role>& roles) { return Read<GetRolesTask>(OfRole, roles); }
    bool GetRole(const Text& id, Role& role) { return Read<GetRoleTask>(OfRole, role, id); }
    bool FindRole(const Text& name, Role& role) { return Read<FindRoleTask>(OfRole, role, name); }
    bool InsertRole(Role& role) { return Read<InsertRoleTask>(OfRole, role, role); }
    bool UpdateRole(Role& role) { return Read<UpdateRoleTask>({}, role, role); }
    bool DeleteRole(const Role& role) { return Remove<DeleteRoleTask>(role); }
    /// A role with the permissions of another one; never built in.
    bool DuplicateRole(const Text& id, const Text& newName, Role& duplicate)
    {
        return Read<DuplicateRoleTask>(OfRole, duplicate, id, newName);
    }

    bool GetGroups(List<Group>& groups) { return Read<GetGroupsTask>(OfGroup, groups); }
    bool GetGroup(const Text& id, Group& group) { return Read<GetGroupTask>(OfGroup, group, id); }
    bool FindGroup(const Text& name, Group& group)
    {
        return Read<FindGroupTask>(OfGroup, group, name);
    }
    bool InsertGroup(Group& group) { return Read<InsertGroupTask>(OfGroup, group, group); }
    bool UpdateGroup(Group& group) { return Read<UpdateGroupTask>({}, group, group); }
    bool DeleteGroup(const Group& group) { return Remove<DeleteGroupTask>(group); }
    bool AddToGroup(const Text& groupId, const Text& user)
    {
        return Change<AddToGroupTask>(OfUser, groupId, user);
    }
    /// True as well for who is not in it.
    bool RemoveFromGroup(const Text& groupId, const Text& user)
    {
        return Remove<RemoveFromGroupTask>(groupId, user);
    }

    bool GetPermissions(List<Permission>& permissions)
    {
        return Read<GetPermissionsTask>(OfPermission, permissions);
    }
    bool GetPermission(const Text& id, Permission& permission)
    {
        return Read<GetPermissionTask>(OfPermission, permission, id);
    }
    bool FindPermission(const Text& name, Permission& permission)
    {
        return Read<FindPermissionTask>(OfPermission, permission, name);
    }
    bool InsertPermission(Permission& permission)
    {
        return Read<InsertPermissionTask>(OfPermission, permission, permission);
    }
    bool UpdatePermission(Permission& permission)
    {
        return Read<UpdatePermissionTask>({}, permission, permission);
    }
    bool DeletePermission(const Permission& permission)
    {
        return Remove<DeletePermissionTask>(permission);
    }

    bool GetPermissionSets(List<PermissionSet>& sets)
    {
        return Read<GetPermissionSetsTask>(OfPermissionSet, sets);
    }
    bool GetPermissionSet(const Text& id, PermissionSet& set)
    {
        return Read<GetPermissionSetTask>(OfPermissionSet, set, id);
    }
    bool FindPermissionSet(const Text& name, PermissionSet& set)
    {
        return Read<FindPermissionSetTask>(OfPermissionSet, set, name);
    }
    bool InsertPermissionSet(PermissionSet& set)
    {
        return Read<InsertPermissionSetTask>(OfPermissionSet, set, set);
    }
    bool UpdatePermissionSet(PermissionSet& set)
    {
        return Read<UpdatePermissionSetTask>({}, set, set);
    }
    bool DeletePermissionSet(const PermissionSet& set)
    {
        return Remove<DeletePermissionSetTask>(set);
    }

    bool GetCustomPropertyDefinitions(List<CustomProperty>& definitions)
    {
        return Read<GetCustomPropertiesTask>(OfCustomProperty, definitions);
    }
    bool FindCustomPropertyDefinition(const Text& name, CustomProperty& definition)
    {
        return Read<FindCustomPropertyTask>(OfCustomProperty, definition, name);
    }
    bool InsertCustomPropertyDefinition(CustomProperty& definition)
    {
        return Read<InsertCustomPropertyTask>({ObjectType::CustomProperty, &definition.name},
                                              definition, definition);
    }
    bool UpdateCustomPropertyDefinition(CustomProperty& definition)
    {
        return Read<UpdateCustomPropertyTask>({}, definition, definition);
    }
    bool DeleteCustomPropertyDefinition(const CustomProperty& definition)
    {
        return Remove<DeleteCustomPropertyTask>(definition);
    }

    /// Takes over what another server holds, as its Get operations bring it: what has a name that
    /// is here becomes like the other's, the rest is added, together or not at all.
    bool Merge(const Management::RepositoryContents& contents)
    {
        return Change<MergeTask>({}, contents);
    }

    /// Whether the user is one. False as well when the server did not say; see GetLastFailure.
    bool IsServerAdministrator(const Text& user);
    bool IsProjectAdministrator(const Text& user);
    bool AddToServerAdministrators(const Text& user);
    bool AddToProjectAdministrators(const Text& user);
    bool RemoveFromServerAdministrators(const Text& user);
    bool RemoveFromProjectAdministrators(const Text& user);

private:
    static constexpr FailureManner OfUser{ObjectType::User};
    static constexpr FailureManner OfRole{ObjectType::Role};
    static constexpr FailureManner OfGroup{ObjectType::Group};
    static constexpr FailureManner OfPermission{ObjectType::Permission};
    static constexpr FailureManner OfPermissionSet{ObjectType::PermissionSet};
    static constexpr FailureManner OfCustomProperty{ObjectType::CustomProperty};

    bool IsInGroup(const Text& groupId, const Text& user);
};

}  // namespace Syncra::Server::ManagementTool::Core
