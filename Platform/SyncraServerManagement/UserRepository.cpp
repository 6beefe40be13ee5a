#include "SyncraServerManagement/UserRepository.hpp"

#include "OVRoot/SecureWipe.hpp"
#include "SyncraServerManagement/Detail/HttpRecordFamily.hpp"
#include "SyncraServerManagement/Detail/SignInProperties.hpp"

namespace Syncra::Server::Management {

namespace {

/// The password in a body, wiped when the request is over.
class PasswordField {
public:
    PasswordField(nlohmann::json& body, const OV::UniString& password)
        : text_((body["password"] = Protocol::TextToJson(password)).get_ref<std::string&>())
    {}
    ~PasswordField() { OV::SecureWipe(text_); }
    PasswordField(const PasswordField&) = delete;
    PasswordField& operator=(const PasswordField&) = delete;

private:
    std::string& text_;
};

class HttpUserRepository final : public UserRepository {
public:
    explicit HttpUserRepository(const Client::SignInData& data) : channel_(data) {}

    RecordFamily<User>& Users() override { return users_; }
    RecordFamily<Role>& Roles() override { return roles_; }
    RecordFamily<Group>& Groups() override { return groups_; }
    RecordFamily<Permission>& Permissions() override { return permissions_; }
    RecordFamily<PermissionSet>& PermissionSets() override { return permissionSets_; }
    RecordFamily<CustomPropertyDefinition>& CustomProperties() override
    {
        return customProperties_;
    }

    std::optional<User> FindUserByLoginName(const OV::UniString& loginName) override
    {
        return users_.FindBy("loginName", loginName);
    }
    User InsertUser(const User& user, const OV::UniString& password) override
    {
        auto body = ToJson(user);
        const PasswordField field(body, password);
        return users_.Insert(body);
    }
    void SetUserPassword(const OV::UniString& user, const OV::UniString& password) override
    {
        nlohmann::json body;
        const PasswordField field(body, password);
        channel_.Tell(Method::Put, users_.PathOf(user) + "/password", Protocol::DumpJson(body));
    }

    OV::Array<OV::UniString> GetUserGroups(const OV::UniString& user) override
    {
        return channel_.Ask(
            Method::Get, users_.PathOf(user) + "/groups", {},
            [](const nlohmann::json& json) { return Protocol::ReadTexts(json, "groups"); });
    }
    void AddToGroup(const OV::UniString& groupId, const OV::UniString& user) override
    {
        channel_.Tell(Method::Put, MembershipPath(groupId, user));
    }
    void RemoveFromGroup(const OV::UniString& groupId, const OV::UniString& user) override
    {
        channel_.Tell(Method::Delete, MembershipPath(groupId, user));
    }

    Role DuplicateRole(const OV::UniString& roleId, const OV::UniString& newName) override
    {
        return channel_.Ask(Method::Post, roles_.PathOf(roleId) + "/duplicate",
                            Protocol::DumpJson({{"name", Protocol::TextToJson(newName)}}),
                            Protocol::FromJson<Role>);
    }
    void Merge(const RepositoryContents& contents) override
    {
        channel_.Tell(Method::Post, "/merge", Protocol::DumpJson(ToJson(contents)));
    }

    Protocol::Photo GetUserPhoto(const OV::UniString& user) override
    {
        return channel_.AskPlain(Method::Get, users_.PathOf(user) + "/photo", {},
                                 Protocol::FromJson<Protocol::Photo>);
    }
    void SetUserPhoto(const OV::UniString& user, const Protocol::Photo& photo) override
    {
        channel_.AskPlain(Method::Put, users_.PathOf(user) + "/photo",
                          Protocol::DumpJson(Protocol::ToJson(photo)),
                          [](const nlohmann::json&) {});
    }

    bool IsUsable() const override { return channel_.IsUsable(); }
    void Close() override { channel_.Close(); }

private:
    using Method = Detail::RepositoryChannel::Method;

    OV::String MembershipPath(const OV::UniString& groupId, const OV::UniString& user) const
    {
        return groups_.PathOf(groupId) + users_.PathOf(user);
    }

    Detail::RepositoryChannel channel_;
    Detail::HttpRecordFamily<User> users_{channel_, "/users"};
    Detail::HttpRecordFamily<Role> roles_{channel_, "/roles"};
    Detail::HttpRecordFamily<Group> groups_{channel_, "/groups"};
    Detail::HttpRecordFamily<Permission> permissions_{channel_, "/permissions"};
    Detail::HttpRecordFamily<PermissionSet> permissionSets_{channel_, "/permission-sets"};
    Detail::HttpRecordFamily<CustomPropertyDefinition> customProperties_{channel_,
                                                                         "/custom-properties"};
};

}  // namespace

std::unique_ptr<UserRepository> CreateUserRepository(OV::UniStringView factoryName,
                                                     const Properties& properties)
{
    return std::make_unique<HttpUserRepository>(Detail::SignInOf(factoryName, properties));
}

}  // namespace Syncra::Server::Management
