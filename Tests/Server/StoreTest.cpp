#include "ServerTest.hpp"
#include "Support/FileBytes.hpp"
#include "Support/KillLoop.hpp"

#include <atomic>
#include <iostream>
#include <random>
#include <thread>

namespace fs = std::filesystem;
using StoreTest = ServerTest;

TEST_F(StoreTest, OnlyItsUserMayReadTheStoreAndNothingSecretIsInReach)
{
    FOR_A_STORE_IN_A_FILE();
    const std::string secret = "correct-horse-\xc3\xa4";
    ASSERT_EQ(server.Terminate(), 0);
    fs::permissions(server.StorePath(), fs::perms::group_read | fs::perms::others_read,
                    fs::perm_options::add);
    server.Start();
    WriteBytes(folder.Path() / "password", secret + "\r\nsecond line");
    ASSERT_EQ(ServerProcess::Run({"--data", server.StorePath(), "--hash", "minimum", "--add-user",
                                  "new.user", "--password-file", folder.Path() / "password"},
                                 "/dev/null", server.LogPath()),
              0);
    Client client(server.ModelPort());
    const std::string token = client.SignIn("new.user", secret).json.at("token");
    EXPECT_EQ(client.SignIn("new.user\nnexar-server: forged line", secret + "x").Code(), 10);
    for (const char* ending : {"", "-wal", "-shm"}) {
        const fs::path file = server.StorePath().string() + ending;
        EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write)
            << file;
        const auto bytes = ReadBytes(file);
        for (const auto& text : {secret, std::string(ServerProcess::Password), token})
            EXPECT_EQ(bytes.find(text), std::string::npos) << file;
    }
    EXPECT_EQ(server.Terminate(), 0);
    EXPECT_FALSE(fs::exists(server.StorePath().string() + "-wal"));
    const auto log = server.Log();
    EXPECT_NE(log.find("Sign-in refused"), std::string::npos);
    EXPECT_EQ(log.find("\nnexar-server: forged"), std::string::npos);
    for (const auto& text : {secret, token})
        EXPECT_EQ(log.find(text), std::string::npos);
}

TEST_F(StoreTest, AFirstUserComesFromStandardInputAndOnlyOnce)
{
    const auto place = folder.Path() / "fresh";
    fs::create_directory(place);
    const std::vector<std::string> add = {
        "--store", ServerProcess::StoreName(place / "store.db"), "--hash", "minimum", "--add-user",
        "first"};
    WriteBytes(folder.Path() / "input", "pass word\n");
    WriteBytes(folder.Path() / "empty", "\n");
    EXPECT_EQ(ServerProcess::Run(add, folder.Path() / "empty", server.LogPath()), 1);
    EXPECT_EQ(ServerProcess::Run(add, folder.Path() / "input", server.LogPath()), 0);
    EXPECT_EQ(ServerProcess::Run(add, folder.Path() / "input", server.LogPath()), 1);
    const ServerProcess fresh(place);
    Client client(fresh.ModelPort(), "first", "pass word");
    // The sample is for an empty store only.
    EXPECT_EQ(client.Ask("GET", "/syncra/v1/projects").json,
              nlohmann::json::parse(R"({"projects":[]})"));
    EXPECT_EQ(Client(fresh.ManagementPort(), "first", "pass word")
                  .Ask("GET", "/root/syncrav2/users/first/groups")
                  .json,
              nlohmann::json::parse(R"({"groups":["Administrators"]})"));
}

TEST_F(StoreTest, AStoreThatCannotBeUsedOrAPortInUseEndsTheStartWithAReason)
{
    FOR_A_STORE_IN_A_FILE();
    WriteBytes(folder.Path() / "text.db", std::string(5000, 'x'));
    WriteBytes(folder.Path() / "password", "p");
    EditStore(server.StorePath(), "PRAGMA wal_checkpoint(TRUNCATE)");
    const auto newer = folder.Path() / "newer.db";
    fs::copy_file(server.StorePath(), newer);
    EditStore(newer, "PRAGMA user_version = 99");
    const std::string port = std::to_string(server.ModelPort());
    const std::vector<std::vector<std::string>> starts = {
        {"--data", folder.Path() / "text.db", "--port", "0"},
        {"--data", newer, "--port", "0"},
        {"--data", folder.Path() / "no folder" / "a.db", "--port", "0"},
        {"--data", folder.Path() / "other.db", "--port", port},
        {"--data", folder.Path() / "other.db", "--port", "0", "--listen", "nowhere"},
        {"--port", "70000"},
        {"--data", folder.Path() / "other.db", "--port", "65535"},
        {"--data", folder.Path() / "other.db", "--port", "0", "--add-user", "", "--password-file",
         folder.Path() / "password"},
        {"--data", folder.Path() / "other.db", "--port", "0", "--add-user", "two,names",
         "--password-file", folder.Path() / "password"},
        {"--hash", "none"},
    };
    for (const auto& arguments : starts) {
        const auto output = folder.Path() / "output";
        fs::remove(output);
        EXPECT_NE(ServerProcess::Run(arguments, "/dev/null", output), 0) << arguments[1];
        EXPECT_FALSE(ReadBytes(output).empty()) << arguments[1];
        EXPECT_EQ(ReadBytes(output).find("server ready"), std::string::npos) << arguments[1];
        // Its exit code would hide among those of the refusals.
        EXPECT_EQ(ReadBytes(output).find("Sanitizer"), std::string::npos) << ReadBytes(output);
    }
}

TEST_F(StoreTest, ACopyThroughAStoreOfTheOtherKindIsTheSameAndGoesOn)
{
    auto anna = SignedIn("anna.novak");
    // What a text may hold, and what PostgreSQL takes in none of its own.
    const std::string odd = R"({"value":"\\u0000 \\uD800 \u00e4 \uD83D\uDE00"})";
    const auto session = anna.Ask("POST", Bridge("sessions"), "{}").json.value("id", "");
    const auto attribute = "/syncra/v1/sessions/" + session + "/attributes/Odd";
    ASSERT_EQ(anna.Ask("PUT", attribute, odd).status, 200);
    ASSERT_EQ(anna.Ask("POST", Bridge("mails"), Mail("k", {"yuki.tanaka"}, "AAAA").dump()).status,
              200);
    const auto log = anna.Ask("GET", Bridge("events")).json;
    ASSERT_EQ(server.Terminate(), 0);
    const auto place = folder.Path() / "copied";
    fs::create_directory(place);
    const std::string stores[] = {ServerProcess::StoreName(server.StorePath()),
                                  folder.Path() / "file.db",
                                  ServerProcess::StoreName(place / "store.db")};
    const auto copy = [&](int from, int to) {
        const auto output = folder.Path() / ("to " + std::to_string(to));
        EXPECT_EQ(ServerProcess::Run({"copy", "--from", stores[from], "--to", stores[to]},
                                     "/dev/null", output),
                  0);
        return ReadBytes(output);
    };
    const auto told = copy(0, 1);
    EXPECT_NE(told.find("\nmails 1 "), std::string::npos) << told;
    EXPECT_EQ(copy(1, 2), told) << "rows and digests of every table";
    EXPECT_EQ(ServerProcess::Run({"copy", "--from", stores[1], "--to", stores[2]}, "/dev/null",
                                 server.LogPath()),
              1)
        << "it is in use";
    const ServerProcess copied(place, {});
    Client there(copied.ModelPort(), "anna.novak", ServerProcess::Password);
    EXPECT_EQ(there.Ask("GET", attribute).json, nlohmann::json::parse(odd));
    EXPECT_EQ(there.Ask("GET", Bridge("events")).json, log);
    // Numbers go on from where they were.
    const auto again = Mail("k", {"yuki.tanaka"}, "AAAA").dump();
    EXPECT_EQ(there.Ask("POST", Bridge("mails"), again).json.at("duplicate"), true);
    EXPECT_EQ(there.Ask("POST", Bridge("mails"), Mail("l", {"yuki.tanaka"}).dump()).Code(), 0);
    EXPECT_EQ(there.Ask("GET", Bridge("mails")).json.at("mails").size(), 2u);
}

namespace {

/// Sends mails one after the other, each until it is answered, as a client does.
class Sender {
public:
    Sender(const ServerProcess& server, std::string name) : server_(server), name_(std::move(name))
    {}
    /// Until the server answers no more.
    void SendOn()
    {
        try {
            Client client(server_.ModelPort(), name_, ServerProcess::Password);
            while (Send(client)) {
            }
        } catch (const std::runtime_error&) {
            // It was gone before it could be reached.
        }
    }
    /// The mail that was under way, with the key that it had.
    void SendAgain()
    {
        Client client(server_.ModelPort(), name_, ServerProcess::Password);
        EXPECT_TRUE(Send(client));
    }
    [[nodiscard]] int Acknowledged() const { return acknowledged_; }

private:
    bool Send(Client& client)
    {
        const auto key = name_ + std::to_string(acknowledged_);
        auto mail = Mail(key, {"yuki.tanaka"}, std::string(2000, 'A'));
        mail["message"]["header"]["Key"] = key;
        const auto path = "/syncra/v1/projects/" + Sample::HarbourBridge + "/mails";
        const bool isAnswered = client.Ask("POST", path, mail.dump()).status == 200;
        acknowledged_ += isAnswered ? 1 : 0;
        return isAnswered;
    }

    const ServerProcess& server_;
    std::string name_;
    std::atomic<int> acknowledged_ = 0;
};

/// How many mails a store holds, each of which must be there once, with an entry for both.
int MailsOf(const fs::path& store)
{
    const std::string extra =
        EditStore(store, "SELECT header FROM mails GROUP BY header HAVING count(*) > 1 UNION ALL "
                         "SELECT id FROM mails WHERE "
                         "(SELECT count(*) FROM mail_entries WHERE mail = number) <> 2");
    EXPECT_EQ(extra, "") << "twice, or half";
    return std::stoi(EditStore(store, "SELECT count(*) FROM mails"));
}

}  // namespace

TEST_F(StoreTest, AKillInTheMiddleOfWritesLosesNoAnsweredMailAndNoBackup)
{
    const int kills = Rounds(4, 1000);
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> instant(0, 60);
    const auto backup = folder.Path() / "backup.db", restored = folder.Path() / "restored.db";
    // A database is backed up by tools of its own.
    const bool hasBackups = !PostgresCluster::IsWanted();
    const auto run = [&](const std::string& command, const fs::path& store) {
        return !hasBackups ? 0
                           : ServerProcess::Run({command, backup, "--data", store}, "/dev/null",
                                                folder.Path() / "run.log");
    };
    int answered = 0, inBackups = 0;
    for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
        Sender first(server, "anna.novak"), second(server, "lena.fischer");
        std::thread threads[] = {std::thread([&] { first.SendOn(); }),
                                 std::thread([&] { second.SendOn(); })};
        while (first.Acknowledged() == 0 || second.Acknowledged() == 0)
            std::this_thread::yield();
        const int before = first.Acknowledged() + second.Acknowledged();
        std::thread killer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(instant(random)));
            server.Ask(SIGKILL);
        });
        EXPECT_EQ(run("backup", server.StorePath()), 0) << ReadBytes(folder.Path() / "run.log");
        for (std::thread* thread : {&killer, &threads[0], &threads[1]})
            thread->join();
        server.Kill();
        server.Start();
        first.SendAgain();
        second.SendAgain();
        EXPECT_EQ(MailsOf(server.StorePath()), first.Acknowledged() + second.Acknowledged());
        answered += first.Acknowledged() + second.Acknowledged();
        if (hasBackups) {
            EXPECT_EQ(run("restore", restored), 0) << ReadBytes(folder.Path() / "run.log");
            const int kept = MailsOf(restored);
            EXPECT_GE(kept, before);
            inBackups += kept;
        }
        Sql("DELETE FROM mails; DELETE FROM mail_keys");
        fs::remove(backup);
        fs::remove(restored);
    }
    std::cout << kills << " kills, " << answered << " answered mails, " << inBackups
              << " of them in backups\n";
}

TEST_F(StoreTest, ADatabaseThatGoesTakesNoAnsweredMailWithItAndLetsNoHeldRequestGo)
{
    if (!PostgresCluster::IsWanted())
        GTEST_SKIP() << "is about a store that another process keeps";
    auto listener = SignedIn("jonas.berg");
    auto actor = SignedIn("lena.fischer");
    Hold(listener, "jonas.berg", 0);
    std::atomic<int> answered = 0, refused = 0;
    std::atomic<bool> ends = false;
    std::thread sending([&] {
        Client anna(server.ModelPort(), "anna.novak", ServerProcess::Password);
        while (!ends) {
            const auto key = "k" + std::to_string(answered);
            auto mail = Mail(key, {"yuki.tanaka"});
            mail["message"]["header"]["Key"] = key;
            const auto code = anna.Ask("POST", Bridge("mails"), mail.dump()).Code();
            EXPECT_TRUE(code == 0 || code == 25) << code;
            ++(code == 0 ? answered : refused);
        }
    });
    const auto wait = [](const std::atomic<int>& count, int more) {
        for (const int before = count; count < before + more;)
            std::this_thread::yield();
    };
    for (int crash = 0; crash < 3; ++crash) {
        wait(answered, 3);
        PostgresCluster::Get().Crash();
        wait(refused, 2);
        EXPECT_EQ(actor.Ask("GET", "/syncra/v1/projects").Code(), 25);
        EXPECT_EQ(actor.Ask("GET", "/syncra/version").status, 200);
        PostgresCluster::Get().Start();
    }
    wait(answered, 3);
    ends = true;
    sending.join();
    EXPECT_EQ(MailsOf(server.StorePath()), answered);
    // Each connection tries again after a pause of its own.
    while (actor.Ask("POST", Bridge("sessions"), "{}").Code() == 25)
        std::this_thread::yield();
    EXPECT_EQ(listener.End().json.at("signals").at(0).at("id"), 2);
}
