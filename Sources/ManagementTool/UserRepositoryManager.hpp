#pragma once

#include "ManagementTool/ConnectedRepositoryManager.hpp"
#include "OVRoot/Export.hpp"
#include "SyncraProtocol/Management/CustomPropertyDefinition.hpp"
#include "SyncraProtocol/Management/Group.hpp"
#include "SyncraProtocol/Management/Permission.hpp"
#include "SyncraProtocol/Management/PermissionSet.hpp"
#include "SyncraProtocol/Management/Role.hpp"
#include "SyncraProtocol/Management/User.hpp"

namespace Syncra::Protocol {
struct Photo;
}

namespace Syncra::Server::Management {
struct RepositoryContents;
class UserRepository;
}  // namespace Syncra::Server::Management

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
    using Text = OV::UniString;

public:
    /// The task of the operation of that name.
    /// @{
    using GetUsersTask = RecordTask<RecordOperation::List, User>;
    using GetUserTask = RecordTask<RecordOperation::Get, User>;
    using FindUserTask = RecordTask<RecordOperation::Find, User>;
    class FindUserByLoginTask;
    using InsertUserTask = RecordTask<RecordOperation::Insert, User>;
    using UpdateUserTask = RecordTask<RecordOperation::Update, User>;
    using DeleteUserTask = RecordTask<RecordOperation::Delete, User>;
    class SetUserPasswordTask;
    class GetUserPhotoTask;
    class SetUserPhotoTask;
    using GetRolesTask = RecordTask<RecordOperation::List, Role>;
    using GetRoleTask = RecordTask<RecordOperation::Get, Role>;
    using FindRoleTask = RecordTask<RecordOperation::Find, Role>;
    using InsertRoleTask = RecordTask<RecordOperation::Insert, Role>;
    using UpdateRoleTask = RecordTask<RecordOperation::Update, Role>;
    using DeleteRoleTask = RecordTask<RecordOperation::Delete, Role>;
    class DuplicateRoleTask;
    using GetGroupsTask = RecordTask<RecordOperation::List, Group>;
    using GetGroupTask = RecordTask<RecordOperation::Get, Group>;
    using FindGroupTask = RecordTask<RecordOperation::Find, Group>;
    using InsertGroupTask = RecordTask<RecordOperation::Insert, Group>;
    using UpdateGroupTask = RecordTask<RecordOperation::Update, Group>;
    using DeleteGroupTask = RecordTask<RecordOperation::Delete, Group>;
    class IsInGroupTask;
    class AddToGroupTask;
    class RemoveFromGroupTask;
    using GetPermissionsTask = RecordTask<RecordOperation::List, Permission>;
    using GetPermissionTask = RecordTask<RecordOperation::Get, Permission>;
    using FindPermissionTask = RecordTask<RecordOperation::Find, Permission>;
    using InsertPermissionTask = RecordTask<RecordOperation::Insert, Permission>;
    using UpdatePermissionTask = RecordTask<RecordOperation::Update, Permission>;
    using DeletePermissionTask = RecordTask<RecordOperation::Delete, Permission>;
    using GetPermissionSetsTask = RecordTask<RecordOperation::List, PermissionSet>;
    using GetPermissionSetTask = RecordTask<RecordOperation::Get, PermissionSet>;
    using FindPermissionSetTask = RecordTask<RecordOperation::Find, PermissionSet>;
    using InsertPermissionSetTask = RecordTask<RecordOperation::Insert, PermissionSet>;
    using UpdatePermissionSetTask = RecordTask<RecordOperation::Update, PermissionSet>;
    using DeletePermissionSetTask = RecordTask<RecordOperation::Delete, PermissionSet>;
    using GetCustomPropertiesTask = RecordTask<RecordOperation::List, CustomProperty>;
    using FindCustomPropertyTask = RecordTask<RecordOperation::Find, CustomProperty>;
    using InsertCustomPropertyTask = RecordTask<RecordOperation::Insert, CustomProperty>;
    using UpdateCustomPropertyTask = RecordTask<RecordOperation::Update, CustomProperty>;
    using DeleteCustomPropertyTask = RecordTask<RecordOperation::Delete, CustomProperty>;
    /// @}
    class MergeTask;

    /// The executor must outlive the manager and run one task at a time.
    explicit UserRepositoryManager(OV::Executor& executor);

    /// Puts this repository in place of the one connected to; an empty one disconnects. Returns
    /// whether there is one now.
    bool SetRepository(OV::Ref<Repository> repository);

    /// Those that the signed-in user may see, by full name.
    bool GetUsers(OV::Array<User>& users);
    /// By his identifier.
    bool GetUser(const Text& id, User& user);
    /// By the full name; the first one when several have it.
    bool FindUser(const Text& name, User& user);
    /// When nobody has the login name, the user is told nothing.
    bool FindUserByLoginName(const Text& loginName, User& user);
    /// Without a password the new user cannot sign in yet.
    bool InsertUser(User& user);
    /// He can sign in with the password at once.
    bool InsertUser(User& user, const OV::Secret& password);
    /// The operation on the user of that identifier.
    /// @{
    bool UpdateUser(User& user);
    bool DeleteUser(const User& user);
    /// @}
    /// For the user himself and administrators. Signs him out everywhere else.
    bool SetUserPassword(const Text& user, const OV::Secret& password);
    /// Empty when the user has none.
    bool GetUserPhoto(const Text& user, Photo& photo);
    /// An empty photo takes the present one away.
    bool SetUserPhoto(const Text& user, const Photo& photo);

    /// The operation on roles.
    /// @{
    bool GetRoles(OV::Array<Role>& roles);
    bool GetRole(const Text& id, Role& role);
    bool FindRole(const Text& name, Role& role);
    bool InsertRole(Role& role);
    bool UpdateRole(Role& role);
    bool DeleteRole(const Role& role);
    /// @}
    /// A role with the permissions of another one; never built in.
    bool DuplicateRole(const Text& id, const Text& newName, Role& duplicate);

    /// The operation on groups. The users of a group are not changed by it.
    /// @{
    bool GetGroups(OV::Array<Group>& groups);
    bool GetGroup(const Text& id, Group& group);
    bool FindGroup(const Text& name, Group& group);
    bool InsertGroup(Group& group);
    bool UpdateGroup(Group& group);
    bool DeleteGroup(const Group& group);
    /// @}
    /// Nothing happens when he is in it already.
    bool AddToGroup(const Text& groupId, const Text& user);
    /// True as well for who is not in it.
    bool RemoveFromGroup(const Text& groupId, const Text& user);

    /// The operation on permissions.
    /// @{
    bool GetPermissions(OV::Array<Permission>& permissions);
    bool GetPermission(const Text& id, Permission& permission);
    bool FindPermission(const Text& name, Permission& permission);
    bool InsertPermission(Permission& permission);
    bool UpdatePermission(Permission& permission);
    bool DeletePermission(const Permission& permission);
    /// @}

    /// The operation on permission sets.
    /// @{
    bool GetPermissionSets(OV::Array<PermissionSet>& sets);
    bool GetPermissionSet(const Text& id, PermissionSet& set);
    bool FindPermissionSet(const Text& name, PermissionSet& set);
    bool InsertPermissionSet(PermissionSet& set);
    bool UpdatePermissionSet(PermissionSet& set);
    bool DeletePermissionSet(const PermissionSet& set);
    /// @}

    /// The operation on the definitions of custom properties.
    /// @{
    bool GetCustomPropertyDefinitions(OV::Array<CustomProperty>& definitions);
    bool FindCustomPropertyDefinition(const Text& name, CustomProperty& definition);
    bool InsertCustomPropertyDefinition(CustomProperty& definition);
    bool UpdateCustomPropertyDefinition(CustomProperty& definition);
    bool DeleteCustomPropertyDefinition(const CustomProperty& definition);
    /// @}

    /// Takes over what another server holds, as its Get operations bring it: what has a name that
    /// is here becomes like the other's, the rest is added, together or not at all.
    bool Merge(const Management::RepositoryContents& contents);

    /// Whether the user is one. False as well when the server did not say; see GetLastFailure.
    bool IsServerAdministrator(const Text& user);
    /// The same for that group of the server, or a change of who is in it.
    /// @{
    bool IsProjectAdministrator(const Text& user);
    bool AddToServerAdministrators(const Text& user);
    bool AddToProjectAdministrators(const Text& user);
    bool RemoveFromServerAdministrators(const Text& user);
    bool RemoveFromProjectAdministrators(const Text& user);
    /// @}

private:
    bool IsInGroup(const Text& groupId, const Text& user);
};

}  // namespace Syncra::Server::ManagementTool::Core
