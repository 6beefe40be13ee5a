#include "ManagementTool/ServerConnectionManager.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "Support/ScriptedStrategy.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

using namespace Syncra::Server::ManagementTool::Core;
using namespace Syncra::Server::Management;

namespace {

using Alerts = std::vector<std::string>;

/// Two administrators at work on the sample team's server. The commands of syclient take every kind
/// of record through its life; here stands what only two of them at once can show.
class RepositoryManagerTest : public testing::Test {
protected:
    RepositoryManagerTest()
    {
        for (ServerConnectionManager* each : {&first, &second}) {
            each->SetUserName(u"admin");
            each->SetPassword(OV::FromUtf8(ServerProcess::Password));
            each->SetConnection(u"127.0.0.1", static_cast<short>(server.ModelPort()),
                                ConnectionType::FullConnection);
        }
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    ScriptedStrategy strategy;
    ServerConnectionManager first, second;
    UserRepositoryManager &users = *first.GetUserManager(), &others = *second.GetUserManager();
};

TEST_F(RepositoryManagerTest, ARecordLivesAndEndsByTheHandOfAnother)
{
    Role role{{}, u"L\u00e4ufer", u"x", {u"Read"}, u"", false}, read;
    ASSERT_TRUE(users.InsertRole(role));
    Role again = role;
    EXPECT_FALSE(others.InsertRole(again));
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{"3 5"});
    role.permissions = {u"Write", u"Reserve"};
    const Role wanted = role;
    ASSERT_TRUE(users.UpdateRole(role));
    ASSERT_TRUE(others.FindRole(u"l\u00e4ufer", read));
    EXPECT_EQ(read, wanted);
    ASSERT_TRUE(others.GetRole(role.id, read));
    EXPECT_EQ(read, wanted);
    EXPECT_TRUE(others.DeleteRole(role));
    EXPECT_TRUE(users.DeleteRole(role)) << "another administrator was quicker";
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{});
    EXPECT_FALSE(users.FindRole(u"L\u00e4ufer", read));
    EXPECT_FALSE(users.UpdateRole(role));
    EXPECT_EQ(strategy.TakeAlerts(), (Alerts{"2 5", "5 0"}));
    EXPECT_TRUE(users.IsServerAdministrator(u"admin"));
    EXPECT_FALSE(users.IsProjectAdministrator(u"admin"));
}

TEST_F(RepositoryManagerTest, ServersAreMergedAndAWrongPasswordIsTold)
{
    Role architect, twin;
    ASSERT_TRUE(users.FindRole(u"Architect", architect));
    ASSERT_TRUE(users.DuplicateRole(architect.id, u"Twin", twin));
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
    EXPECT_FALSE(others.SetConnection(u"127.0.0.1", static_cast<short>(server.ManagementPort()),
                                      u"admin", u"wrong", false));
    EXPECT_EQ(others.GetLastFailure().code, 10);
}

}  // namespace
