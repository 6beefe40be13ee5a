#include "Connection/ConnectionTest.hpp"
#include "Support/ScriptedServer.hpp"

using SYC::CheckResult;

namespace {

/// A host that opens one project after the other, and may fail at what it is asked for.
class ChangingHost final : public SYCB::ProjectConnectionManagerInterface {
public:
    explicit ChangingHost(Host& open) : open_(&open) {}
    void Open(Host& other) { open_ = &other; }

    [[nodiscard]] IO::Location GetProjectLocation() const override
    {
        return open_->manager.GetProjectLocation();
    }
    [[nodiscard]] std::shared_ptr<SYCB::CachedProjectInfo> GetCachedProjectInfo() override
    {
        if (hasNoCache)
            throw 7;
        return open_->manager.GetCachedProjectInfo();
    }
    [[nodiscard]] SYCB::PKSignalClient& GetSignalClient() override
    {
        return open_->manager.GetSignalClient();
    }
    [[nodiscard]] OV::UniString GetSessionId() const override
    {
        return open_->manager.GetSessionId();
    }
    void PostEvent(std::int32_t code, const OV::UniString& text) override
    {
        open_->manager.PostEvent(code, text);
        throw 7;
    }

    bool hasNoCache = false;

private:
    Host* open_;
};

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
                peer.Answer(200, ScriptedServer::SignedIn);
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
    EXPECT_THROW(connection.AuthenticateToProject(false), OV::NullReferenceException);
    EXPECT_THROW(connection.CheckProjectAvailability(), OV::NullReferenceException);
    EXPECT_THROW(connection.StartAndCheckSession(false, false, false, session),
                 OV::NullReferenceException);
    EXPECT_THROW(connection.FillCache(session), OV::NullReferenceException);
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

TEST_F(CheckStepTest, AConnectionTakesUpWhatTheHostHasOpenNow)
{
    Host bridge(Url("anna.novak", u"Harbour Bridge"), DataFolder());
    Host station(Url("anna.novak", u"North Station"), DataFolder());
    Host mistyped(Url("anna.novak", u"North Station", 0, "wrong"), DataFolder());
    ChangingHost host(bridge);
    SYC::ReadProjectConnection connection(&host);
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::Passed);
    const OV::UniString bridgeId = connection.GetProjectId();
    host.Open(mistyped);
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::AccessDenied);
    EXPECT_EQ(mistyped.events, (Events{{11, u""}})) << "and what the host throws harms nothing";
    host.Open(station);
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::Passed);
    EXPECT_NE(connection.GetProjectId(), bridgeId);
    EXPECT_EQ(station.manager.FindCache()->GetProjectId(), connection.GetProjectId());
    EXPECT_EQ(bridge.manager.FindCache()->GetProjectId(), bridgeId);

    EXPECT_FALSE(host.GetSessionId().empty());
    host.hasNoCache = true;
    EXPECT_TRUE(SYC::CloseSession(host)) << "the server's session is closed all the same";
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::Offline);
}
