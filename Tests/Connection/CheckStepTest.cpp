#include "Connection/ConnectionTest.hpp"
#include "Support/ScriptedServer.hpp"

using SYC::CheckResult;

namespace {

constexpr const char* SignedIn =
    R"({"token":"t","userId":"u","userName":"n","protocol":1,"serverVersion":1400})";

}  // namespace

class CheckStepTest : public ConnectionTest {};

TEST_F(CheckStepTest, EveryErrorCodeOfTheServerHasItsResult)
{
    const Events denied{{11, u""}};
    const std::vector<std::tuple<int, CheckResult, Events>> codes = {
        {10, CheckResult::AccessDenied, denied}, {13, CheckResult::AccessDenied, denied},
        {16, CheckResult::AccessDenied, denied}, {24, CheckResult::ForbiddenByState, {}},
        {12, CheckResult::Offline, {}},          {17, CheckResult::Offline, {}},
        {0, CheckResult::Offline, {}},           {-1, CheckResult::Offline, {}},
        {4711, CheckResult::Offline, {}}};
    for (const auto& [code, result, events] : codes) {
        SCOPED_TRACE(code);
        ScriptedServer refusing([code = code](auto& peer, const auto& request) {
            if (request.method == "POST")
                peer.Answer(200, SignedIn);
            else
                peer.Answer(403, R"({"code":)" + std::to_string(code) + R"(,"message":"no"})");
        });
        Host host(Url("anna.novak", u"Harbour Bridge", refusing.Port()), DataFolder());
        SYC::ReadProjectConnection connection(&host.manager);
        EXPECT_EQ(connection.Check(true, false, false, false), result);
        EXPECT_EQ(host.events, events);
    }
}

TEST_F(CheckStepTest, StepsRunAloneAndStandStillAfterAFailure)
{
    Host host(Url("anna.novak", u"Harbour Bridge"), DataFolder());
    SYC::WriteProjectConnection connection(&host.manager);
    Syncra::Protocol::Session session;
    EXPECT_EQ(connection.ConnectAndAuthenticateToServer(), CheckResult::Passed);
    EXPECT_EQ(connection.AuthenticateToProject(false), CheckResult::Passed);
    EXPECT_EQ(connection.GetCachedProjectInfo(), CheckResult::Passed);
    EXPECT_EQ(connection.CheckProjectAvailability(), CheckResult::Passed);
    EXPECT_EQ(connection.StartAndCheckSession(false, false, false, session), CheckResult::Passed);
    EXPECT_EQ(session.id, connection.GetSessionId());
    EXPECT_EQ(connection.FillCache(session), CheckResult::Passed);
    Sql("UPDATE projects SET state = 1 WHERE name = 'Harbour Bridge'");
    EXPECT_EQ(connection.CheckProjectState(), CheckResult::ForbiddenByState);
    EXPECT_EQ(host.events, (Events{{13, u""}}));

    server.Kill();
    EXPECT_EQ(connection.AuthenticateToProject(false), CheckResult::ForbiddenByState);
    EXPECT_EQ(connection.StartAndCheckSession(false, true, true, session),
              CheckResult::ForbiddenByState)
        << "a failed check asks nobody";
    EXPECT_EQ(host.events.size(), 1u);
    EXPECT_EQ(connection.ConnectAndAuthenticateToServer(), CheckResult::Passed) << "begins anew";
    EXPECT_THROW(connection.AuthenticateToProject(false), Communication::CommunicationException);
}
