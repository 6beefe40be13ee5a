#include "ServerTest.hpp"

#include <atomic>
#include <fstream>
#include <set>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int SessionsChanged = 2;
/// For what must happen at once; far below the time that requests are held.
constexpr auto Soon = 10s;

class SignalTest : public ServerTest {
protected:
    static std::string Path(std::uint64_t after, int wait, const std::string& project)
    {
        return "/syncra/v1/signals?project=" + project + "&after=" + std::to_string(after) +
               "&wait=" + std::to_string(wait);
    }

    /// A request on its way; its answer is read from the connection later.
    [[nodiscard]] RawHttp Hold(std::uint64_t after, int wait = 60'000,
                               const std::string& project = Projects::Bridge) const
    {
        RawHttp connection(server_.ModelPort());
        connection.SendRequest("GET", Path(after, wait, project), token_);
        return connection;
    }

    [[nodiscard]] nlohmann::json Signals(std::uint64_t after, int wait,
                                         const std::string& project = Projects::Bridge) const
    {
        RawHttp connection = Hold(after, wait, project);
        return ToAnswer(connection.Receive()).body;
    }
    [[nodiscard]] std::uint64_t Place() const { return Signals(0, 0).at("next"); }

    /// Raises two signals of the project.
    void StartAndCloseSession() const
    {
        const Answer session =
            Ask("POST", "/projects/" + Projects::Bridge + "/sessions", token_, "{}");
        ASSERT_EQ(session.status, 200) << session.body;
        const std::string id = session.body["id"];
        ASSERT_EQ(Ask("DELETE", "/sessions/" + id, token_).status, 200);
    }

    /// All that were sent before are held or answered once this has its answer: the server takes
    /// requests in turn.
    void LetArrive() const { ASSERT_EQ(Ask("GET", "/ports", token_).status, 200); }

    std::string token_ = SignIn("anna.novak");
};

TEST_F(SignalTest, TheFirstSignalOfAServersLifeReachesWhoWaitedForIt)
{
    EXPECT_EQ(Place(), 0u);
    RawHttp held = Hold(0);
    RawHttp other = Hold(0, 60'000, Projects::Library);
    LetArrive();
    StartAndCloseSession();
    const auto body = ToAnswer(held.Receive()).body;
    ASSERT_EQ(body["signals"].size(), 1u) << body;
    EXPECT_EQ(body["signals"][0],
              (nlohmann::json{
                  {"sequence", 1}, {"id", SessionsChanged}, {"projectId", Projects::Bridge}}));
    EXPECT_EQ(body["next"], 1);
    EXPECT_EQ(Signals(1, 60'000)["signals"].size(), 1u) << "the second one waits already";
    EXPECT_FALSE(other.HasAnswer(100ms)) << "signals of one project are none of another's";
}

TEST_F(SignalTest, AnswersEmptyAtTheTimeLimitAndForPlacesItNeverReached)
{
    StartAndCloseSession();
    EXPECT_EQ(Place(), 2u);
    EXPECT_EQ(Signals(0, 0)["signals"].size(), 0u);
    const auto begin = Clock::now();
    const auto limit = Signals(2, 300);
    EXPECT_GE(Clock::now() - begin, 300ms);
    EXPECT_EQ(limit, (nlohmann::json{{"signals", nlohmann::json::array()}, {"next", 2}}));
    for (const std::uint64_t after : {std::uint64_t{3}, ~std::uint64_t{0}})
        EXPECT_EQ(Signals(after, 60'000), limit) << "a place from another life";

    ASSERT_EQ(server_.Terminate(), 0);
    server_.Start();
    token_ = SignIn("anna.novak");
    EXPECT_EQ(Signals(2, 60'000)["next"], 0);
}

TEST_F(SignalTest, RefusesRequestsThatCannotBeHeld)
{
    struct Case {
        std::string query;
        int status;
        int code;
    };
    const Case cases[] = {
        {"", 400, 1},
        {"?after=0&wait=0", 400, 1},
        {"?project=none&wait=0", 404, 12},
        {"?project=" + Projects::OpenHouse, 403, 13},
        {"?project=" + Projects::Bridge + "&after=-1", 400, 1},
        {"?project=" + Projects::Bridge + "&after=18446744073709551616", 400, 1},
        {"?project=" + Projects::Bridge + "&wait=1s", 400, 1},
        {"?project=" + Projects::Bridge + "&wait=", 400, 1},
    };
    for (const Case& one : cases) {
        const Answer answer = Ask("GET", "/signals" + one.query, token_);
        EXPECT_EQ(answer.status, one.status) << one.query;
        EXPECT_EQ(answer.Code(), one.code) << one.query;
    }
    RawHttp farAway = Hold(0, 2'000'000'000);
    EXPECT_FALSE(farAway.HasAnswer(50ms));
}

TEST_F(SignalTest, HoldsHundredsOfRequestsWithoutMakingOthersWait)
{
    std::vector<RawHttp> held;
    for (int i = 0; i < 200; ++i)
        held.push_back(Hold(0));
    LetArrive();
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(Ask("GET", "/projects", token_).status, 200);
    for (const RawHttp& one : held)
        ASSERT_FALSE(one.HasAnswer(0ms));
    StartAndCloseSession();
    for (RawHttp& one : held)
        EXPECT_EQ(ToAnswer(one.Receive()).body["signals"].size(), 1u);
}

TEST_F(SignalTest, AnswersWhatIsHeldAndEndsWhenAskedTo)
{
    std::vector<RawHttp> held;
    for (int i = 0; i < 20; ++i)
        held.push_back(Hold(0));
    LetArrive();
    RawHttp idle(server_.ModelPort());
    const auto begin = Clock::now();
    EXPECT_EQ(server_.Terminate(), 0);
    EXPECT_LT(Clock::now() - begin, Soon);
    for (RawHttp& one : held) {
        const RawHttp::Answer answer = one.Receive();
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(ToAnswer(answer).body["signals"].size(), 0u);
        EXPECT_EQ(one.Receive().status, RawHttp::Closed);
    }
    EXPECT_EQ(idle.Receive().status, RawHttp::Closed);
}

TEST_F(SignalTest, ForgetsClientsThatLeaveWhileHeld)
{
    RawHttp half = Hold(0);
    half.HalfClose();
    EXPECT_EQ(ToAnswer(half.Receive()).body["next"], 0) << "it may listen still";

    const auto descriptors = [this] {
        const auto folder = "/proc/" + std::to_string(server_.ProcessId()) + "/fd";
        return std::distance(std::filesystem::directory_iterator(folder), {});
    };
    LetArrive();
    const auto before = descriptors();
    {
        std::vector<RawHttp> held;
        for (int i = 0; i < 100; ++i)
            held.push_back(Hold(0));
        LetArrive();
        EXPECT_GE(descriptors(), before + 100);
    }
    const auto end = Clock::now() + Soon;
    while (descriptors() > before + 5 && Clock::now() < end)
        std::this_thread::sleep_for(10ms);
    EXPECT_LE(descriptors(), before + 5) << "held for nobody";
    StartAndCloseSession();
    EXPECT_EQ(Place(), 2u);
}

/// Limits that run out in the very moment of a signal, and clients that leave then.
TEST_F(SignalTest, EveryHeldRequestIsAnsweredOnceWhateverComesFirst)
{
    std::atomic<bool> done = false;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> listeners;
    for (int number = 0; number < 4; ++number)
        listeners.emplace_back([&, number] {
            std::uint64_t after = 0;
            for (int round = 0; !done; ++round) {
                RawHttp held = Hold(after, 1 + (round + number) % 4);
                if (round % 5 == number)
                    continue;
                const Answer answer = ToAnswer(held.Receive());
                std::uint64_t expected = after;
                for (const auto& signal : answer.body.value("signals", nlohmann::json::array()))
                    wrong += signal["sequence"] != ++expected;
                wrong += answer.status != 200 || answer.body.value("next", 0u) != expected;
                after = expected;
            }
        });
    for (int i = 0; i < 100; ++i)
        StartAndCloseSession();
    done = true;
    for (std::thread& listener : listeners)
        listener.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(server_.Terminate(), 0);
}

TEST_F(SignalTest, WhoMissedTooMuchHearsOfEveryKind)
{
    for (int i = 0; i < 505; ++i)
        StartAndCloseSession();
    EXPECT_EQ(Signals(10, 60'000)["signals"].size(), 1000u) << "all that is kept is new to it";
    const auto missed = Signals(9, 60'000);
    std::set<int> kinds;
    for (const auto& signal : missed["signals"])
        kinds.insert(signal["id"].get<int>());
    EXPECT_EQ(kinds, (std::set<int>{1, 2, 3, 4}));
    EXPECT_EQ(missed["next"], 1010);
}

}  // namespace
