#include "OVRoot/Condition.hpp"
#include "SYClientBase/Backoff.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/PKSignalClient.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/CommunicationException.hpp"
#include "Support/Eventually.hpp"
#include "Support/FileBytes.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

using namespace SYCB;
using Syncra::Protocol::Signal;
using Syncra::Protocol::SignalBatch;
using Syncra::Protocol::SignalId;

namespace {

/// Of the sample team; anna.novak and lena.fischer are members.
const OV::UniString HarbourBridge = u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001";
using Signals = std::vector<SignalId>;
const Signals EveryWantedKind = {SignalId::ProjectStateChanged, SignalId::SessionsChanged,
                                 SignalId::NewMail, SignalId::SessionEnded};
using enum PresenceState;

/// Notes what it is told.
class Notes : public PKSignalClientObserver, public PresenceServiceObserver {
public:
    bool _CheckSignalType(SignalId id) const override { return id != SignalId::MembersChanged; }
    void _SignalReceived(const Signal& signal) override { Note(signals_, signal.id); }
    void _ServiceStateChanged(PresenceService&, PresenceState state) override
    {
        Note(states_, state);
    }
    [[nodiscard]] Signals GetSignals() { return Copy(signals_); }
    [[nodiscard]] std::vector<PresenceState> GetStates() { return Copy(states_); }

    std::atomic<bool> throws = false;

private:
    template <class Value>
    void Note(std::vector<Value>& values, Value value)
    {
        const std::lock_guard guard(lock_);
        values.push_back(value);
        if (throws)
            throw 7;
    }
    template <class Value>
    std::vector<Value> Copy(const std::vector<Value>& values)
    {
        const std::lock_guard guard(lock_);
        return values;
    }

    std::mutex lock_;
    Signals signals_;
    std::vector<PresenceState> states_;
};

class SignalClientTest : public testing::Test {
protected:
    SignalClientTest()
    {
        client.Attach(notes);
        client.GetPresenceService().Attach(notes);
    }
    ~SignalClientTest() override { client.Stop(); }

    [[nodiscard]] std::unique_ptr<Syncra::Client::SyncraClient> SignIn(const OV::UniString& user)
    {
        return CreateSyncraClient(
            {u"127.0.0.1", port, user, OV::FromUtf8(ServerProcess::Password)});
    }
    void Start()
    {
        client.Start([this] { return ++connects, SignIn(u"lena.fischer"); }, HarbourBridge);
    }
    /// Starts or ends a session of another member, which is signalled.
    void Raise()
    {
        session.empty() ? void(session = anna->StartSession(HarbourBridge).id)
                        : anna->CloseSession(std::exchange(session, {}));
    }
    void AwaitState(PresenceState state)
    {
        EXPECT_TRUE(Eventually([&] {
            const auto states = notes.GetStates();
            return !states.empty() && states.back() == state;
        })) << static_cast<int>(state);
    }
    void AwaitSignals(const Signals& all)
    {
        EXPECT_TRUE(Eventually([&] { return notes.GetSignals().size() >= all.size(); }));
        EXPECT_EQ(notes.GetSignals(), all);
    }
    /// Whether this process has a thread of a signal client.
    static bool IsListening()
    {
        for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task"))
            if (ReadBytes(thread.path() / "comm").starts_with("SignalClient"))
                return true;
        return false;
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    /// Stays the same over restarts; read by other threads while the server starts.
    const std::uint16_t port = server.ModelPort();
    std::unique_ptr<Syncra::Client::SyncraClient> anna = SignIn(u"anna.novak");
    OV::UniString session;
    std::atomic<int> connects = 0;
    Notes notes;
    PKSignalClient client;
};

using ServicePortCacheTest = SignalClientTest;

}  // namespace

TEST(BackoffTest, DoublesFromHalfASecondToHalfAMinuteAndBeginsAgain)
{
    double random = 0;
    Backoff backoff([&random] { return random; });
    for (const std::uint32_t lowest : {250, 500, 1000, 2000, 4000, 8000, 15000, 15000})
        EXPECT_EQ(backoff.NextMilliseconds(), lowest);
    random = 0.999999;
    EXPECT_EQ(backoff.NextMilliseconds(), 29'999u);
    backoff.Reset();
    EXPECT_EQ(backoff.NextMilliseconds(), 499u);
}

TEST_F(SignalClientTest, SignalsArriveAndAReconnectionBringsOneOfEachWantedKind)
{
    notes.throws = true;  // an observer that fails must not look like a lost server
    Raise();
    Start();
    AwaitState(Online);
    Raise();
    AwaitSignals({SignalId::SessionsChanged});
    EXPECT_EQ(connects, 1);
    server.Kill();
    AwaitState(Offline);
    server.Start();
    AwaitState(Online);
    Signals all{SignalId::SessionsChanged};
    all.insert(all.end(), EveryWantedKind.begin(), EveryWantedKind.end());
    AwaitSignals(all);
    Raise();
    all.push_back(SignalId::SessionsChanged);
    AwaitSignals(all);
    EXPECT_EQ(notes.GetStates(), (std::vector{Online, Offline, Online}));
}

TEST_F(SignalClientTest, APlaceThatIsLostCountsAsAReconnectionAndOfflineEndsTheHeldRequest)
{
    std::atomic<bool> isHeld = false, isGone = false;
    const ScriptedServer forgetful([&](auto& peer, const auto& request) {
        const bool isFirst = request.target.ends_with("wait=0");
        if (request.target.ends_with("/sign-in")) {
            peer.Answer(200, ScriptedServer::SignedIn);
        } else if (!isFirst && request.target.find("after=0") != std::string::npos) {
            isHeld = true;
            peer.HoldUntilGone();
            isGone = true;
        } else {
            peer.Answer(200, R"({"signals":[],"next":)" + std::string(isFirst ? "5}" : "0}"));
        }
    });
    client.Start(
        [&] {
            return CreateSyncraClient({u"127.0.0.1", forgetful.Port(), u"u", u"p"});
        },
        u"P");
    AwaitSignals(EveryWantedKind);
    EXPECT_EQ(notes.GetStates(), std::vector{Online});
    EXPECT_TRUE(Eventually([&] { return isHeld.load(); }));
    client.SetForcedOffline(true);
    EXPECT_TRUE(Eventually([&] { return isGone.load(); }));
    client.Stop();
}

TEST_F(SignalClientTest, ARefusedUserIsNotTriedAgain)
{
    const auto refuse = [this](std::int32_t code) {
        connects = 0;
        client.Start(
            [this, code]() -> std::unique_ptr<Syncra::Client::SyncraClient> {
                ++connects;
                throw Communication::ResponseContentException(code, u"refused");
            },
            HarbourBridge);
    };
    for (const std::int32_t code : {10, 13, 16}) {
        refuse(code);
        AwaitState(Offline);
        EXPECT_TRUE(Eventually([] { return !IsListening(); })) << code;
        EXPECT_EQ(connects, 1) << code;
        client.Stop();
    }
    refuse(24);
    EXPECT_TRUE(Eventually([&] { return connects >= 2; }));
}

TEST_F(SignalClientTest, WorkingOfflineEndsTheRequestAndLastsUntilLifted)
{
    Start();
    AwaitState(Online);
    client.SetForcedOffline(true);
    EXPECT_EQ(client.GetPresenceService().GetState(), Offline);
    Raise();
    client.GetPresenceService().SetState(Online);  // a check that just passed
    EXPECT_EQ(notes.GetStates(), (std::vector{Online, Offline}));
    client.SetForcedOffline(false);
    AwaitState(Online);
    AwaitSignals(EveryWantedKind);
    EXPECT_EQ(connects, 2);
}

TEST_F(SignalClientTest, StopEndsAHeldRequestAndAPauseAtOnce)
{
    for (const bool away : {false, true}) {
        Start();
        AwaitState(Online);
        if (away) {
            const int before = connects;
            server.Kill();
            EXPECT_TRUE(Eventually([&] { return connects >= before + 2; }));
            EXPECT_TRUE(Eventually([&] {
                client.TryNow();
                return connects >= before + 20;  // without it some minutes of pauses
            }));
            EXPECT_TRUE(Eventually([&] { return client.GetNextTry().has_value(); }));
        }
        EXPECT_EQ(client.GetNextTry().has_value(), away);
        const auto begin = std::chrono::steady_clock::now();
        client.Stop();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
        EXPECT_EQ(client.GetPresenceService().GetState(), Unknown);
    }
}

TEST_F(SignalClientTest, AnObserverMayStopAndStartTheClientItHearsFrom)
{
    struct Restarting : PKSignalClientObserver {
        bool _CheckSignalType(SignalId id) const override
        {
            return id == SignalId::SessionsChanged;
        }
        void _SignalReceived(const Signal&) override
        {
            std::exchange(restart, [] {})();
        }
        std::function<void()> restart;
    } restarting;
    restarting.restart = [this] {
        client.Stop();
        Start();
    };
    client.Attach(restarting);
    Start();
    AwaitState(Online);
    Raise();
    EXPECT_TRUE(Eventually([&] {
        return notes.GetStates() == std::vector{Online, Unknown, Online};
    }));
    Raise();
    AwaitSignals({SignalId::SessionsChanged, SignalId::SessionsChanged});
    EXPECT_EQ(connects, 2);
    client.Stop();
    client.Detach(restarting);
}

TEST_F(ServicePortCacheTest, PortsAreAskedOnceAndServersThatAnsweredAreRemembered)
{
    const OV::UniString password = OV::FromUtf8(ServerProcess::Password);
    ServicePortCache cache;
    const auto ask = [&](const OV::UniString& name, ServiceType service, bool mayAsk,
                         const OV::UniString& with) {
        return cache.GetServicePort(name, port, u"anna.novak", with, service, mayAsk);
    };
    ConnectionValidator& validator = ConnectionValidator::GetInstance();
    EXPECT_EQ(ask(u"localhost", ServiceType::Management, false, password), 0);
    EXPECT_THROW((void)ask(u"localhost", ServiceType::Management, true, u"?"),
                 Communication::ResponseContentException);
    EXPECT_FALSE(validator.GetWorkingConnectionForServer(u"localhost", port));
    EXPECT_EQ(ask(u"localhost", ServiceType::Management, true, password), server.ManagementPort());
    EXPECT_TRUE(validator.GetWorkingConnectionForServer(u"LocalHost", port));
    server.Kill();
    EXPECT_EQ(ask(u"LOCALHOST", ServiceType::Messaging, true, password), server.MessagingPort());
    cache.Forget(u"localhost", port);
    EXPECT_THROW((void)ask(u"localhost", ServiceType::Messaging, true, password),
                 Communication::ConnectionException);
}
