#include "OVRoot/Logger.hpp"
#include "OVRoot/Thread.hpp"
#include "SYClientBase/Backoff.hpp"
#include "SYClientBase/PKSignalClient.hpp"
#include "Support/IdleSyncraClient.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

using namespace SYCB;
using Syncra::Protocol::Signal;
using Syncra::Protocol::SignalBatch;
using Syncra::Protocol::SignalId;

namespace {

constexpr std::chrono::seconds SignalPatience(30);

/// The signals of a server that can go away, come back, refuse and lose its place.
class FakeServer {
public:
    void Emit(SignalId id)
    {
        Change([&] { signals_.push_back({++sequence_, id, u"P"}); });
    }
    void GoAway()
    {
        Change([&] { reachable_ = false; });
    }
    void ComeBack()
    {
        Change([&] { reachable_ = true; });
    }
    void Refuse(std::int32_t code)
    {
        Change([&] { refusal_ = code; });
    }
    /// A new life: sequences begin again. The connection is kept.
    void Restart()
    {
        Change([&] {
            signals_.clear();
            sequence_ = 0;
        });
    }

    std::unique_ptr<Syncra::Client::SyncraClient> Connect()
    {
        const std::lock_guard guard(lock_);
        ++connects_;
        changed_.notify_all();
        if (!reachable_)
            throw 7;  // a host's connector throws what it likes
        ThrowIfAway();
        return std::make_unique<Client>(*this);
    }
    void AwaitConnects(int count)
    {
        std::unique_lock guard(lock_);
        EXPECT_TRUE(changed_.wait_for(guard, SignalPatience, [&] { return connects_ >= count; }));
    }
    /// Until a client waits for what comes next.
    void AwaitHeldRequest()
    {
        std::unique_lock guard(lock_);
        EXPECT_TRUE(changed_.wait_for(guard, SignalPatience, [&] { return held_ > 0; }));
    }
    /// Far sooner than a held request would end by itself.
    void AwaitNoHeldRequest()
    {
        std::unique_lock guard(lock_);
        EXPECT_TRUE(changed_.wait_for(guard, SignalPatience / 3, [&] { return held_ == 0; }));
    }
    [[nodiscard]] int Connects()
    {
        const std::lock_guard guard(lock_);
        return connects_;
    }

private:
    class Client final : public IdleSyncraClient {
    public:
        explicit Client(FakeServer& server) : server_(server) {}
        SignalBatch WaitForSignals(const OV::UniString&, std::uint64_t after,
                                   std::uint32_t wait) override
        {
            return server_.Hold(after, wait, canceled_);
        }
        void Cancel() override
        {
            server_.Change([this] { canceled_ = true; });
        }

    private:
        FakeServer& server_;
        bool canceled_ = false;
    };

    template <class Action>
    void Change(Action action)
    {
        const std::lock_guard guard(lock_);
        action();
        changed_.notify_all();
    }

    void ThrowIfAway() const
    {
        if (!reachable_)
            throw Communication::ConnectionException(u"the server is away");
        if (refusal_ != 0)
            throw Communication::ResponseContentException(refusal_, u"refused");
    }

    SignalBatch Hold(std::uint64_t after, std::uint32_t wait, const bool& canceled)
    {
        std::unique_lock guard(lock_);
        if (wait == 0 && after == 0)
            return {{}, sequence_};
        ++held_;
        changed_.notify_all();
        changed_.wait_for(guard, OV::Thread::CurrentToken(), std::chrono::milliseconds(wait), [&] {
            return canceled || !reachable_ || refusal_ != 0 || sequence_ != after;
        });
        --held_;
        changed_.notify_all();
        if (canceled || OV::Thread::IsInterrupted())
            throw OV::InterruptedException();
        ThrowIfAway();
        SignalBatch batch{{}, sequence_};
        if (after <= sequence_)
            for (const Signal& signal : signals_)
                if (signal.sequence > after)
                    batch.events.push_back(signal);
        return batch;
    }

    std::mutex lock_;
    std::condition_variable_any changed_;
    std::vector<Signal> signals_;
    std::uint64_t sequence_ = 0;
    bool reachable_ = true;
    std::int32_t refusal_ = 0;
    int connects_ = 0;
    int held_ = 0;
};

/// Notes what it is told.
class Notes : public PKSignalClientObserver, public PresenceServiceObserver {
public:
    bool _CheckSignalType(SignalId id) const override { return id != SignalId::MembersChanged; }
    void _SignalReceived(const Signal& signal) override
    {
        const std::lock_guard guard(lock_);
        signals_.push_back(signal.id);
        changed_.notify_all();
        if (throws)
            throw std::runtime_error("expected by the test");
    }
    void _ServiceStateChanged(PresenceService&, PresenceState state) override
    {
        const std::lock_guard guard(lock_);
        states_.push_back(state);
        changed_.notify_all();
        if (throws)
            throw 7;
    }

    void AwaitSignals(const std::vector<SignalId>& expected)
    {
        std::unique_lock guard(lock_);
        changed_.wait_for(guard, SignalPatience,
                          [&] { return signals_.size() >= expected.size(); });
        EXPECT_EQ(signals_, expected);
        signals_.clear();
    }
    void AwaitState(PresenceState expected)
    {
        std::unique_lock guard(lock_);
        EXPECT_TRUE(changed_.wait_for(guard, SignalPatience, [&] {
            return !states_.empty() && states_.back() == expected;
        })) << static_cast<int>(expected);
    }
    [[nodiscard]] std::vector<PresenceState> States()
    {
        const std::lock_guard guard(lock_);
        return states_;
    }

    std::atomic<bool> throws = false;

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<SignalId> signals_;
    std::vector<PresenceState> states_;
};

const std::vector<SignalId> EveryWantedKind = {SignalId::ProjectStateChanged,
                                               SignalId::SessionsChanged, SignalId::NewMail};

class SignalClientTest : public testing::Test {
protected:
    SignalClientTest()
    {
        client_.Attach(notes_);
        client_.GetPresenceService().Attach(notes_);
    }
    ~SignalClientTest() override { client_.Stop(); }

    void Start()
    {
        client_.Start([this] { return server_.Connect(); }, u"P");
    }

    FakeServer server_;
    Notes notes_;
    PKSignalClient client_;
};

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

TEST_F(SignalClientTest, WantedSignalsArriveInOrderAndNothingOfThePast)
{
    notes_.throws = true;  // an observer that fails must not look like a lost server
    server_.Emit(SignalId::NewMail);
    Start();
    notes_.AwaitState(PresenceState::Online);
    server_.AwaitHeldRequest();
    server_.Emit(SignalId::SessionsChanged);
    server_.Emit(SignalId::MembersChanged);
    server_.Emit(SignalId::NewMail);
    notes_.AwaitSignals({SignalId::SessionsChanged, SignalId::NewMail});
    EXPECT_EQ(server_.Connects(), 1);
    EXPECT_EQ(notes_.States(), std::vector{PresenceState::Online});
}

TEST_F(SignalClientTest, AReconnectionBringsOneSignalOfEachKind)
{
    Start();
    notes_.AwaitState(PresenceState::Online);
    server_.AwaitHeldRequest();
    server_.GoAway();
    notes_.AwaitState(PresenceState::Offline);
    server_.AwaitConnects(3);
    server_.ComeBack();
    notes_.AwaitState(PresenceState::Online);
    notes_.AwaitSignals(EveryWantedKind);
    server_.AwaitHeldRequest();
    server_.Emit(SignalId::NewMail);
    notes_.AwaitSignals({SignalId::NewMail});
}

TEST_F(SignalClientTest, AServerThatLostItsPlaceCountsAsAReconnection)
{
    server_.Emit(SignalId::NewMail);
    Start();
    server_.AwaitHeldRequest();
    server_.Restart();
    notes_.AwaitSignals(EveryWantedKind);
    EXPECT_EQ(server_.Connects(), 1);
}

TEST_F(SignalClientTest, ARefusedUserIsNotTriedAgain)
{
    OV::Logger::SetSink([](const OV::LogRecord&) {});
    for (const std::int32_t code : {10, 13, 16}) {
        FakeServer refusing;
        refusing.Refuse(code);
        client_.Start([&] { return refusing.Connect(); }, u"P");
        notes_.AwaitState(PresenceState::Offline);
        std::this_thread::sleep_for(std::chrono::milliseconds(600));  // the first pause is shorter
        EXPECT_EQ(refusing.Connects(), 1) << code;
        client_.Stop();
    }
    OV::Logger::SetSink({});
    server_.Refuse(24);
    Start();
    server_.AwaitConnects(2);
}

TEST_F(SignalClientTest, WorkingOfflineEndsTheRequestAndLastsUntilLifted)
{
    Start();
    notes_.AwaitState(PresenceState::Online);
    server_.AwaitHeldRequest();
    client_.SetForcedOffline(true);
    EXPECT_EQ(client_.GetPresenceService().GetState(), PresenceState::Offline);
    server_.AwaitNoHeldRequest();
    server_.Emit(SignalId::NewMail);
    client_.GetPresenceService().SetState(PresenceState::Online);  // a check that just passed
    EXPECT_EQ(notes_.States(), (std::vector{PresenceState::Online, PresenceState::Offline}));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(server_.Connects(), 1);
    EXPECT_FALSE(client_.GetPresenceService().IsOnline());
    client_.SetForcedOffline(false);
    notes_.AwaitState(PresenceState::Online);
    notes_.AwaitSignals(EveryWantedKind);
    EXPECT_EQ(server_.Connects(), 2);
}

TEST_F(SignalClientTest, StopEndsAHeldRequestAndAPauseAtOnce)
{
    for (const bool away : {false, true}) {
        Start();
        server_.AwaitHeldRequest();
        if (away) {
            const int before = server_.Connects();
            server_.GoAway();
            server_.AwaitConnects(before + 2);
        }
        const auto begin = std::chrono::steady_clock::now();
        client_.Stop();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
        EXPECT_EQ(client_.GetPresenceService().GetState(), PresenceState::Unknown);
        server_.ComeBack();
    }
}

TEST_F(SignalClientTest, AnObserverMayStopAndStartTheClientItHearsFrom)
{
    struct Restarting : PKSignalClientObserver {
        explicit Restarting(std::function<void()> restart) : restart_(std::move(restart)) {}
        bool _CheckSignalType(SignalId id) const override { return id == SignalId::MembersChanged; }
        void _SignalReceived(const Signal&) override { restart_(); }
        std::function<void()> restart_;
    };
    Restarting restarting([this] {
        client_.Stop();
        Start();
    });
    client_.Attach(restarting);
    Start();
    server_.AwaitHeldRequest();
    server_.Emit(SignalId::MembersChanged);
    server_.AwaitConnects(2);
    server_.AwaitHeldRequest();
    server_.Emit(SignalId::NewMail);
    notes_.AwaitSignals({SignalId::NewMail});
    client_.Stop();
    client_.Detach(restarting);
}
