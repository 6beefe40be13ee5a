#include "Messaging/MessagingTest.hpp"

#include "PresenceManager/PresenceManager.hpp"
#include "Support/ScriptedServer.hpp"

#include <thread>

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
        for (int wait = 0; wait < 3000 && presence.GetActivePresenceIds() != expected; ++wait)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(presence.GetActivePresenceIds(), expected);
    }

    PresenceManager& presence = PresenceManager::GetInstance();
};

/// The message of what following this target throws.
template <class Follow>
std::string ProblemOf(Follow follow)
{
    try {
        follow();
        return "none";
    } catch (const PresenceManagerException& problem) {
        return problem.what();
    } catch (const OV::IllegalArgumentException& problem) {
        return problem.what();
    }
}

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
    EXPECT_EQ(ProblemOf([&] { Follow(0); }), "Invalid host name or port number");
    EXPECT_EQ(ProblemOf([&] { presence.SetTargetServer(u"", 1, u"u", u"p"); }),
              "Invalid host name or port number");

    struct Case {
        const char* failing;  ///< the end of the target that is refused
        const char* problem;
    };
    const Case cases[] = {
        {"/sign-in", "Could not connect to the server"},
        {"/ports", "Could not get the messaging port"},
        {"/projects", "Could not get projects"},
        {"/subscriptions", "Could not subscribe to receive presence"},
    };
    for (const auto& each : cases) {
        std::uint16_t port = 0;
        ScriptedServer scripted([&](auto& peer, const auto& request) {
            if (request.target.ends_with(each.failing))
                peer.Answer(500, R"({"code":2,"message":"broken"})");
            else if (request.target.ends_with("/sign-in"))
                peer.Answer(200, R"({"token":"t","userId":"u","userName":"n","protocol":1,)"
                                 R"("serverVersion":1400})");
            else if (request.target.ends_with("/ports"))
                peer.Answer(200, R"({"ports":[{"service":"MessagingService","port":)" +
                                     std::to_string(port) + "}]}");
            else if (request.target.ends_with("/projects"))
                peer.Answer(200, R"({"projects":[{"id":"p","name":"n","location":"","category":"",)"
                                 R"("state":3,"version":"","build":1}]})");
        });
        port = scripted.Port();
        EXPECT_EQ(ProblemOf([&] { Follow(port); }), each.problem);
    }
    Sql("UPDATE users SET enabled = 0 WHERE login = 'anna.novak'");
    EXPECT_EQ(ProblemOf([&] { Follow(server.ModelPort()); }), "Could not connect to the server");
}

TEST_F(PresenceManagerTest, AMessagingServiceThatRefusesIsToldApart)
{
    // Who is refused himself is not signed in again behind his back, only when he is asked for.
    ScriptedServer refusing(
        [](auto& peer, const auto&) { peer.Answer(401, R"({"code":10,"message":"no"})"); });
    for (int asked = 1; asked <= 2; ++asked) {
        EXPECT_EQ(ProblemOf([&] { Follow(refusing.Port()); }), "Could not connect to the server");
        EXPECT_EQ(refusing.Requests(), asked);
    }
    // A real model service whose port list leads to a service that refuses the built-in account.
    ScriptedServer messaging(
        [](auto& peer, const auto&) { peer.Answer(401, R"({"code":10,"message":"no"})"); });
    std::uint16_t port = messaging.Port();
    ScriptedServer model([&](auto& peer, const auto& request) {
        if (request.target.ends_with("/ports"))
            peer.Answer(200, R"({"ports":[{"service":"MessagingService","port":)" +
                                 std::to_string(port) + "}]}");
        else
            peer.Answer(200, R"({"token":"t","userId":"u","userName":"n","protocol":1,)"
                             R"("serverVersion":1400})");
    });
    EXPECT_EQ(ProblemOf([&] { Follow(model.Port()); }), "Could not create messaging client");
    ScriptedServer without([&](auto& peer, const auto& request) {
        if (request.target.ends_with("/ports"))
            peer.Answer(200, R"({"ports":[]})");
        else
            peer.Answer(200, R"({"token":"t","userId":"u","userName":"n","protocol":1,)"
                             R"("serverVersion":1400})");
    });
    EXPECT_EQ(ProblemOf([&] { Follow(without.Port()); }), "Could not get the messaging port");
}
