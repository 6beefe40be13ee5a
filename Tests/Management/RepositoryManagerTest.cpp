#include "ManagementTool/ServerConnectionManager.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "Support/ScriptedStrategy.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

using namespace Syncra::Server::ManagementTool::Core;
using namespace Syncra::Server::Management;

namespace {

/// An administrator at work on the sample team's server. The commands of syclient take every kind
/// of record through its life; here stands what no command asks for.
class RepositoryManagerTest : public testing::Test {
protected:
    RepositoryManagerTest()
    {
        manager.SetUserName(u"admin");
        manager.SetPassword(OV::FromUtf8(ServerProcess::Password));
        manager.SetConnection(u"127.0.0.1", static_cast<short>(server.ModelPort()),
                              ConnectionType::FullConnection);
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    ScriptedStrategy strategy;
    ServerConnectionManager manager;
    UserRepositoryManager& users = *manager.GetUserManager();
};

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
    EXPECT_TRUE(users.IsServerAdministrator(u"admin"));
    EXPECT_FALSE(users.IsProjectAdministrator(u"admin"));
    EXPECT_FALSE(users.SetConnection(u"127.0.0.1", static_cast<short>(server.ManagementPort()),
                                     u"admin", u"wrong", false));
    EXPECT_EQ(users.GetLastFailure().code, 10);
}

}  // namespace
