#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "SYCommunication/HttpOptions.hpp"
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

namespace Syncra::Client {
struct SignInData;
}

namespace Syncra::Server::Management {

/// The users of a server and what they may do, for the user who signed in. Every call is a request
/// and blocks for its answer, as long and ended as those of Syncra::Client::SyncraClient, or by
/// Close; one thread at a time. Failures, but of the photo calls, are those of
/// UserRepositoryExceptions.hpp, and OV::InterruptedException. Where a user is named, his
/// identifier and his login name are both good.
class SYC_API UserRepository {
public:
    /// Signs in, which is one request; throws as the calls do.
    explicit UserRepository(
        const Client::SignInData& data,
        const Communication::HttpOptions& options = Communication::DefaultHttpOptions());
    ~UserRepository();
    UserRepository(const UserRepository&) = delete;
    UserRepository& operator=(const UserRepository&) = delete;

    /// The families live as long as the repository. A user who is inserted through Users() cannot
    /// sign in until he has a password.
    [[nodiscard]] RecordFamily<User>& Users() { return users_; }
    /// As Users.
    /// @{
    [[nodiscard]] RecordFamily<Role>& Roles() { return roles_; }
    [[nodiscard]] RecordFamily<Group>& Groups() { return groups_; }
    [[nodiscard]] RecordFamily<Permission>& Permissions() { return permissions_; }
    [[nodiscard]] RecordFamily<PermissionSet>& PermissionSets() { return permissionSets_; }
    [[nodiscard]] RecordFamily<CustomPropertyDefinition>& CustomProperties()
    {
        return customProperties_;
    }
    /// @}

    /// In any ASCII letter case; nothing when there is none.
    [[nodiscard]] std::optional<User> FindUserByLoginName(const OV::UniString& loginName);
    /// A user who can sign in at once; the record as the server keeps it.
    User InsertUser(const User& user, const OV::Secret& password);
    /// For the user himself and administrators. Signs him out everywhere else.
    void SetUserPassword(const OV::UniString& user, const OV::Secret& password);

    /// Names of the groups that the user is in; for the user himself and managers.
    [[nodiscard]] OV::Array<OV::UniString> GetUserGroups(const OV::UniString& user);
    /// Nothing happens when he is in it already.
    void AddToGroup(const OV::UniString& groupId, const OV::UniString& user);
    /// Throws UserRepositoryObjectNotFoundException when he is not in it.
    void RemoveFromGroup(const OV::UniString& groupId, const OV::UniString& user);

    /// A role with the permissions of another one; never built in.
    Role DuplicateRole(const OV::UniString& roleId, const OV::UniString& newName);
    /// Takes over what another server's repository holds, together or not at all: what has a name
    /// that is here becomes like the other's, the rest is added, nothing goes.
    void Merge(const RepositoryContents& contents);

    /// Empty when the user has none. Failures of the photo calls are those of
    /// Syncra::Client::SyncraClient.
    [[nodiscard]] Protocol::Photo GetUserPhoto(const OV::UniString& user);
    /// An empty photo takes the present one away.
    void SetUserPhoto(const OV::UniString& user, const Protocol::Photo& photo);

    /// False once a call did not reach the server, and after Close. Safe on any thread.
    [[nodiscard]] bool IsUsable() const;
    /// Ends the call under way and every later one with OV::InterruptedException. Safe on any
    /// thread.
    void Close();

private:
    std::unique_ptr<Detail::RepositoryRequests> requests_;
    RecordFamily<User> users_{*requests_, "/users"};
    RecordFamily<Role> roles_{*requests_, "/roles"};
    RecordFamily<Group> groups_{*requests_, "/groups"};
    RecordFamily<Permission> permissions_{*requests_, "/permissions"};
    RecordFamily<PermissionSet> permissionSets_{*requests_, "/permission-sets"};
    RecordFamily<CustomPropertyDefinition> customProperties_{*requests_, "/custom-properties"};
};

/// A signed-in repository of the kind that the factory of that name makes; "WBEM" is the one there
/// is. Throws OV::IllegalArgumentException for another name and for properties that are missing or
/// no such address, and what signing in throws.
[[nodiscard]] SYC_API std::unique_ptr<UserRepository>
CreateUserRepository(OV::UniStringView factoryName, const Properties& properties);

}  // namespace Syncra::Server::Management
