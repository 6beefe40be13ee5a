#include "ServerTest.hpp"
#include "Support/FileBytes.hpp"

#include <atomic>
#include <thread>

namespace fs = std::filesystem;
using StoreTest = ServerTest;

TEST_F(StoreTest, OnlyItsUserMayReadTheStoreAndNothingSecretIsInReach)
{
    const std::string secret = "correct-horse-\xc3\xa4";
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

TEST_F(StoreTest, AnotherStartWithTheSampleTeamWritesNothing)
{
    const auto path = ProjectPath(Sample::HarbourBridge, "sessions");
    ASSERT_EQ(SignedIn("anna.novak").Ask("POST", path, "{}").status, 200);
    ASSERT_EQ(server.Terminate(), 0);
    const auto before = ReadBytes(server.StorePath());
    server.Start();
    ASSERT_EQ(server.Terminate(), 0);
    EXPECT_TRUE(ReadBytes(server.StorePath()) == before);
}

TEST_F(StoreTest, WhatWasAnsweredSurvivesAKillInTheMiddleOfWrites)
{
    const auto path = ProjectPath(Sample::HarbourBridge, "sessions");
    const std::string session = SignedIn("anna.novak").Ask("POST", path, "{}").json.at("id");
    const auto attribute = "/syncra/v1/sessions/" + session + "/attributes/count";
    for (int round = 0; round < 5; ++round) {
        Client writing = SignedIn("anna.novak");
        std::atomic<int> answered = 0;
        std::atomic<bool> ended = false;
        std::thread writer([&] {
            for (int i = 1;
                 writing.Ask("PUT", attribute, nlohmann::json{{"value", std::to_string(i)}}.dump())
                     .status == 200;
                 ++i)
                answered = i;
            ended = true;
        });
        while (answered < 20 + round && !ended)
            std::this_thread::yield();
        EXPECT_FALSE(ended);
        server.Kill();
        writer.join();
        server.Start();
        const auto value = SignedIn("anna.novak").Ask("GET", attribute).json.at("value");
        // The write that was under way may have happened; nothing else may differ.
        EXPECT_TRUE(value == std::to_string(answered) || value == std::to_string(answered + 1))
            << value << " after " << answered;
    }
}
