#include "ServerTest.hpp"

#include "Support/ChildProcess.hpp"
#include "Support/Eventually.hpp"

#include <atomic>
#include <fcntl.h>
#include <functional>
#include <list>
#include <memory>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

const std::string SignInPath = "/syncra/v1/sign-in";

/// What strangers and members must not be able to do to the others.
class AttackTest : public ServerTest {
protected:
    Answer AskWithoutBody(const std::string& path, std::size_t promised,
                          const std::string& type = "application/json; charset=utf-8")
    {
        RawHttp connection(server.ModelPort());
        (void)connection.Send("POST " + path + " HTTP/1.1\r\nHost: h\r\nContent-Type: " + type +
                              "\r\nContent-Length: " + std::to_string(promised) + "\r\n\r\n");
        return ReadAnswer(connection);
    }
};

class LimitsTest : public ServerTest {
protected:
    LimitsTest()
        : ServerTest({"--sample", "--sample-lines", "0", "--requests-per-user", "3",
                      "--connections-per-address", "9", "--mails-per-box", "2",
                      "--mail-bytes-per-project", "1000000", "--tokens-per-user", "2",
                      "--ids-per-request", "2", "--json-values", "20"})
    {}
};

class HashTest : public ServerTest {
protected:
    HashTest() : ServerTest({"--hash", "interactive"}) {}
};

}  // namespace

TEST_F(LimitsTest, EachIsToldByItsCodeAndConcernsNobodyElse)
{
    auto jonas = SignedIn("jonas.berg");
    std::list<Client> held;
    for (int i = 0; i < 3; ++i)
        held.emplace_back(server.ModelPort(), jonas.Token()).Begin("GET", BridgeSignals(0, 60'000));
    {
        // Its answer tells that the server has read all that was sent before.
        auto anna = SignedIn("anna.novak");
        EXPECT_EQ(anna.Ask("GET", "/syncra/v1/ports").status, 200);
        EXPECT_EQ(jonas.Ask("GET", "/syncra/v1/ports").Code(), 26);
        const auto mails = Bridge("mails");
        const auto send = [&](const std::string& recipient, const std::string& body) {
            static int key = 0;
            return anna.Ask("POST", mails, Mail(std::to_string(++key), {recipient}, body).dump())
                .Code();
        };
        EXPECT_EQ(send("lena.fischer", std::string(1'000'000, 'A')), 4) << "the project's room";
        EXPECT_EQ(send("lena.fischer", "AAAA"), 0);
        EXPECT_EQ(send("lena.fischer", "AAAA"), 0);
        EXPECT_EQ(send("yuki.tanaka", "AAAA"), 4) << "the sender's own box is full";
        const auto ids = anna.Ask("GET", mails).json.at("mails");
        ASSERT_EQ(anna.Ask("POST", mails + "/delete", json{{"ids", {ids[0]["id"]}}}.dump()).Code(),
                  0);
        EXPECT_EQ(send("lena.fischer", "AAAA"), 4);
        EXPECT_EQ(send("yuki.tanaka", "AAAA"), 0);
        EXPECT_EQ(anna.Ask("POST", mails + "/delete", R"({"ids":["a","b","c"]})").Code(), 4);
        const json three{{"entries", std::vector(3, std::pair("a", true))}};
        for (const char* flags : {"/status", "/historical"})
            EXPECT_EQ(anna.Ask("PUT", mails + flags, three.dump()).Code(), 4) << flags;
        const json manyValues{{"ids", std::vector<std::string>(20)}};
        EXPECT_EQ(anna.Ask("POST", mails + "/delete", manyValues.dump()).Code(), 1);
        // A third sign-in ends the first.
        (void)SignedIn("anna.novak");
        (void)SignedIn("anna.novak");
        EXPECT_EQ(anna.Ask("GET", "/syncra/v1/ports").Code(), 15);
    }
    held.clear();
    while (jonas.Ask("GET", "/syncra/v1/ports").Code() == 26)
        std::this_thread::yield();
    std::list<RawHttp> silent;
    for (int i = 0; i < 8; ++i)
        silent.emplace_back(server.ModelPort());
    RawHttp tenth(server.ModelPort());
    EXPECT_EQ(ReadAnswer(tenth).Code(), 26) << "the tenth of this address";
    EXPECT_TRUE(tenth.IsClosedByServer());
    EXPECT_EQ(jonas.Ask("GET", "/syncra/v1/ports").status, 200);
}

TEST_F(AttackTest, WhoeverReadsDoesNotWaitForThoseWhoWrite)
{
    auto writer = SignedIn("anna.novak");
    auto reader = SignedIn("jonas.berg");
    std::atomic<bool> isAnswered = false;
    int read = 0;
    const StoreLock lock(server.StorePath());
    writer.Begin("POST", Bridge("sessions"), "{}");
    std::thread waiting([&] {
        EXPECT_EQ(writer.End().Code(), 25);
        isAnswered = true;
    });
    while (!isAnswered && reader.Ask("GET", "/syncra/v1/projects").status == 200)
        ++read;
    waiting.join();
    EXPECT_GT(read, 2);
}

/// Who cancels a request asks next what became of it, so as to take it back.
TEST_F(AttackTest, WhoAsksWhileHisChangeIsStillToBeWrittenIsAnsweredBehindIt)
{
    auto changing = SignedIn("jonas.berg");
    Client asking(server.ModelPort(), changing.Token());
    ASSERT_EQ(asking.Ask("GET", Bridge("sessions")).json.at("sessions").size(), 0U);
    std::optional<StoreLock> lock(std::in_place, server.StorePath());
    changing.Begin("POST", Bridge("sessions"), "{}");
    std::thread release([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        lock.reset();
    });
    // Both may have come with one look at the connections, and a body takes another one.
    EXPECT_EQ(asking.Ask("GET", "/syncra/v1/ports").status, 200);
    EXPECT_EQ(asking.Ask("GET", Bridge("sessions")).json.at("sessions").size(), 1U);
    release.join();
}

TEST_F(AttackTest, WhatTurnsOutToBeMuchKeepsNobodyWaitingAndIsReadAllTheSame)
{
    constexpr std::size_t added = 5'000;
    Sql("WITH RECURSIVE numbers(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM numbers WHERE n < " +
        std::to_string(added) +
        ") INSERT INTO users (id, login, full_name, password_hash, color) "
        "SELECT '00000000-0000-4000-8000-' || substr(CAST(1000000000000 + n AS TEXT), 2), 'many.' "
        "|| n, 'One Of Many', '', 0 FROM numbers");
    Sql("INSERT INTO members (project_id, user_id, role, logon_id) SELECT '" +
        Sample::HarbourBridge +
        "', id, 'Viewer', 1000 + row_number() OVER (ORDER BY id) "
        "FROM users WHERE login LIKE 'many.%'");
    auto anna = SignedIn("anna.novak");
    auto jonas = SignedIn("jonas.berg");
    std::atomic<bool> isAnswered = false;
    int read = 0;
    std::size_t members = 0;
    // As far as the server knows, this takes little.
    jonas.Begin("GET", Bridge("members"));
    std::thread waiting([&] {
        const auto answer = jonas.End();
        EXPECT_EQ(answer.Code(), 0) << answer.json;
        members = answer.json.value("members", json::array()).size();
        isAnswered = true;
    });
    while (!isAnswered && anna.Ask("GET", Bridge("membership")).json.at("member") == true)
        ++read;
    waiting.join();
    EXPECT_GT(members, added);
    EXPECT_GT(read, 2);
    // What was read at once has not kept the state of that moment.
    Sql("DELETE FROM members WHERE user_id = '00000000-0000-4000-8000-000000000001'");
    EXPECT_EQ(jonas.Ask("GET", Bridge("members")).json.at("members").size(), members - 1);
}

TEST_F(AttackTest, WhatIsWrittenTogetherStandsOrFallsEachByItself)
{
    constexpr int clients = 6, each = 20;
    const auto path = Bridge("mails");
    const auto token = SignedIn("anna.novak").Token();
    std::vector<std::thread> senders;
    std::atomic<int> refused = 0;
    for (int number = 0; number < clients; ++number)
        senders.emplace_back([&, number] {
            Client anna(server.ModelPort(), token);
            for (int i = 0; i < each; ++i) {
                const auto key = std::to_string(number) + "-" + std::to_string(i);
                const auto to = i % 2 == 0 ? "lena.fischer" : "nobody";
                refused += anna.Ask("POST", path, Mail(key, {to}, "AAAA").dump()).Code() == 12;
            }
        });
    for (auto& sender : senders)
        sender.join();
    EXPECT_EQ(refused, clients * each / 2);
    EXPECT_EQ(SignedIn("lena.fischer").Ask("GET", path).json.at("mails").size(),
              static_cast<std::size_t>(clients * each / 2));
}

TEST_F(AttackTest, ALargeBodyIsRefusedBeforeItIsReceived)
{
    EXPECT_EQ(AskWithoutBody(Bridge("mails"), 16u << 20).Code(), 15);
    EXPECT_EQ(AskWithoutBody("/syncra/v1/nothing", 16u << 20).Code(), 3);
    EXPECT_EQ(AskWithoutBody(SignInPath, 1u << 20).Code(), 4);
    // What a page in a browser may send anywhere.
    EXPECT_EQ(AskWithoutBody(SignInPath, 9, "text/plain").status, 415);
}

TEST_F(AttackTest, WhoGuessesAPasswordWaitsAndNobodyElseDoes)
{
    Client guesser(server.ModelPort());
    int refused = 0;
    while (refused < 100 && guesser.SignIn("anna.novak", "wrong").Code() == 10)
        ++refused;
    EXPECT_EQ(refused, 5);
    RawHttp connection(server.ModelPort());
    const json body{{"userName", "anna.novak"}, {"password", "wrong"}, {"protocol", 1}};
    (void)connection.Send(RequestText("POST", SignInPath, "", body.dump()));
    const auto answer = connection.Read();
    EXPECT_EQ(answer.status, 429);
    EXPECT_NE(answer.head.find("\r\nRetry-After: 1\r\n"), std::string::npos) << answer.head;
    EXPECT_EQ(guesser.SignIn("jonas.berg", ServerProcess::Password).status, 200);
}

TEST_F(AttackTest, WhatOneTakesHisOwnLimitsBound)
{
    auto jonas = SignedIn("jonas.berg");
    const auto session = jonas.Ask("POST", Bridge("sessions"), "{}").json.value("id", "");
    const auto attribute = [&](int number) {
        return "/syncra/v1/sessions/" + session + "/attributes/" + std::to_string(number);
    };
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(jonas.Ask("PUT", attribute(i), R"({"value":"x"})").status, 200);
    EXPECT_EQ(jonas.Ask("PUT", attribute(64), R"({"value":"x"})").Code(), 4);
    EXPECT_EQ(jonas.Ask("PUT", attribute(0), R"({"value":"y"})").status, 200);

    auto anna = SignedIn("anna.novak");
    Client lookout(server.MessagingPort(), "lookout", "lookout");
    const std::string subscriptions = "/syncra/v1/presence/subscriptions";
    const auto subscribe = [&](Client& client) {
        return client.Ask("POST", subscriptions, R"({"projects":[]})").Code();
    };
    int taken = 0;
    while (taken < 600 && subscribe(lookout) == 0)
        ++taken;
    EXPECT_EQ(taken, 500);
    EXPECT_EQ(subscribe(lookout), 26);
    Client annasOther(server.MessagingPort(), anna.Token());
    EXPECT_EQ(subscribe(annasOther), 0);
    // Its tokens push out its own oldest one alone.
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(Client(server.MessagingPort()).SignIn("lookout", "lookout").status, 200);
    EXPECT_EQ(subscribe(lookout), 15);
    EXPECT_EQ(subscribe(annasOther), 0);
}

TEST_F(AttackTest, WhoIsSwitchedOffIsLetGo)
{
    auto admin = Manager("admin");
    auto jonas = SignedIn("jonas.berg");
    ASSERT_EQ(jonas.Ask("POST", Bridge("sessions"), "{}").status, 200);
    Hold(jonas, "jonas.berg", jonas.Ask("GET", BridgeSignals(0, 0)).json.at("next"));
    auto record = admin.Ask("GET", "/root/syncrav2/users/jonas.berg").json;
    record["enabled"] = false;
    ASSERT_EQ(admin.Ask("PUT", "/root/syncrav2/users/jonas.berg", record.dump()).Code(), 0);
    EXPECT_EQ(jonas.End().status, 200);
    EXPECT_EQ(jonas.Ask("GET", "/syncra/v1/ports").Code(), 16);
    auto anna = SignedIn("anna.novak");
    EXPECT_EQ(anna.Ask("GET", Bridge("sessions?scope=all")).json.dump().find("jonas.berg"),
              std::string::npos);
}

TEST_F(AttackTest, WhatIsMissingForAWhileIsToldAndEndsNothing)
{
    // Bounds what the running server may take, and gives back what it had.
    const auto without = [&](int resource, rlim_t most) {
        const auto former = std::make_shared<rlimit>();
        prlimit(server.Id(), static_cast<__rlimit_resource>(resource), nullptr, former.get());
        const rlimit less{most, former->rlim_max};
        prlimit(server.Id(), static_cast<__rlimit_resource>(resource), &less, nullptr);
        return std::shared_ptr<void>(former.get(), [this, former, resource](void*) {
            prlimit(server.Id(), static_cast<__rlimit_resource>(resource), former.get(), nullptr);
        });
    };
    const struct {
        const char* what;
        std::function<std::shared_ptr<void>()> take;
        std::set<int> codes;  ///< of a large mail
    } rows[] = {
        {"the store", [&] { return std::make_shared<StoreLock>(server.StorePath()); }, {25}},
        {"a table, so that the handler throws",
         [&] {
             Sql("ALTER TABLE mail_keys RENAME TO away");
             return std::shared_ptr<void>(
                 nullptr, [this](void*) { Sql("ALTER TABLE away RENAME TO mail_keys"); });
         },
         {2}},
        // A database has its room elsewhere.
        {"room on the disk",
         [&] { return without(RLIMIT_FSIZE, 1000); },
         {PostgresCluster::IsWanted() ? 0 : 25}},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        // It may find some, or none for the body or for the work. A sanitizer ends without memory.
        {"memory", [&] { return without(RLIMIT_AS, 1 << 20); }, {0, 25, 26}},
#endif
        // The store may need a file of its own for what it may have to undo.
        {"descriptors", [&] { return without(RLIMIT_NOFILE, 3); }, {0, 25}}
    };
    auto anna = SignedIn("anna.novak");
    const auto mails = Bridge("mails");
    int key = 0;
    const auto send = [&](Client& client) {
        std::string mail = Mail(std::to_string(++key), {"yuki.tanaka"}).dump();
        const std::string_view empty = R"("body":")";
        mail.insert(mail.find(empty) + empty.size(), 9 << 20, 'A');
        return client.Ask("POST", mails, mail).Code();
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(anna.Ask("GET", "/syncra/version").status, 200) << "accepted";
        auto missing = row.take();
        // It is noticed only by who is accepted later.
        RawHttp waiting(server.ModelPort());
        (void)waiting.Send(RequestText("GET", "/syncra/version"));
        Client kept(server.ModelPort(), anna.Token());
        EXPECT_TRUE(row.codes.contains(send(anna)));
        EXPECT_EQ(anna.Ask("GET", "/syncra/version").status, 200);
        missing.reset();
        EXPECT_EQ(waiting.Read().status, 200);
        EXPECT_EQ(send(kept), 0);
        anna = Client(server.ModelPort(), anna.Token());
    }
    EXPECT_EQ(server.Terminate(), 0);
}

TEST_F(HashTest, TheProcessThatComputesMayEndAndEndsWithItsServer)
{
    const auto helper = [&] {
        const auto id = std::to_string(server.Id());
        pid_t found = 0;
        std::ifstream("/proc/" + id + "/task/" + id + "/children") >> found;
        return found;
    };
    const auto former = "/proc/" + std::to_string(helper()) + "/cmdline";
    ASSERT_FALSE(ReadBytes(former).empty());
    server.Kill();
    EXPECT_TRUE(Eventually([&] { return ReadBytes(former).empty(); }));
    server.Start();
    ASSERT_GT(helper(), 0);
    kill(helper(), SIGKILL);
    // To be tried again, which a new one does: nobody has that name.
    for (const int code : {25, 10})
        EXPECT_EQ(Client(server.ModelPort()).SignIn("anna.novak", "wrong").Code(), code);
}

TEST_F(AttackTest, TheLogMayStandStillOrGoAway)
{
    ASSERT_EQ(server.Terminate(), 0);
    fs::remove(server.LogPath());
    ASSERT_EQ(mkfifo(server.LogPath().c_str(), 0600), 0);
    const int reader = open(server.LogPath().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    server.Start();
    const auto logMore = [&] {
        for (int user = 0; user < 50; ++user)
            EXPECT_EQ(Client(server.ModelPort())
                          .SignIn("nobody" + std::to_string(user) + std::string(60, 'x'), "wrong")
                          .Code(),
                      10);
    };
    EXPECT_GE(fcntl(reader, F_SETPIPE_SZ, 4096), 0);
    logMore();
    close(reader);
    logMore();
    EXPECT_EQ(server.Terminate(), 0);
}

TEST_F(AttackTest, UsersWhoAreAddedToANewStoreAtOnceAreAllThere)
{
    const auto place = folder.Path() / "new";
    fs::create_directory(place);
    const auto store = ServerProcess::StoreName(place / "store.db");
    std::ofstream(folder.Path() / "password") << "long enough\n";
    std::vector<std::unique_ptr<ChildProcess>> adding;
    for (int user = 0; user < 4; ++user)
        adding.push_back(std::make_unique<ChildProcess>([&] {
            return ServerProcess::Run({"--store", store, "--hash", "minimum", "--add-user",
                                       "user" + std::to_string(user), "--password-file",
                                       folder.Path() / "password"},
                                      "/dev/null", server.LogPath());
        }));
    for (const auto& each : adding)
        EXPECT_EQ(each->Wait(), 0) << server.Log();
    const ServerProcess other(place, {});
    int administrators = 0;
    for (int number = 0; number < 4; ++number) {
        const auto name = "user" + std::to_string(number);
        Client client(other.ManagementPort());
        ASSERT_EQ(client.SignIn(name, "long enough").status, 200) << other.Log();
        Client user(other.ManagementPort(), name, "long enough");
        administrators +=
            user.Ask("GET", "/root/syncrav2/users/" + name + "/groups").json.at("groups").size();
    }
    EXPECT_EQ(administrators, 1) << "the first";
}
