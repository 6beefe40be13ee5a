#include "UserInterface/SetServerConnectionTask.hpp"
#include "ManagementTool/UserAsyncTaskExecutingImplementation.hpp"
#include "Support/ScriptedServer.hpp"

#include <gtest/gtest.h>

using namespace Syncra::Server::ManagementTool;
using Group = Core::UserGroupType;
using GUI::SetServerConnectionTask;

namespace {

/// Connected, signed in and in the group, compatible: one letter each, or "-".
std::string Outcome(std::uint16_t port, const OV::UniString& password, Group::Value group,
                    bool withoutVersionCheck = false, const char16_t* user = u"anna.novak")
{
    const auto task = OV::MakeRef<SetServerConnectionTask>(
        u"127.0.0.1", static_cast<short>(port), user, password, group, withoutVersionCheck);
    const bool succeeded =
        Core::UserAsyncTaskExecutingImplementation::Current().ExecuteTask(task, nullptr, 2000);
    EXPECT_EQ(succeeded, task->HasUserAuthenticationSucceeded());
    return {task->HasServerConnectionSucceeded() ? 'C' : '-',
            task->HasUserAuthenticationSucceeded() ? 'U' : '-',
            task->IsServerCompatible() ? 'V' : '-'};
}

}  // namespace

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
        ScriptedServer server([&](auto& peer, const auto& request) {
            if (request.target.ends_with("/ports"))
                peer.Answer(200, ScriptedServer::Ports("ManagementService", server.Port()));
            else if (request.target.ends_with("/groups"))
                peer.Answer(200, R"({"groups":["Administrators"]})");
            else
                peer.Answer(row.status, row.body);
        });
        for (const auto group : {Group::AnyUser, Group::Administrators}) {
            EXPECT_EQ(Outcome(server.Port(), u"p", group), row.checked);
            EXPECT_EQ(Outcome(server.Port(), u"p", group, true), row.unchecked);
        }
    }
    ScriptedServer management([](auto& peer, const auto&) {
        peer.Answer(426, R"({"code":30,"message":"other version"})");
    });
    ScriptedServer model([&](auto& peer, const auto& request) {
        peer.Answer(200, request.target.ends_with("/ports")
                             ? ScriptedServer::Ports("ManagementService", management.Port())
                             : known);
    });
    EXPECT_EQ(Outcome(model.Port(), u"p", Group::Administrators, true), "C--");
}
