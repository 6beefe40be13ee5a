#include "ServerTest.hpp"

#include <atomic>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

class StoreTest : public ServerTest {
protected:
    static std::string BytesOf(const fs::path& path)
    {
        std::ostringstream bytes;
        bytes << std::ifstream(path, std::ios::binary).rdbuf();
        return bytes.str();
    }

    /// Everything that the server wrote anywhere: its store, the side files and its log.
    [[nodiscard]] std::string AllBytes() const
    {
        std::string bytes;
        for (const auto& entry : fs::recursive_directory_iterator(folder_.Path()))
            if (entry.is_regular_file() && entry.path().filename() != "password")
                bytes += BytesOf(entry.path());
        return bytes;
    }

    /// Runs --add-user on the store of the running server; its exit code and what it said.
    [[nodiscard]] std::pair<int, std::string> AddUser(const std::string& login,
                                                      const std::string& password) const
    {
        const fs::path file = folder_.Path() / "password";
        std::ofstream(file, std::ios::binary) << password;
        const fs::path output = folder_.Path() / "output";
        const std::string command =
            std::string("timeout 60 '") + SYCLIENT_TEST_SERVER + "' --data '" +
            server_.StorePath().string() + "' --hash minimum --add-user '" + login +
            "' --password-file '" + file.string() + "' >'" + output.string() + "' 2>&1";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, BytesOf(output)};
    }
};

TEST_F(StoreTest, IsReadableByItsUserAlone)
{
    ASSERT_EQ(Ask("GET", "/projects", SignIn("anna.novak")).status, 200);
    const fs::path store = server_.StorePath();
    for (const fs::path& path :
         {store, fs::path(store.string() + "-wal"), fs::path(store.string() + "-shm")}) {
        ASSERT_TRUE(fs::exists(path)) << path;
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write)
            << path;
    }
}

TEST_F(StoreTest, HoldsNoPasswordAndNoTokenInClear)
{
    const std::string password = "Gr\u00fcn & S3cret";
    const auto added = AddUser("new.user", password + "\r\nsecond line");
    ASSERT_EQ(added.first, 0) << added.second;
    const Answer answer = TrySignIn("new.user", password);
    ASSERT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(TrySignIn("new.user", password + "x").Code(), 10);
    EXPECT_EQ(Ask("POST", "/sign-in", {}, R"({"userName":"new.user","password":"Wr0ng!)").Code(),
              1);
    EXPECT_EQ(TrySignIn("new.user", "Wr0ng! too").Code(), 10);
    EXPECT_EQ(Ask("GET", "/projects", answer.body["token"].get<std::string>()).status, 200);
    ASSERT_EQ(server_.Terminate(), 0);

    const std::string bytes = AllBytes();
    EXPECT_NE(bytes.find("$argon2id$"), std::string::npos);
    EXPECT_NE(bytes.find("new.user"), std::string::npos);
    EXPECT_EQ(bytes.find("S3cret"), std::string::npos);
    EXPECT_EQ(bytes.find("Wr0ng!"), std::string::npos);
    EXPECT_EQ(bytes.find(answer.body["token"].get<std::string>()), std::string::npos);
}

TEST_F(StoreTest, AUserNameCannotForgeALineOfTheLog)
{
    EXPECT_EQ(TrySignIn("x\"\nnexar-server: Stopped.\r\x1B[2J", "p").Code(), 10);
    const std::string log = BytesOf(server_.LogPath());
    EXPECT_NE(log.find("Sign-in refused"), std::string::npos) << log;
    EXPECT_EQ(log.find("\nnexar-server: Stopped."), std::string::npos) << log;
    EXPECT_EQ(log.find_first_of("\r\x1B"), std::string::npos) << log;
}

TEST_F(StoreTest, RefusesUsersItHasAndEmptyPasswords)
{
    struct Case {
        const char* login;
        const char* password;
    };
    for (const Case& one :
         {Case{"anna.novak", "p"}, {"new.user", ""}, {"new.user", "\nsecond"}, {"", "p"}}) {
        const auto [code, output] = AddUser(one.login, one.password);
        EXPECT_EQ(code, 1) << one.login << " " << one.password;
        EXPECT_NE(output, "");
    }
    EXPECT_EQ(SignIn("anna.novak").empty(), false) << "the former password holds";
    EXPECT_EQ(TrySignIn("new.user", "").Code(), 10);
}

TEST_F(StoreTest, AnotherStartWithTheSampleTeamChangesNothing)
{
    const std::string token = SignIn("anna.novak");
    const Answer session = Ask("POST", "/projects/" + Projects::Bridge + "/sessions", token, "{}");
    const json before = Ask("GET", "/projects", token).body;
    ASSERT_EQ(server_.Terminate(), 0);
    const std::string bytes = BytesOf(server_.StorePath());
    server_.Start();
    ASSERT_EQ(server_.Terminate(), 0);
    EXPECT_TRUE(bytes == BytesOf(server_.StorePath()));
    server_.Start();
    const std::string again = SignIn("anna.novak");
    EXPECT_EQ(Ask("GET", "/projects", again).body, before);
    EXPECT_EQ(Ask("GET", "/projects/" + Projects::Bridge + "/sessions", again).body["sessions"],
              json::array({session.body}));
}

TEST_F(StoreTest, WhatWasAnsweredSurvivesAKillInTheMiddleOfWrites)
{
    for (int round = 0; round < 5; ++round) {
        const std::string token = SignIn("anna.novak");
        const json sessions =
            Ask("GET", "/projects/" + Projects::Bridge + "/sessions", token).body["sessions"];
        const std::string id =
            sessions.empty()
                ? Ask("POST", "/projects/" + Projects::Bridge + "/sessions", token, "{}").body["id"]
                : sessions[0]["id"];
        const std::string path = "/sessions/" + id + "/attributes/count";
        std::atomic<int> answered = 0;
        std::atomic<bool> ended = false;
        std::thread writer([&] {
            RawHttp connection(server_.ModelPort());
            for (int i = 1;; ++i) {
                const bool sent = connection.SendRequest("PUT", "/syncra/v1" + path, token,
                                                         json{{"value", std::to_string(i)}}.dump());
                if (!sent || connection.Receive().status != 200)
                    break;
                answered = i;
            }
            ended = true;
        });
        while (answered < 20 + round && !ended)
            std::this_thread::yield();
        EXPECT_FALSE(ended);
        server_.Kill();
        writer.join();
        server_.Start();
        const std::string value = Ask("GET", path, SignIn("anna.novak")).body.at("value");
        // The write that was under way may have happened; nothing else may differ.
        EXPECT_TRUE(value == std::to_string(answered) || value == std::to_string(answered + 1))
            << value << " of " << answered;
    }
}

}  // namespace
