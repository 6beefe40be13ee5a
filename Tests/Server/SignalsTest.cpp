#include "ServerTest.hpp"

#include <list>
#include <thread>

namespace {

constexpr int Long = 60'000;

class SignalsTest : public ServerTest {
protected:
    SignalsTest()
        : ServerTest({"--sample", "--sample-lines", "0", "--requests-per-user", "1000",
                      "--connections", "2000"})
    {}
    /// Starts a session of the user, or ends the one started before.
    void Raise(Client& client)
    {
        if (session_.empty()) {
            const auto path = Bridge("sessions");
            session_ = client.Ask("POST", path, "{}").json.at("id");
        } else {
            ASSERT_EQ(client.Ask("DELETE", "/syncra/v1/sessions/" + session_).status, 200);
            session_.clear();
        }
    }
    static std::string Held(std::uint64_t after) { return BridgeSignals(after, Long); }
    static void ExpectSessionSignal(const Answer& answer, std::uint64_t sequence)
    {
        EXPECT_EQ(answer.json,
                  (nlohmann::json{
                      {"signals",
                       {{{"sequence", sequence}, {"id", 2}, {"projectId", Sample::HarbourBridge}}}},
                      {"next", sequence}}));
    }
    static nlohmann::json Nothing(std::uint64_t next)
    {
        return {{"signals", nlohmann::json::array()}, {"next", next}};
    }

private:
    std::string session_;
};

}  // namespace

TEST_F(SignalsTest, TheFirstSignalOfAFreshServerReachesWhoAskedForHisPlaceBefore)
{
    auto listener = SignedIn("anna.novak");
    auto actor = SignedIn("lena.fischer");
    EXPECT_EQ(listener.Ask("GET", BridgeSignals(0, 0)).json, Nothing(0));
    listener.Begin("GET", Held(0));
    Raise(actor);
    ExpectSessionSignal(listener.End(), 1);
    // In between: an answered listener misses nothing until he asks again.
    Raise(actor);
    ExpectSessionSignal(listener.Ask("GET", Held(1)), 2);
    EXPECT_EQ(listener.Ask("GET", BridgeSignals(0, 0)).json, Nothing(2));
}

TEST_F(SignalsTest, APlaceThatTheServerHasNotReachedIsAnsweredAtOnce)
{
    auto listener = SignedIn("anna.novak");
    EXPECT_EQ(listener.Ask("GET", Held(1'000'000)).json, Nothing(0));
    EXPECT_EQ(listener.Ask("GET", Held(~std::uint64_t{0})).json, Nothing(0));
}

TEST_F(SignalsTest, WhoMissedMoreThanIsKeptIsToldOfEveryKind)
{
    auto listener = SignedIn("anna.novak");
    auto actor = SignedIn("lena.fischer");
    for (int i = 0; i < 1003; ++i)
        Raise(actor);
    EXPECT_EQ(listener.Ask("GET", Held(3)).json.at("signals").size(), 1000u);
    const auto signals = listener.Ask("GET", Held(2)).json.at("signals");
    ASSERT_EQ(signals.size(), 5u);
    for (int id = 1; id <= 5; ++id)
        EXPECT_EQ(signals[static_cast<std::size_t>(id) - 1].at("id"), id);
}

TEST_F(SignalsTest, SignalsAndTimeLimitsThatMeetAnswerEachRequestOnce)
{
    auto actor = SignedIn("lena.fischer");
    const auto token = SignedIn("anna.novak").Token();
    std::list<Client> listeners;
    for (int i = 0; i < 20; ++i)
        listeners.emplace_back(server.ModelPort(), token);
    std::uint64_t next = 0;
    for (int round = 0; round < 60; ++round) {
        for (auto& listener : listeners)
            listener.Begin("GET", BridgeSignals(next, 1 + round % 4));
        Raise(actor);
        for (auto& listener : listeners)
            EXPECT_EQ(listener.End().status, 200);
        next = actor.Ask("GET", BridgeSignals(0, 0)).json.at("next");
    }
    EXPECT_EQ(next, 60u);
}

TEST_F(SignalsTest, AClientThatLeavesItsHeldRequestLeavesNothingBehind)
{
    const auto token = SignedIn("anna.novak").Token();
    // More than the server takes at once: it would run out if it kept them until their time is
    // over.
    for (int round = 0; round < 5; ++round) {
        std::list<Client> leaving;
        for (int i = 0; i < 500; ++i)
            leaving.emplace_back(server.ModelPort(), token).Begin("GET", Held(0));
    }
    auto actor = SignedIn("lena.fischer");
    Raise(actor);
    ExpectSessionSignal(Client(server.ModelPort(), token).Ask("GET", Held(0)), 1);
}

TEST_F(SignalsTest, APlaceIsGoodAfterARestartAndLosesAndRepeatsNothing)
{
    auto actor = SignedIn("lena.fischer");
    Raise(actor);
    server.Kill();
    server.Start();
    actor = SignedIn("lena.fischer");
    auto listener = SignedIn("anna.novak");
    ExpectSessionSignal(listener.Ask("GET", Held(0)), 1);
    listener.Begin("GET", Held(1));
    Raise(actor);
    ExpectSessionSignal(listener.End(), 2);
    const auto path = [](const std::string& place) {
        return Bridge("members/changes?after=" + place);
    };
    const auto changes = listener.Ask("GET", path("1")).json;
    EXPECT_EQ(changes.at("whole"), false);
    EXPECT_EQ(changes.at("members").size(), 1u) << changes;
    EXPECT_EQ(listener.Ask("GET", path("3")).json.at("whole"), true) << "never reached";
}

TEST_F(SignalsTest, WhatOneServerRaisesReachesARequestThatAnotherOneHolds)
{
    if (!PostgresCluster::IsWanted())
        GTEST_SKIP() << "is about several servers on one store";
    ServerProcess other(folder.Path(), {});
    auto actor = SignedIn("lena.fischer");
    Client listener(other.ModelPort(), "anna.novak", ServerProcess::Password);
    auto here = SignedIn("anna.novak");
    std::uint64_t next = 0;
    for (int round = 0; round < 100; ++round) {
        listener.Begin("GET", Held(next));
        here.Begin("GET", Held(next));
        Raise(actor);
        ExpectSessionSignal(listener.End(), ++next);
        ExpectSessionSignal(here.End(), next);
    }
    // The database goes while somebody holds, and he does not miss what is raised after that.
    Client marco(other.ModelPort(), "marco.rossi", ServerProcess::Password);
    marco.Begin("GET", Held(next));
    AwaitPresent(other, Sample::HarbourBridge,
                 [](const auto& present) { return present.contains("marco.rossi"); });
    PostgresCluster::Get().Crash();
    PostgresCluster::Get().Start();
    while (actor.Ask("GET", "/syncra/v1/projects").status != 200)
        std::this_thread::yield();
    Raise(actor);
    ExpectSessionSignal(marco.End(), ++next);
    // Back and forth: a place of one server is one of the other.
    Raise(actor);
    ExpectSessionSignal(here.Ask("GET", Held(next)), next + 1);
    ExpectSessionSignal(listener.Ask("GET", Held(next)), next + 1);
}
