#pragma once

#include "SyncraProtocol/Management/CustomPropertyDefinition.hpp"
#include "SyncraProtocol/Management/Group.hpp"
#include "SyncraProtocol/Management/Permission.hpp"
#include "SyncraProtocol/Management/PermissionSet.hpp"
#include "SyncraProtocol/Management/RepositoryContents.hpp"
#include "SyncraProtocol/Management/Role.hpp"
#include "SyncraProtocol/Management/User.hpp"
#include "SyncraProtocol/Member.hpp"
#include "SyncraServerManagement/RecordFamily.hpp"
#include "SyncraServerManagement/RepositoryProperties.hpp"

#include <memory>

namespace Syncra::Server::Management {

/// The users of a server and what they may do, for the user who signed in. Every call is a request
/// and blocks for its answer; one thread at a time. Failures, but of the photo calls, are those of
/// UserRepositoryExceptions.hpp, and OV::InterruptedException. Where a user is named, his
/// identifier and his login name are both good.
class UserRepository {
public:
    virtual ~UserRepository() = default;

    /// The families live as long as the repository. A user who is inserted through Users() cannot
    /// sign in until he has a password.
    [[nodiscard]] virtual RecordFamily<User>& Users() = 0;
    [[nodiscard]] virtual RecordFamily<Role>& Roles() = 0;
    [[nodiscard]] virtual RecordFamily<Group>& Groups() = 0;
    [[nodiscard]] virtual RecordFamily<Permission>& Permissions() = 0;
    [[nodiscard]] virtual RecordFamily<PermissionSet>& PermissionSets() = 0;
    [[nodiscard]] virtual RecordFamily<CustomPropertyDefinition>& CustomProperties() = 0;

    /// In any ASCII letter case; nothing when there is none.
    [[nodiscard]] virtual std::optional<User>
    FindUserByLoginName(const OV::UniString& loginName) = 0;
    virtual User InsertUser(const User& user, const OV::UniString& password) = 0;
    /// For the user himself and administrators. Signs him out everywhere else.
    virtual void SetUserPassword(const OV::UniString& user, const OV::UniString& password) = 0;

    /// Names of the groups that the user is in; for the user himself and managers.
    [[nodiscard]] virtual OV::Array<OV::UniString> GetUserGroups(const OV::UniString& user) = 0;
    /// Nothing happens when he is in it already.
    virtual void AddToGroup(const OV::UniString& groupId, const OV::UniString& user) = 0;
    /// Throws UserRepositoryObjectNotFoundException when he is not in it.
    virtual void RemoveFromGroup(const OV::UniString& groupId, const OV::UniString& user) = 0;

    /// A role with the permissions of another one; never built in.
    virtual Role DuplicateRole(const OV::UniString& roleId, const OV::UniString& newName) = 0;
    /// Takes over what another server's repository holds, together or not at all: what has a name
    /// that is here becomes like the other's, the rest is added, nothing goes.
    virtual void Merge(const RepositoryContents& contents) = 0;

    /// Empty when the user has none. Failures of the photo calls are those of
    /// Syncra::Client::SyncraClient.
    [[nodiscard]] virtual Protocol::Photo GetUserPhoto(const OV::UniString& user) = 0;
    /// An empty photo takes the present one away.
    virtual void SetUserPhoto(const OV::UniString& user, const Protocol::Photo& photo) = 0;

    /// False once a call did not reach the server, and after Close. Safe on any thread.
    [[nodiscard]] virtual bool IsUsable() const = 0;
    /// Ends the call under way and every later one with OV::InterruptedException. Safe on any
    /// thread.
    virtual void Close() = 0;
};

/// A signed-in repository of the kind that the factory of that name makes; "WBEM" is the one there
/// is. Throws OV::IllegalArgumentException for another name and for properties that are missing or
/// no such address, and what signing in throws.
[[nodiscard]] std::unique_ptr<UserRepository> CreateUserRepository(OV::UniStringView factoryName,
                                                                   const Properties& properties);

}  // namespace Syncra::Server::Management
