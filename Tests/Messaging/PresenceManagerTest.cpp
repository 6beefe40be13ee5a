#include "Messaging/MessagingTest.hpp"

#include "PresenceManager/PresenceManager.hpp"
#include "Support/Eventually.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/Thrown.hpp"

using SYC::PresenceManager;

namespace {

class PresenceManagerTest : public MessagingTest {
protected:
    PresenceManagerTest()
        : MessagingTest({"--sample", "--sample-lines", "0", "--presence-grace", "100"})
    {}
    ~PresenceManagerTest() override
    {
        presence.BeforeShutdown();
        presence.AfterShutdown();
    }

    void Follow(std::uint16_t port)
    {
        presence.SetTargetServer(u"127.0.0.1", port, u"anna.novak",
                                 OV::FromUtf8(ServerProcess::Password));
    }
    /// The presence is asked for on another thread, which tells nobody.
    void AwaitPresent(const PresenceManager::PresenceIds& expected)
    {
        EXPECT_TRUE(Eventually([&] { return presence.GetActivePresenceIds() == expected; }));
    }

    PresenceManager& presence = PresenceManager::GetInstance();
};

}  // namespace

TEST_F(PresenceManagerTest, FollowsWhoComesAndGoesOverARestartOfTheServer)
{
    Follow(server.ModelPort());
    EXPECT_EQ(presence.GetHost(), u"127.0.0.1");
    AwaitPresent({});
    const auto yuki = MakeHost("yuki.tanaka");
    yuki->manager.StartSignals(ProjectId());
    AwaitPresent({u"yuki.tanaka"});
    const auto lena = MakeHost("lena.fischer");
    lena->manager.StartSignals(ProjectId());
    AwaitPresent({u"yuki.tanaka", u"lena.fischer"});
    yuki->manager.StopSignals();
    AwaitPresent({u"lena.fischer"});
    server.Kill();
    AwaitPresent({});
    server.Start();
    AwaitPresent({u"lena.fischer"});
    presence.StopPresenceCheck();
    EXPECT_TRUE(presence.GetActivePresenceIds().empty());
    Follow(server.ModelPort());
    AwaitPresent({u"lena.fischer"});
}

TEST_F(PresenceManagerTest, TellsWhichStepFailed)
{
    EXPECT_EQ(Thrown([&] { Follow(0); }).message, "Invalid host name or port number");
    EXPECT_EQ(Thrown([&] { presence.SetTargetServer(u"", 1, u"u", u"p"); }).message,
              "Invalid host name or port number");
    ScriptedServer refusing(
        [](auto& peer, const auto&) { peer.Answer(401, R"({"code":10,"message":"no"})"); });
    const struct {
        const char* failing;      ///< the end of the target that is refused
        std::uint16_t messaging;  ///< the port that is listed, 0 for none, 1 for the server's own
        const char* problem;
    } cases[] = {
        {"/sign-in", 1, "Could not connect to the server"},
        {"/ports", 1, "Could not get the messaging port"},
        {"none", 0, "Could not get the messaging port"},
        {"/projects", 1, "Could not get projects"},
        {"none", refusing.Port(), "Could not create messaging client"},
        {"/subscriptions", 1, "Could not subscribe to receive presence"},
    };
    for (const auto& each : cases) {
        ScriptedServer scripted([&](auto& peer, const auto& request) {
            const auto port = each.messaging == 1 ? scripted.Port() : each.messaging;
            if (request.target.ends_with(each.failing))
                peer.Answer(500, R"({"code":2,"message":"broken"})");
            else if (request.target.ends_with("/sign-in"))
                peer.Answer(200, ScriptedServer::SignedIn);
            else if (request.target.ends_with("/ports"))
                peer.Answer(200, ScriptedServer::Ports("MessagingService", port));
            else if (request.target.ends_with("/projects"))
                peer.Answer(200, ScriptedServer::OneProject);
        });
        EXPECT_EQ(Thrown([&] { Follow(scripted.Port()); }).message, each.problem);
    }
    // Who is refused himself is not signed in again behind his back, only when he is asked for.
    const int before = refusing.Requests();
    for (int asked = 1; asked <= 2; ++asked) {
        EXPECT_EQ(Thrown([&] { Follow(refusing.Port()); }).message,
                  "Could not connect to the server");
        EXPECT_EQ(refusing.Requests(), before + asked);
    }
    Sql("UPDATE users SET enabled = 0 WHERE login = 'anna.novak'");
    EXPECT_EQ(Thrown([&] { Follow(server.ModelPort()); }).message,
              "Could not connect to the server");
}
