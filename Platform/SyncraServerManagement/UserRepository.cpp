#include "SyncraServerManagement/UserRepository.hpp"

#include "SyncraProtocol/Detail/ModelRecords.hpp"
#include "SyncraServerManagement/Detail/RepositoryRequests.hpp"

namespace Syncra::Server::Management {

using Detail::MakePath;

UserRepository::UserRepository(const Client::SignInData& data,
                               const Communication::HttpOptions& options)
    : requests_(std::make_unique<Detail::RepositoryRequests>(data, options))
{}

UserRepository::~UserRepository() = default;

std::optional<User> UserRepository::FindUserByLoginName(const OV::UniString& loginName)
{
    auto found = requests_->Get<Items<User>>(MakePath("/users?loginName={}", {loginName})).value;
    return found.empty() ? std::nullopt : std::optional(std::move(found.front()));
}

User UserRepository::InsertUser(const User& user, const OV::Secret& password)
{
    return requests_->Post<User>("/users", NewUser{user, password});
}

void UserRepository::SetUserPassword(const OV::UniString& user, const OV::Secret& password)
{
    requests_->Put(MakePath("/users/{}/password", {user}), NewPassword{password});
}

OV::Array<OV::UniString> UserRepository::GetUserGroups(const OV::UniString& user)
{
    return requests_->Get<GroupNames>(MakePath("/users/{}/groups", {user})).value;
}

void UserRepository::AddToGroup(const OV::UniString& groupId, const OV::UniString& user)
{
    requests_->Put(MakePath("/groups/{}/users/{}", {groupId, user}), Detail::Empty());
}

void UserRepository::RemoveFromGroup(const OV::UniString& groupId, const OV::UniString& user)
{
    requests_->Delete(MakePath("/groups/{}/users/{}", {groupId, user}));
}

Role UserRepository::DuplicateRole(const OV::UniString& roleId, const OV::UniString& newName)
{
    return requests_->Post<Role>(MakePath("/roles/{}/duplicate", {roleId}), NewName{newName});
}

void UserRepository::Merge(const RepositoryContents& contents)
{
    requests_->Post("/merge", contents);
}

Protocol::Photo UserRepository::GetUserPhoto(const OV::UniString& user)
{
    return requests_->Plain([&](auto& requests) {
        return requests.template Get<Protocol::Photo>(MakePath("/users/{}/photo", {user}));
    });
}

void UserRepository::SetUserPhoto(const OV::UniString& user, const Protocol::Photo& photo)
{
    requests_->Plain(
        [&](auto& requests) { requests.Put(MakePath("/users/{}/photo", {user}), photo); });
}

bool UserRepository::IsUsable() const
{
    return requests_->IsUsable();
}

void UserRepository::Close()
{
    requests_->Close();
}

std::unique_ptr<UserRepository> CreateUserRepository(OV::UniStringView factoryName,
                                                     const Properties& properties)
{
    return std::make_unique<UserRepository>(Detail::SignInOf(factoryName, properties));
}

}  // namespace Syncra::Server::Management
