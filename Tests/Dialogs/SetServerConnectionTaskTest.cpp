#include "UserInterface/SetServerConnectionTask.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

using namespace Syncra::Server::ManagementTool;
using Group = Core::UserGroupType;
using GUI::SetServerConnectionTask;

namespace {

/// Connected, signed in and in the group, compatible: one letter each, or "-".
std::string Outcome(std::uint16_t port, const OV::UniString& password, Group::Value group,
                    bool withoutVersionCheck = false)
{
    const auto task =
        OV::MakeRef<SetServerConnectionTask>(u"127.0.0.1", static_cast<short>(port), u"anna.novak",
                                             password, group, withoutVersionCheck);
    const bool succeeded =
        Core::UserAsyncTaskExecutingImplementation::Current().ExecuteTask(task, nullptr, 2000);
    EXPECT_EQ(succeeded, task->HasUserAuthenticationSucceeded());
    return {task->HasServerConnectionSucceeded() ? 'C' : '-',
            task->HasUserAuthenticationSucceeded() ? 'U' : '-',
            task->IsServerCompatible() ? 'V' : '-'};
}

}  // namespace

TEST(SetServerConnectionTaskTest, TellsARefusedUserFromAServerThatIsNotThere)
{
    const TemporaryFolder folder;
    ServerProcess server(folder.Path());
    const OV::UniString password = OV::FromUtf8(ServerProcess::Password);
    const std::uint16_t port = server.ModelPort();
    EXPECT_EQ(Outcome(port, password, Group::AnyUser), "CUV");
    EXPECT_EQ(Outcome(port, password, Group::AnyUser, true), "CUV");
    EXPECT_EQ(Outcome(port, u"wrong", Group::AnyUser), "C-V");
    server.Kill();
    EXPECT_EQ(Outcome(port, password, Group::AnyUser), "--V");
}

TEST(SetServerConnectionTaskTest, AServerOfAnotherVersionIsTakenOnlyWhenAskedTo)
{
    const std::string known =
        R"({"token":"T","userId":"u","userName":"U","protocol":2,"serverVersion":1500})";
    const struct {
        int status;
        std::string body;
        const char* checked;
        const char* unchecked;
    } rows[] = {
        {200, known, "C--", "CUV"},
        {200, R"({"protocol":2})", "C--", "--V"},
        {426, R"({"code":30,"message":"other version"})", "C--", "C--"},
        {200, "no answer of the protocol", "--V", "--V"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        ScriptedServer server([&](ScriptedServer::Peer& peer, const ScriptedServer::Request&) {
            peer.Answer(row.status, row.body);
        });
        EXPECT_EQ(Outcome(server.Port(), u"p", Group::AnyUser), row.checked);
        EXPECT_EQ(Outcome(server.Port(), u"p", Group::AnyUser, true), row.unchecked);
    }
}
