#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/PKSignalClient.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <set>

using namespace SYCB;
using Syncra::Protocol::Signal;
using Syncra::Protocol::SignalId;

namespace {

/// Of the sample team; anna.novak and lena.fischer are members.
const OV::UniString HarbourBridge = u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001";
constexpr std::chrono::seconds Patience(60);

class RealServerTest : public testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<Syncra::Client::SyncraClient> SignIn(const OV::UniString& user)
    {
        return CreateSyncraClient(
            {u"127.0.0.1", port_, user, OV::FromUtf8(ServerProcess::Password)});
    }

    TemporaryFolder folder_;
    ServerProcess server_{folder_.Path()};
    /// Stays the same over restarts; read by other threads while the server starts.
    const std::uint16_t port_ = server_.ModelPort();
};

/// The kinds that arrived since the last look, and the presence.
class Heard : public PKSignalClientObserver {
public:
    bool _CheckSignalType(SignalId) const override { return true; }
    void _SignalReceived(const Signal& signal) override
    {
        const std::lock_guard guard(lock_);
        kinds_.insert(signal.id);
        changed_.notify_all();
    }
    [[nodiscard]] bool Await(const std::set<SignalId>& kinds)
    {
        std::unique_lock guard(lock_);
        const bool arrived = changed_.wait_for(guard, Patience, [&] { return kinds_ == kinds; });
        kinds_.clear();
        return arrived;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::set<SignalId> kinds_;
};

[[nodiscard]] bool AwaitState(PresenceService& presence, PresenceState state)
{
    const auto until = std::chrono::steady_clock::now() + Patience;
    while (presence.GetState() != state && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return presence.GetState() == state;
}

}  // namespace

TEST_F(RealServerTest, AClientIsUsableAgainWhenItsServerWasRestarted)
{
    const auto client = SignIn(u"anna.novak");
    const auto projects = client->GetProjects();
    ASSERT_FALSE(projects.empty());

    server_.Kill();
    EXPECT_THROW((void)client->GetProjects(), Communication::ConnectionException);
    server_.Start();
    EXPECT_EQ(client->GetProjects(), projects) << "the token was renewed";

    // Once more without a request in between: the kept connection is dead when the change is sent.
    server_.Kill();
    server_.Start();
    const auto session = client->StartSession(HarbourBridge);
    EXPECT_EQ(session.loginName, u"anna.novak");
    EXPECT_EQ(client->GetSessions(HarbourBridge).at(0), session);
    client->CloseSession(session.id);
    EXPECT_TRUE(client->GetSessions(HarbourBridge).empty());
}

TEST_F(RealServerTest, SignalsArriveAndAReconnectionFollowsARestart)
{
    Heard heard;
    PKSignalClient signals;
    signals.Attach(heard);
    signals.Start([this] { return SignIn(u"lena.fischer"); }, HarbourBridge);
    ASSERT_TRUE(AwaitState(signals.GetPresenceService(), PresenceState::Online));

    const auto other = SignIn(u"anna.novak");
    const auto session = other->StartSession(HarbourBridge);
    EXPECT_TRUE(heard.Await({SignalId::SessionsChanged}));

    server_.Kill();
    ASSERT_TRUE(AwaitState(signals.GetPresenceService(), PresenceState::Offline));
    server_.Start();
    ASSERT_TRUE(AwaitState(signals.GetPresenceService(), PresenceState::Online));
    EXPECT_TRUE(heard.Await({SignalId::ProjectStateChanged, SignalId::SessionsChanged,
                             SignalId::MembersChanged, SignalId::NewMail}));
    other->CloseSession(session.id);
    EXPECT_TRUE(heard.Await({SignalId::SessionsChanged}));

    const auto begin = std::chrono::steady_clock::now();
    signals.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
}

TEST_F(RealServerTest, PortsAreAskedOnceAndServersThatAnsweredAreRemembered)
{
    const OV::UniString password = OV::FromUtf8(ServerProcess::Password);
    ServicePortCache cache;
    const auto port = [&](const OV::UniString& server, ServiceType service, bool mayAsk) {
        return cache.GetServicePort(server, port_, u"anna.novak", password, service, mayAsk);
    };
    ConnectionValidator& validator = ConnectionValidator::GetInstance();
    EXPECT_EQ(port(u"localhost", ServiceType::Management, false), 0);
    EXPECT_THROW((void)cache.GetServicePort(u"localhost", port_, u"anna.novak", u"?",
                                            ServiceType::Management, true),
                 Communication::ResponseContentException);
    EXPECT_FALSE(validator.GetWorkingConnectionForServer(u"localhost", port_));
    EXPECT_EQ(port(u"localhost", ServiceType::Management, true), server_.ManagementPort());
    EXPECT_TRUE(validator.GetWorkingConnectionForServer(u"LocalHost", port_));
    server_.Kill();
    EXPECT_EQ(port(u"LOCALHOST", ServiceType::Messaging, true), server_.MessagingPort());
    cache.Forget(u"localhost", port_);
    EXPECT_THROW((void)port(u"localhost", ServiceType::Messaging, true),
                 Communication::ConnectionException);
}
