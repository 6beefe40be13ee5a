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
    const auto store = folder.Path() / "fresh.db";
    const std::vector<std::string> add = {"--data",  store,        "--hash",
                                          "minimum", "--add-user", "first"};
    WriteBytes(folder.Path() / "input", "pass word\n");
    WriteBytes(folder.Path() / "empty", "\n");
    EXPECT_EQ(ServerProcess::Run(add, folder.Path() / "empty", server.LogPath()), 1);
    EXPECT_EQ(ServerProcess::Run(add, folder.Path() / "input", server.LogPath()), 0);
    EXPECT_EQ(ServerProcess::Run(add, folder.Path() / "input", server.LogPath()), 1);
    ASSERT_EQ(server.Terminate(), 0);
    fs::remove(server.StorePath());
    fs::rename(store, server.StorePath());
    server.Start();
    Client client(server.ModelPort(), "first", "pass word");
    // The sample is for an empty store only.
    EXPECT_EQ(client.Ask("GET", "/syncra/v1/projects").json,
              nlohmann::json::parse(R"({"projects":[]})"));
    EXPECT_EQ(Client(server.ManagementPort(), "first", "pass word")
                  .Ask("GET", "/root/syncrav2/users/first/groups")
                  .json,
              nlohmann::json::parse(R"({"groups":["Administrators"]})"));
}

TEST_F(StoreTest, AStoreThatCannotBeUsedOrAPortInUseEndsTheStartWithAReason)
{
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
    const auto run = [&](const std::string& command, const fs::path& store) {
        return ServerProcess::Run({command, backup, "--data", store}, "/dev/null",
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
        EXPECT_EQ(run("restore", restored), 0) << ReadBytes(folder.Path() / "run.log");
        const int kept = MailsOf(restored);
        EXPECT_GE(kept, before);
        answered += first.Acknowledged() + second.Acknowledged();
        inBackups += kept;
        Sql("DELETE FROM mails; DELETE FROM mail_keys");
        fs::remove(backup);
        fs::remove(restored);
    }
    std::cout << kills << " kills, " << answered << " answered mails, " << inBackups
              << " of them in backups\n";
}
