#include "Management/ScriptedStrategy.hpp"
#include "ManagementTool/ServerConnectionManager.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace Syncra::Server::ManagementTool::Core;
using namespace Syncra::Server::Management;

namespace {

using Alerts = std::vector<std::string>;
using Users = UserRepositoryManager;
using Projects = ProjectRepositoryManager;

/// Two administrators at work on the sample team's server.
class RealServerTest : public testing::Test {
protected:
    RealServerTest()
    {
        for (ServerConnectionManager* each : {&first, &second}) {
            each->SetUserName(u"admin");
            each->SetPassword(OV::FromUtf8(ServerProcess::Password));
            each->SetConnection(u"127.0.0.1", static_cast<short>(server.ModelPort()),
                                ConnectionType::FullConnection);
        }
    }

    /// The operations of one family; those that it has not are null.
    template <class Manager, class Record>
    struct Family {
        bool (Manager::*list)(OV::Array<Record>&);
        bool (Manager::*get)(const OV::UniString&, Record&);
        bool (Manager::*find)(const OV::UniString&, Record&);
        bool (Manager::*insert)(Record&);
        bool (Manager::*update)(Record&);
        bool (Manager::*remove)(const Record&);
    };

    /// A record's whole life, its end by another administrator.
    template <class Manager, class Record>
    void Live(Manager& manager, Manager& other, const Family<Manager, Record>& family,
              Record record, const OV::UniString& name, const std::function<void(Record&)>& change,
              const std::string& kind)
    {
        SCOPED_TRACE(OV::ToUtf8(name));
        Record read;
        ASSERT_TRUE((manager.*family.insert)(record));
        EXPECT_FALSE(record.id.empty());
        Record again = record;
        EXPECT_FALSE((other.*family.insert)(again));
        const bool isNamed = kind == "1" || kind == "8";
        EXPECT_EQ(strategy.TakeAlerts(),
                  Alerts{"3 " + kind + (isNamed ? " " + OV::ToUtf8(name) : "")});
        change(record);
        const Record wanted = record;
        ASSERT_TRUE((manager.*family.update)(record));
        EXPECT_EQ(record, wanted);
        ASSERT_TRUE((other.*family.find)(name, read));
        EXPECT_EQ(read, wanted);
        if (family.get != nullptr) {
            ASSERT_TRUE((other.*family.get)(record.id, read));
            EXPECT_EQ(read, wanted);
        }
        OV::Array<Record> all;
        ASSERT_TRUE((manager.*family.list)(all));
        EXPECT_EQ(std::count(all.begin(), all.end(), wanted), 1);
        EXPECT_EQ(strategy.TakeAlerts(), Alerts{});

        EXPECT_TRUE((other.*family.remove)(record));
        EXPECT_TRUE((manager.*family.remove)(record)) << "another administrator was quicker";
        EXPECT_EQ(strategy.TakeAlerts(), Alerts{});
        EXPECT_FALSE((manager.*family.find)(name, read));
        EXPECT_EQ(strategy.TakeAlerts(), Alerts{"2 " + kind});
        EXPECT_FALSE((manager.*family.update)(record));
        EXPECT_EQ(strategy.TakeAlerts(), Alerts{"5 0"});
        if (family.get != nullptr) {
            EXPECT_FALSE((manager.*family.get)(record.id, read));
            EXPECT_EQ(strategy.TakeAlerts(), Alerts{kind == "7" ? "2 7" : "5 " + kind});
        }
    }

    Users& FirstUsers() { return *first.GetUserManager(); }
    Projects& FirstProjects() { return *first.GetProjectManager(); }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    ScriptedStrategy strategy;
    ServerConnectionManager first, second;
};

TEST_F(RealServerTest, RecordsOfEveryKindLiveAndGo)
{
    Users &users = FirstUsers(), &otherUsers = *second.GetUserManager();
    Projects &projects = FirstProjects(), &otherProjects = *second.GetProjectManager();
    Role viewer;
    ASSERT_TRUE(users.FindRole(u"Viewer", viewer));
    User mei;
    ASSERT_TRUE(users.FindUserByLoginName(u"MEI.chen", mei));

    Live<Users, Permission>(
        users, otherUsers,
        {&Users::GetPermissions, &Users::GetPermission, &Users::FindPermission,
         &Users::InsertPermission, &Users::UpdatePermission, &Users::DeletePermission},
        {{}, u"Pl\u00f6tten", u"x", false}, u"Pl\u00f6tten",
        [](auto& permission) { permission.description = u"\u4e2d"; }, "2");
    Live<Users, PermissionSet>(
        users, otherUsers,
        {&Users::GetPermissionSets, &Users::GetPermissionSet, &Users::FindPermissionSet,
         &Users::InsertPermissionSet, &Users::UpdatePermissionSet, &Users::DeletePermissionSet},
        {{}, u"Reading", u"", {u"Read"}}, u"Reading",
        [](auto& set) { set.permissions.insert(u"ReadLog"); }, "3");
    Live<Users, Role>(
        users, otherUsers,
        {&Users::GetRoles, &Users::GetRole, &Users::FindRole, &Users::InsertRole,
         &Users::UpdateRole, &Users::DeleteRole},
        {{}, u"Guest", u"", {u"Read"}, u"", false}, u"Guest",
        [](auto& role) {
            role.permissions = {u"Write", u"Reserve"};
        },
        "5");
    Live<Users, Group>(
        users, otherUsers,
        {&Users::GetGroups, &Users::GetGroup, &Users::FindGroup, &Users::InsertGroup,
         &Users::UpdateGroup, &Users::DeleteGroup},
        {{}, u"Night", u"", {}, false}, u"Night", [](auto& group) { group.name = u"Night"; }, "6");
    Live<Users, CustomPropertyDefinition>(
        users, otherUsers,
        {&Users::GetCustomPropertyDefinitions, nullptr, &Users::FindCustomPropertyDefinition,
         &Users::InsertCustomPropertyDefinition, &Users::UpdateCustomPropertyDefinition,
         &Users::DeleteCustomPropertyDefinition},
        {{}, u"Floor", u"", CustomPropertyDefinition::Type::Choice, {u"1", u"2"}}, u"Floor",
        [](auto& property) {
            property.choices = {u"2", u"1", u"3"};
        },
        "1");
    Live<Projects, ProjectCategory>(
        projects, otherProjects,
        {&Projects::GetCustomProjectCategories, nullptr, &Projects::FindCustomProjectCategory,
         &Projects::InsertCustomProjectCategory, &Projects::UpdateCustomProjectCategory,
         &Projects::DeleteCustomProjectCategory},
        {{}, u"Stadiums"}, u"Stadiums", [](auto&) {}, "8");

    Live<Users, User>(
        users, otherUsers,
        {&Users::GetUsers, &Users::GetUser, &Users::FindUser, &Users::InsertUser,
         &Users::UpdateUser, &Users::DeleteUser},
        {{}, u"z.lan", u"Z Lan", u"z@lan.example", true, 0x123456, {}, {}}, u"Z Lan",
        [](auto& user) { user.enabled = false; }, "4");
    V2::Project quay;
    quay.name = u"Quay";
    quay.members = {{mei.id, viewer.id}};
    Live<Projects, V2::Project>(
        projects, otherProjects,
        {&Projects::GetProjects, &Projects::GetProject, &Projects::FindProject,
         &Projects::InsertProject, &Projects::UpdateProject, &Projects::DeleteProject},
        quay, u"Quay", [](auto& project) { project.maxBackupCounter = 4; }, "7");
}

TEST_F(RealServerTest, UsersGetPasswordsPhotosAndGroups)
{
    Users& users = FirstUsers();
    User user;
    user.loginName = u"z.lan";
    user.fullName = u"Z Lan";
    ASSERT_TRUE(users.InsertUser(user, u"first-password"));
    const auto signsIn = [this](const OV::UniString& password) {
        return second.GetUserManager()->SetConnection(
            u"127.0.0.1", static_cast<short>(server.ManagementPort()), u"z.lan", password, false);
    };
    EXPECT_TRUE(signsIn(u"first-password"));
    EXPECT_TRUE(users.SetUserPassword(u"z.lan", u"second-password"));
    EXPECT_FALSE(signsIn(u"first-password"));
    EXPECT_EQ(second.GetUserManager()->GetLastFailure().code, 10);
    EXPECT_TRUE(signsIn(u"second-password"));

    Syncra::Protocol::Photo photo, none;
    ASSERT_TRUE(users.GetUserPhoto(u"anna.novak", photo));
    EXPECT_FALSE(photo.data.empty());
    ASSERT_TRUE(users.SetUserPhoto(user.id, photo));
    ASSERT_TRUE(users.GetUserPhoto(u"z.lan", none));
    EXPECT_EQ(none, photo);
    ASSERT_TRUE(users.SetUserPhoto(user.id, {}));
    ASSERT_TRUE(users.GetUserPhoto(u"z.lan", none));
    EXPECT_EQ(none, Syncra::Protocol::Photo());

    const struct {
        bool (Users::*is)(const OV::UniString&);
        bool (Users::*add)(const OV::UniString&);
        bool (Users::*remove)(const OV::UniString&);
    } groups[] = {
        {&Users::IsServerAdministrator, &Users::AddToServerAdministrators,
         &Users::RemoveFromServerAdministrators},
        {&Users::IsProjectAdministrator, &Users::AddToProjectAdministrators,
         &Users::RemoveFromProjectAdministrators},
    };
    for (const auto& group : groups) {
        EXPECT_FALSE((users.*group.is)(u"z.lan"));
        EXPECT_TRUE((users.*group.add)(u"z.lan"));
        EXPECT_TRUE((users.*group.is)(u"z.lan"));
        EXPECT_TRUE((users.*group.remove)(user.id));
        EXPECT_TRUE((users.*group.remove)(user.id)) << "he is out already";
        EXPECT_FALSE((users.*group.is)(u"z.lan"));
    }
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{});
}

TEST_F(RealServerTest, RolesAreDuplicatedAndServersAndCategoriesMerged)
{
    Users& users = FirstUsers();
    Role architect, twin;
    ASSERT_TRUE(users.FindRole(u"Architect", architect));
    ASSERT_TRUE(users.DuplicateRole(architect.id, u"Twin", twin));
    EXPECT_EQ(twin.permissions, architect.permissions);

    RepositoryContents contents;
    ASSERT_TRUE(users.GetPermissions(contents.permissions) &&
                users.GetPermissionSets(contents.permissionSets) &&
                users.GetRoles(contents.roles) &&
                users.GetCustomPropertyDefinitions(contents.customProperties));
    ASSERT_TRUE(users.DeleteRole(twin));
    ASSERT_TRUE(users.Merge(contents));
    OV::Array<Role> roles;
    ASSERT_TRUE(users.GetRoles(roles));
    EXPECT_EQ(roles.size(), contents.roles.size());
    ASSERT_TRUE(users.FindRole(u"twin", twin));
    EXPECT_EQ(twin.permissions, architect.permissions);

    ProjectCategory from, into{{}, u"Everything"};
    V2::Project bridge;
    OV::Array<ConnectedModule> modules;
    Projects& projects = FirstProjects();
    ASSERT_TRUE(projects.FindCustomProjectCategory(u"Infrastructure", from));
    ASSERT_TRUE(projects.InsertCustomProjectCategory(into));
    ASSERT_TRUE(projects.MergeCustomProjectCategories({from.id}, into.id));
    ASSERT_TRUE(projects.FindProject(u"Harbour Bridge", bridge));
    EXPECT_EQ(bridge.status.category, u"Everything");
    EXPECT_TRUE(projects.GetConnectedModules(modules));
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{});
    EXPECT_FALSE(projects.FindCustomProjectCategory(u"Infrastructure", from));
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{"2 8"});
}

}  // namespace
