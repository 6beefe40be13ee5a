#include "ServerTest.hpp"

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>

namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

const std::string Subscriptions = "/syncra/v1/presence/subscriptions";

class PresenceTest : public ServerTest {
protected:
    using ServerTest::ServerTest;

    Client Lookout() { return {server.MessagingPort(), "lookout", "lookout"}; }
    static std::string Subscribe(Client& client, const std::vector<std::string>& projects)
    {
        return client.Ask("POST", Subscriptions, json{{"projects", projects}}.dump())
            .json.at("subscription");
    }
    static std::string Path(const std::string& subscription, std::uint64_t after, int wait = 60'000)
    {
        return "/syncra/v1/presence?subscription=" + subscription +
               "&after=" + std::to_string(after) + "&wait=" + std::to_string(wait);
    }
    /// Lets a client hold a signal request, and returns once the server has it.
    Client Holding(const std::string& user, const std::string& project)
    {
        auto client = SignedIn(user);
        Hold(client, user, 0, project);
        return client;
    }
    static json Present(const std::vector<std::string>& logins, std::uint64_t next)
    {
        return {{"present", logins}, {"next", next}};
    }
};

class PresenceWithoutGraceTest : public PresenceTest {
protected:
    PresenceWithoutGraceTest()
        : PresenceTest({"--sample", "--sample-lines", "0", "--presence-grace", "1"})
    {}
};

}  // namespace

TEST_F(PresenceWithoutGraceTest, ChangesOfTheWholeSetAreToldToWhoWaits)
{
    auto lookout = Lookout();
    const auto all =
        Subscribe(lookout, {Sample::HarbourBridge, Sample::Nowhere, Sample::CityLibrary});
    const auto other = Subscribe(lookout, {Sample::OpenHouse});
    EXPECT_EQ(lookout.Ask("GET", Path(all, 0)).json, Present({}, 1));
    lookout.Begin("GET", Path(all, 1));
    std::optional anna(Holding("anna.novak", Sample::HarbourBridge));
    EXPECT_EQ(lookout.End().json, Present({"anna.novak"}, 2));
    lookout.Begin("GET", Path(all, 2));
    // In a second project: the set stays as it is until somebody new comes.
    std::optional second(Holding("anna.novak", Sample::CityLibrary));
    std::optional sofia(Holding("sofia.costa", Sample::CityLibrary));
    EXPECT_EQ(lookout.End().json, Present({"anna.novak", "sofia.costa"}, 3));
    lookout.Begin("GET", Path(all, 3));
    anna.reset();
    sofia.reset();
    EXPECT_EQ(lookout.End().json, Present({"anna.novak"}, 4));
    lookout.Begin("GET", Path(all, 4));
    second.reset();
    EXPECT_EQ(lookout.End().json, Present({}, 5));
    // A place of another subscription, or of another life of the server.
    EXPECT_EQ(lookout.Ask("GET", Path(all, 77)).json, Present({}, 5));
    EXPECT_EQ(lookout.Ask("GET", Path(other, 1, 20)).json, Present({}, 1));
}

TEST_F(PresenceTest, AUserStaysPresentBetweenTheRequestsOfHisClients)
{
    auto lookout = Lookout();
    const auto subscription = Subscribe(lookout, {Sample::HarbourBridge});
    auto anna = SignedIn("anna.novak");
    // To ask for one's place is not to be there.
    EXPECT_EQ(anna.Ask("GET", BridgeSignals(0, 0)).status, 200);
    EXPECT_EQ(lookout.Ask("GET", Path(subscription, 0)).json, Present({}, 1));
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(anna.Ask("GET", BridgeSignals(0, 1)).status, 200);
    EXPECT_EQ(lookout.Ask("GET", Path(subscription, 2, 50)).json, Present({"anna.novak"}, 2));
}

TEST_F(PresenceTest, TheBuiltInAccountReadsPresenceAndNothingElse)
{
    for (const auto port : {server.ModelPort(), server.ManagementPort()})
        EXPECT_EQ(Client(port).SignIn("lookout", "lookout").Code(), 10);
    EXPECT_EQ(Client(server.MessagingPort()).SignIn("lookout", "nexar-sample").Code(), 10);
    EXPECT_EQ(Client(server.MessagingPort()).SignIn("lookout", "lookout", 2).Code(), 30);
    const auto token = Lookout().Token();
    ASSERT_FALSE(token.empty());
    Client model(server.ModelPort(), token);
    for (const std::string& target : std::initializer_list<std::string>{
             "/syncra/v1/projects", "/syncra/v1/ports", Bridge("members"), BridgeSignals(0, 0)})
        EXPECT_EQ(model.Ask("GET", target).Code(), 13) << target;
    EXPECT_EQ(Client(server.ManagementPort(), token)
                  .Ask("GET", "/root/syncrav2/users/anna.novak/photo")
                  .Code(),
              13);
    Client messaging(server.MessagingPort(), token);
    EXPECT_EQ(messaging.Ask("GET", Path("nothing", 0)).Code(), 12);
    EXPECT_EQ(messaging.Ask("POST", Subscriptions, R"({"projects":1})").Code(), 1);
    EXPECT_EQ(messaging.Ask("POST", "/syncra/v1/sign-out", "{}").status, 200);
    EXPECT_EQ(messaging.Ask("GET", Path("nothing", 0)).Code(), 15);
}

TEST_F(PresenceTest, AtTheEndHeldRequestsAreAnsweredAndNobodysAbsenceIsWaitedFor)
{
    auto lookout = Lookout();
    const auto subscription = Subscribe(lookout, {Sample::HarbourBridge});
    auto anna = Holding("anna.novak", Sample::HarbourBridge);
    {
        auto leaving = Holding("lena.fischer", Sample::HarbourBridge);
    }
    const auto next = lookout.Ask("GET", Path(subscription, 0)).json.at("next");
    lookout.Begin("GET", Path(subscription, next));
    EXPECT_EQ(Lookout().Ask("GET", Path(subscription, 0)).status, 200);
    RawHttp half(server.ModelPort());
    ASSERT_TRUE(half.Send("POST /syncra/v1/sign-in HTTP/1.1\r\nContent-Length: 9\r\n\r\nab"));
    const auto begin = Clock::now();
    EXPECT_EQ(server.Terminate(), 0);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(9));
    EXPECT_EQ(anna.End().json, (json{{"signals", json::array()}, {"next", 0}}));
    EXPECT_EQ(lookout.End().json, Present({"anna.novak", "lena.fischer"}, next));
}
