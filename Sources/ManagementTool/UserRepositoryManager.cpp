#include "ManagementTool/UserRepositoryManager.hpp"

#include "SyncraServerManagement/UserRepositoryExceptions.hpp"

#include <algorithm>

namespace Syncra::Server::ManagementTool::Core {

using namespace Management;

namespace {

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

User UserRepositoryManager::Steps::FindUserByLogin(Repository& repository, const Text& loginName)
{
    return UserSteps::Found(repository.FindUserByLoginName(loginName), loginName);
}

User UserRepositoryManager::Steps::InsertUser(Repository& repository, const User& user,
                                              const OV::Secret& password)
{
    return password.empty() ? repository.Users().Insert(user)
                            : repository.InsertUser(user, password);
}

Nothing UserRepositoryManager::Steps::SetUserPassword(Repository& repository, const Text& user,
                                                      const OV::Secret& password)
{
    repository.SetUserPassword(user, password);
    return {};
}

Protocol::Photo UserRepositoryManager::Steps::GetUserPhoto(Repository& repository, const Text& user)
{
    return AsRepositoryRequest([&] { return repository.GetUserPhoto(user); });
}

Nothing UserRepositoryManager::Steps::SetUserPhoto(Repository& repository, const Text& user,
                                                   const Photo& photo)
{
    AsRepositoryRequest([&] { repository.SetUserPhoto(user, photo); });
    return {};
}

Role UserRepositoryManager::Steps::DuplicateRole(Repository& repository, const Text& id,
                                                 const Text& newName)
{
    return repository.DuplicateRole(id, newName);
}

bool UserRepositoryManager::Steps::IsInGroup(Repository& repository, const Text& group,
                                             const Text& user)
{
    // A built-in group's name is its identifier, and users may ask for their own names of groups.
    const auto groups = repository.GetUserGroups(user);
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

Nothing UserRepositoryManager::Steps::AddToGroup(Repository& repository, const Text& group,
                                                 const Text& user)
{
    repository.AddToGroup(group, user);
    return {};
}

Nothing UserRepositoryManager::Steps::RemoveFromGroup(Repository& repository, const Text& group,
                                                      const Text& user)
{
    repository.RemoveFromGroup(group, user);
    return {};
}

Nothing UserRepositoryManager::Steps::Merge(Repository& repository,
                                            const RepositoryContents& contents)
{
    repository.Merge(contents);
    return {};
}

bool UserRepositoryManager::FindUserByLoginName(const Text& loginName, User& user)
{
    FailureManner manner = OfUser;
    manner.isSilentWhenNotFound = true;
    return Read<FindUserByLoginTask>(manner, user, loginName);
}

bool UserRepositoryManager::IsInGroup(const Text& groupId, const Text& user)
{
    bool isIn = false;
    return Read<IsInGroupTask>(OfUser, isIn, groupId, user) && isIn;
}

bool UserRepositoryManager::IsServerAdministrator(const Text& user)
{
    return IsInGroup(BuiltInGroups::Administrators, user);
}

bool UserRepositoryManager::IsProjectAdministrator(const Text& user)
{
    return IsInGroup(BuiltInGroups::ProjectManagers, user);
}

bool UserRepositoryManager::AddToServerAdministrators(const Text& user)
{
    return AddToGroup(BuiltInGroups::Administrators, user);
}

bool UserRepositoryManager::AddToProjectAdministrators(const Text& user)
{
    return AddToGroup(BuiltInGroups::ProjectManagers, user);
}

bool UserRepositoryManager::RemoveFromServerAdministrators(const Text& user)
{
    return RemoveFromGroup(BuiltInGroups::Administrators, user);
}

bool UserRepositoryManager::RemoveFromProjectAdministrators(const Text& user)
{
    return RemoveFromGroup(BuiltInGroups::ProjectManagers, user);
}

}  // namespace Syncra::Server::ManagementTool::Core
