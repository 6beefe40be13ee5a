#include "ManagementTool/UserRepositoryManager.hpp"

#include "ManagementTool/Detail/RecordOperations.hpp"
#include "SyncraServerManagement/UserRepository.hpp"
#include "SyncraServerManagement/UserRepositoryExceptions.hpp"

#include <algorithm>

namespace Syncra::Server::ManagementTool::Core {

using namespace Management;

namespace {

template <class Record>
using UserKind = RecordKind<UserRepository, Record>;
template <class Result>
using UserTask = StepTask<UserRepository, Result>;

constexpr UserKind<User> Users{&UserRepository::Users, ObjectType::User};
constexpr UserKind<Role> Roles{&UserRepository::Roles, ObjectType::Role};
constexpr UserKind<Group> Groups{&UserRepository::Groups, ObjectType::Group};
constexpr UserKind<Permission> Permissions{&UserRepository::Permissions, ObjectType::Permission};
constexpr UserKind<PermissionSet> Sets{&UserRepository::PermissionSets, ObjectType::PermissionSet};
constexpr UserKind<CustomPropertyDefinition> Definitions{&UserRepository::CustomProperties,
                                                         ObjectType::CustomProperty, true};

constexpr FailureManner OfUser{ObjectType::User};

/// The photo's requests fail like those of a project's client; here they are to fail like the rest.
template <class Request>
auto AsRepositoryRequest(Request&& request)
{
    try {
        return request();
    } catch (const OV::Exception&) {
        RethrowAsRepositoryException();
    }
}

}  // namespace

// clang-format off
using UserManager = UserRepositoryManager;

bool UserManager::GetUsers(OV::Array<User>& users)       { return List(Users, users); }
bool UserManager::GetUser(const Text& id, User& user)    { return Get(Users, id, user); }
bool UserManager::FindUser(const Text& name, User& user) { return Find(Users, name, user); }
bool UserManager::InsertUser(User& user)                 { return Insert(Users, user); }
bool UserManager::UpdateUser(User& user)                 { return Update(Users, user); }
bool UserManager::DeleteUser(const User& user)           { return Delete(Users, user); }

bool UserManager::GetRoles(OV::Array<Role>& roles)       { return List(Roles, roles); }
bool UserManager::GetRole(const Text& id, Role& role)    { return Get(Roles, id, role); }
bool UserManager::FindRole(const Text& name, Role& role) { return Find(Roles, name, role); }
bool UserManager::InsertRole(Role& role)                 { return Insert(Roles, role); }
bool UserManager::UpdateRole(Role& role)                 { return Update(Roles, role); }
bool UserManager::DeleteRole(const Role& role)           { return Delete(Roles, role); }

bool UserManager::GetGroups(OV::Array<Group>& groups)       { return List(Groups, groups); }
bool UserManager::GetGroup(const Text& id, Group& group)    { return Get(Groups, id, group); }
bool UserManager::FindGroup(const Text& name, Group& group) { return Find(Groups, name, group); }
bool UserManager::InsertGroup(Group& group)                 { return Insert(Groups, group); }
bool UserManager::UpdateGroup(Group& group)                 { return Update(Groups, group); }
bool UserManager::DeleteGroup(const Group& group)           { return Delete(Groups, group); }

bool UserManager::GetPermissions(OV::Array<Permission>& permissions)       { return List(Permissions, permissions); }
bool UserManager::GetPermission(const Text& id, Permission& permission)    { return Get(Permissions, id, permission); }
bool UserManager::FindPermission(const Text& name, Permission& permission) { return Find(Permissions, name, permission); }
bool UserManager::InsertPermission(Permission& permission)                 { return Insert(Permissions, permission); }
bool UserManager::UpdatePermission(Permission& permission)                 { return Update(Permissions, permission); }
bool UserManager::DeletePermission(const Permission& permission)           { return Delete(Permissions, permission); }

bool UserManager::GetPermissionSets(OV::Array<PermissionSet>& sets)       { return List(Sets, sets); }
bool UserManager::GetPermissionSet(const Text& id, PermissionSet& set)    { return Get(Sets, id, set); }
bool UserManager::FindPermissionSet(const Text& name, PermissionSet& set) { return Find(Sets, name, set); }
bool UserManager::InsertPermissionSet(PermissionSet& set)                 { return Insert(Sets, set); }
bool UserManager::UpdatePermissionSet(PermissionSet& set)                 { return Update(Sets, set); }
bool UserManager::DeletePermissionSet(const PermissionSet& set)           { return Delete(Sets, set); }

bool UserManager::GetCustomPropertyDefinitions(OV::Array<CustomProperty>& all)               { return List(Definitions, all); }
bool UserManager::FindCustomPropertyDefinition(const Text& name, CustomProperty& definition) { return Find(Definitions, name, definition); }
bool UserManager::InsertCustomPropertyDefinition(CustomProperty& definition)                 { return Insert(Definitions, definition); }
bool UserManager::UpdateCustomPropertyDefinition(CustomProperty& definition)                 { return Update(Definitions, definition); }
bool UserManager::DeleteCustomPropertyDefinition(const CustomProperty& definition)           { return Delete(Definitions, definition); }

bool UserManager::IsServerAdministrator(const Text& user)           { return IsInGroup(BuiltInGroups::Administrators, user); }
bool UserManager::IsProjectAdministrator(const Text& user)          { return IsInGroup(BuiltInGroups::ProjectManagers, user); }
bool UserManager::AddToServerAdministrators(const Text& user)       { return AddToGroup(BuiltInGroups::Administrators, user); }
bool UserManager::AddToProjectAdministrators(const Text& user)      { return AddToGroup(BuiltInGroups::ProjectManagers, user); }
bool UserManager::RemoveFromServerAdministrators(const Text& user)  { return RemoveFromGroup(BuiltInGroups::Administrators, user); }
bool UserManager::RemoveFromProjectAdministrators(const Text& user) { return RemoveFromGroup(BuiltInGroups::ProjectManagers, user); }

class UserManager::FindUserByLoginTask : public UserTask<User>   { using StepTask::StepTask; };
class UserManager::SetUserPasswordTask : public UserTask<Nothing> { using StepTask::StepTask; };
class UserManager::GetUserPhotoTask : public UserTask<Photo>     { using StepTask::StepTask; };
class UserManager::SetUserPhotoTask : public UserTask<Nothing>   { using StepTask::StepTask; };
class UserManager::DuplicateRoleTask : public UserTask<Role>     { using StepTask::StepTask; };
class UserManager::IsInGroupTask : public UserTask<bool>         { using StepTask::StepTask; };
class UserManager::AddToGroupTask : public UserTask<Nothing>     { using StepTask::StepTask; };
class UserManager::RemoveFromGroupTask : public UserTask<Nothing> { using StepTask::StepTask; };
class UserManager::MergeTask : public UserTask<Nothing>          { using StepTask::StepTask; };
// clang-format on

UserRepositoryManager::UserRepositoryManager(OV::Executor& executor)
    : ConnectedRepositoryManager(executor)
{}

bool UserRepositoryManager::SetRepository(OV::Ref<Repository> repository)
{
    Hold(std::move(repository));
    return IsConnected();
}

bool UserRepositoryManager::FindUserByLoginName(const Text& loginName, User& user)
{
    return Read<FindUserByLoginTask>({.object = ObjectType::User, .isSilentWhenNotFound = true},
                                     user, [loginName](Repository& repository) {
                                         return Found(repository.FindUserByLoginName(loginName),
                                                      loginName);
                                     });
}

bool UserRepositoryManager::InsertUser(User& user, const OV::Secret& password)
{
    if (password.empty())
        return InsertUser(user);
    return Read<InsertUserTask>(OfUser, user, [user, password](Repository& repository) {
        return repository.InsertUser(user, password);
    });
}

bool UserRepositoryManager::SetUserPassword(const Text& user, const OV::Secret& password)
{
    return Change<SetUserPasswordTask>(OfUser, [user, password](Repository& repository) {
        repository.SetUserPassword(user, password);
    });
}

bool UserRepositoryManager::GetUserPhoto(const Text& user, Photo& photo)
{
    return Read<GetUserPhotoTask>(OfUser, photo, [user](Repository& repository) {
        return AsRepositoryRequest([&] { return repository.GetUserPhoto(user); });
    });
}

bool UserRepositoryManager::SetUserPhoto(const Text& user, const Photo& photo)
{
    return Change<SetUserPhotoTask>(OfUser, [user, photo](Repository& repository) {
        AsRepositoryRequest([&] { repository.SetUserPhoto(user, photo); });
    });
}

bool UserRepositoryManager::DuplicateRole(const Text& id, const Text& newName, Role& duplicate)
{
    return Read<DuplicateRoleTask>(
        {Roles.object}, duplicate,
        [id, newName](Repository& repository) { return repository.DuplicateRole(id, newName); });
}

bool UserRepositoryManager::AddToGroup(const Text& groupId, const Text& user)
{
    return Change<AddToGroupTask>(
        OfUser, [groupId, user](Repository& repository) { repository.AddToGroup(groupId, user); });
}

bool UserRepositoryManager::RemoveFromGroup(const Text& groupId, const Text& user)
{
    return Change<RemoveFromGroupTask>(
        {.succeedsWhenGone = true},
        [groupId, user](Repository& repository) { repository.RemoveFromGroup(groupId, user); });
}

bool UserRepositoryManager::Merge(const RepositoryContents& contents)
{
    return Change<MergeTask>({},
                             [contents](Repository& repository) { repository.Merge(contents); });
}

/// A built-in group's name is its identifier, and users may ask for their own names of groups.
bool UserRepositoryManager::IsInGroup(const Text& groupId, const Text& user)
{
    bool isIn = false;
    const bool isKnown = Read<IsInGroupTask>(OfUser, isIn, [groupId, user](Repository& repository) {
        const auto groups = repository.GetUserGroups(user);
        return std::find(groups.begin(), groups.end(), groupId) != groups.end();
    });
    return isKnown && isIn;
}

}  // namespace Syncra::Server::ManagementTool::Core
