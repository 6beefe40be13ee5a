#include "Connection/ConnectionTest.hpp"

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
