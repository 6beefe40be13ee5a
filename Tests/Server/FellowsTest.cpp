#include "ServerTest.hpp"

#include <optional>
#include <set>
#include <thread>

namespace {

using nlohmann::json;

/// Several servers on one store.
class FellowsTest : public ServerTest {
protected:
    FellowsTest()
        : ServerTest({"--sample", "--sample-lines", "0", "--lease", "1", "--presence-grace", "1"})
    {}
    void SetUp() override
    {
        if (!PostgresCluster::IsWanted())
            GTEST_SKIP() << "is about several servers on one store";
        other.emplace(folder.Path(),
                      std::vector<std::string>{"--lease", "1", "--presence-grace", "1"});
    }
    static void AwaitPresent(const ServerProcess& at, const std::set<std::string>& logins)
    {
        ServerTest::AwaitPresent(at, Sample::HarbourBridge,
                                 [&](const auto& present) { return present == logins; });
    }

    std::optional<ServerProcess> other;
};

constexpr int TokenExpired = 15, TooManyRequests = 26;
const std::string Projects = "/syncra/v1/projects";

}  // namespace

TEST_F(FellowsTest, ATokenOfOneIsGoodAtEachUntilItEndsAtAny)
{
    auto here = SignedIn("anna.novak");
    Client there(other->ModelPort(), here.Token());
    EXPECT_EQ(there.Ask("GET", Projects).status, 200);
    EXPECT_EQ(there.Ask("POST", Bridge("mails"), Mail("1", {"lena.fischer"}).dump()).status, 200)
        << "a body is let in";
    auto damaged = here.Token();
    damaged[damaged.size() / 2] ^= 1;
    EXPECT_EQ(Client(server.ModelPort(), damaged).Ask("GET", Projects).Code(), TokenExpired);
    EXPECT_EQ(EditStore(server.StorePath(), "SELECT count(*) FROM tokens WHERE strpos(digest, '" +
                                                here.Token() + "') > 0"),
              "0\n");

    EXPECT_EQ(there.Ask("POST", "/syncra/v1/sign-out").status, 200);
    EXPECT_EQ(here.Ask("GET", Projects).Code(), TokenExpired);
    // A new password ends all but the one that it was given with, wherever they came from.
    auto first = SignedIn("anna.novak");
    Client second(other->ModelPort(), "anna.novak", ServerProcess::Password);
    Client manager(other->ManagementPort(), "anna.novak", ServerProcess::Password);
    EXPECT_EQ(manager
                  .Ask("PUT", "/root/syncrav2/users/anna.novak/password",
                       json{{"password", "quite-another-1"}}.dump())
                  .status,
              200);
    for (Client* client : {&first, &second})
        EXPECT_EQ(client->Ask("GET", Projects).Code(), TokenExpired);
    EXPECT_EQ(Client(server.ModelPort(), manager.Token()).Ask("GET", Projects).status, 200);
    // It outlives whoever gave it.
    other->Kill();
    EXPECT_EQ(Client(server.ModelPort(), manager.Token()).Ask("GET", Projects).status, 200);
}

TEST_F(FellowsTest, WhoIsPresentAtOneIsPresentForAllAndADeadOneGivesHimUp)
{
    auto lena = SignedIn("lena.fischer");
    lena.Begin("GET", BridgeSignals(0, 60'000));
    Client anna(other->ModelPort(), "anna.novak", ServerProcess::Password);
    anna.Begin("GET", BridgeSignals(0, 60'000));
    AwaitPresent(server, {"anna.novak", "lena.fischer"});
    AwaitPresent(*other, {"anna.novak", "lena.fischer"});
    // Long enough for the others to give up what it held: it takes that back when it goes on.
    other->Pause();
    AwaitPresent(server, {"lena.fischer"});
    other->Resume();
    AwaitPresent(server, {"anna.novak", "lena.fischer"});
    other->Kill();
    AwaitPresent(server, {"lena.fischer"});
}

TEST_F(FellowsTest, RefusedSignInsAreCountedTogether)
{
    const auto signIn = [](const ServerProcess& at, const std::string& password) {
        return Client(at.ModelPort()).SignIn("anna.novak", password).Code();
    };
    constexpr int wrong = 10;
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(signIn(i % 2 == 0 ? server : *other, "wrong"), wrong);
    while (EditStore(server.StorePath(), "SELECT max(times) FROM refused_sign_ins") != "5\n")
        std::this_thread::yield();
    Sql("UPDATE refused_sign_ins SET free_at = free_at + 60");
    for (const ServerProcess* each : {&server, &*other})
        EXPECT_EQ(signIn(*each, "wrong"), TooManyRequests);
}
