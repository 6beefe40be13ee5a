#include "ServerTest.hpp"

#include <atomic>
#include <set>
#include <thread>

namespace {

using nlohmann::json;

class ModelServiceTest : public ServerTest {
protected:
    [[nodiscard]] Answer StartSession(const std::string& token, const std::string& project) const
    {
        return Ask("POST", "/projects/" + project + "/sessions", token, "{}");
    }
    [[nodiscard]] json SessionsOf(const std::string& token, const std::string& project) const
    {
        return Ask("GET", "/projects/" + project + "/sessions", token).body.at("sessions");
    }
};

TEST_F(ModelServiceTest, SignsInWhoMayAndTellsOthersNoMoreThanNeeded)
{
    struct Case {
        const char* user;
        std::string password;
        int protocol;
        int status;
        int code;
    };
    const std::string right = ServerProcess::Password;
    const Case cases[] = {
        {"anna.novak", right, 1, 200, 0},
        {"anna.novak", right + " ", 1, 401, 10},
        {"anna.novak", right + std::string(1, '\0'), 1, 401, 10},
        {"anna.novak", right.substr(1), 1, 401, 10},
        {"anna.novak", "", 1, 401, 10},
        {"nobody", right, 1, 401, 10},
        {"", "", 1, 401, 10},
        {"' OR 1=1 --", right, 1, 401, 10},
        {"former.member", right, 1, 403, 16},
        {"former.member", "wrong", 1, 401, 10},
        {"anna.novak", right, 0, 426, 30},
        {"anna.novak", right, 2, 426, 30},
        {"nobody", "", 2, 426, 30},
        {"anna.novak", std::string(1025, 'x'), 1, 413, 4},
    };
    // Twice: the second time the server remembers what was right.
    for (int round = 0; round < 2; ++round)
        for (const Case& one : cases) {
            const Answer answer = TrySignIn(one.user, one.password, one.protocol);
            EXPECT_EQ(answer.status, one.status) << one.user << " " << one.password.substr(0, 40);
            EXPECT_EQ(answer.Code(), one.code) << one.user << " " << one.password.substr(0, 40);
        }
    EXPECT_EQ(TrySignIn("nobody", right).body, TrySignIn("anna.novak", "wrong").body)
        << "nobody learns which names exist";
    const json good = TrySignIn("yuki.tanaka", right).body;
    EXPECT_EQ(good["userName"], "\u7530\u4e2d \u96ea");
    EXPECT_EQ(good["protocol"], 1);
    EXPECT_EQ(good["serverVersion"], 1400);
    EXPECT_NE(SignIn("anna.novak"), SignIn("anna.novak"));
}

TEST_F(ModelServiceTest, RefusesStrangersMissingObjectsAndProjectsUnderMaintenance)
{
    const std::string token = SignIn("anna.novak");
    const std::string own = StartSession(token, Projects::Bridge).body.at("id");
    const std::string marcos = SessionsOf(SignIn("marco.rossi"), Projects::Bridge).at(0).at("id");
    struct Case {
        const char* method;
        std::string path;
        std::string body;
        int status;
        int code;
    };
    const Case cases[] = {
        {"GET", "/projects/none/membership", "", 404, 12},
        {"GET", "/projects/none/state", "", 404, 12},
        {"GET", "/projects/none/sessions", "", 404, 12},
        {"POST", "/projects/none/sessions", "{}", 404, 12},
        {"GET", "/projects/" + Projects::OpenHouse + "/state", "", 403, 13},
        {"GET", "/projects/" + Projects::OpenHouse + "/sessions", "", 403, 13},
        {"POST", "/projects/" + Projects::OpenHouse + "/sessions", "{}", 403, 13},
        {"POST", "/projects/" + Projects::Mill + "/sessions", "{}", 423, 24},
        {"POST", "/projects/" + Projects::Bridge + "/sessions", "{}", 409, 17},
        {"GET", "/projects/exists", "", 400, 1},
        {"DELETE", "/sessions/none", "", 404, 12},
        {"DELETE", "/sessions/" + marcos, "", 404, 12},
        {"GET", "/sessions/" + marcos + "/attributes/ComputerName", "", 404, 12},
        {"PUT", "/sessions/" + marcos + "/attributes/ComputerName", R"({"value":""})", 404, 12},
        {"PUT", "/sessions/" + own + "/attributes/a", "{}", 400, 1},
        {"PUT", "/sessions/" + own + "/attributes/a", R"({"value":1})", 400, 1},
        {"PUT", "/sessions/" + own + "/attributes/a",
         json{{"value", std::string(4097, 'x')}}.dump(), 413, 4},
        {"PUT", "/sessions/" + own + "/attributes/" + std::string(4097, 'x'), R"({"value":""})",
         413, 4},
    };
    for (const Case& one : cases) {
        const Answer answer = Ask(one.method, one.path, token, one.body);
        EXPECT_EQ(answer.status, one.status) << one.method << " " << one.path.substr(0, 90);
        EXPECT_EQ(answer.Code(), one.code) << one.method << " " << one.path.substr(0, 90);
    }
    EXPECT_EQ(SessionsOf(SignIn("marco.rossi"), Projects::Bridge).size(), 1u);
}

TEST_F(ModelServiceTest, ListsWhatTheUserMaySeeAndKnowsNamesInAnyCase)
{
    const auto ids = [this](const std::string& user) {
        std::vector<std::string> list;
        const json projects = Ask("GET", "/projects", SignIn(user)).body.at("projects");
        for (const json& project : projects)
            list.push_back(project.at("id"));
        return list;
    };
    using Ids = std::vector<std::string>;
    EXPECT_EQ(ids("nora.lind"), (Ids{Projects::Mill, Projects::OpenHouse}));
    EXPECT_EQ(ids("grace.okoro"), (Ids{Projects::Library, Projects::OpenHouse}));
    EXPECT_EQ(ids("anna.novak").size(), 6u);

    const std::string token = SignIn("nora.lind");
    const std::pair<const char*, bool> names[] = {
        {"Harbour%20Bridge", true},     {"HARBOUR%20bridge", true},
        {"Harbour%20Bridge%20", false}, {"Harbour+Bridge", false},
        {"Harbour%20Bridg%25", false},  {"%25", false},
        {"Harbour%20Bridge%00", false}, {"", false}};
    for (const auto& [name, exists] : names)
        EXPECT_EQ(Ask("GET", "/projects/exists?name=" + std::string(name), token).body,
                  (json{{"exists", exists}}))
            << name;
    const auto member = [&](const std::string& id) {
        return Ask("GET", "/projects/" + id + "/membership", token).body.at("member");
    };
    EXPECT_EQ(member(Projects::Mill), true);
    EXPECT_EQ(member(Projects::OpenHouse), false);
    const json ports = Ask("GET", "/ports", token).body.at("ports");
    EXPECT_EQ(ports, json({{{"service", "ModelService"}, {"port", server_.ModelPort()}},
                           {{"service", "ManagementService"}, {"port", server_.ManagementPort()}},
                           {{"service", "MessagingService"}, {"port", server_.MessagingPort()}}}));
}

TEST_F(ModelServiceTest, ASessionLivesFromItsStartOverARestartToItsEnd)
{
    std::string token = SignIn("anna.novak");
    const json session = StartSession(token, Projects::Tower).body;
    EXPECT_EQ(session.at("projectId"), Projects::Tower);
    EXPECT_EQ(session.at("loginName"), "anna.novak");
    EXPECT_EQ(session.at("userName"), "Anna Nov\u00e1k");
    EXPECT_EQ(session.at("roleName"), "Engineer");
    EXPECT_EQ(session.at("logonId"), 2);
    EXPECT_EQ(session.at("permissions").get<std::set<std::string>>(),
              (std::set<std::string>{"Read", "Write", "Reserve", "Release"}));
    const std::string path = "/sessions/" + session.at("id").get<std::string>();
    const std::string texts[] = {"",
                                 "STUDIO-07",
                                 "\u7530\u4e2d\n\t\"",
                                 "\\uD800 \\u005Cu0041",
                                 std::string("\0", 1),
                                 std::string(4096, 'x')};
    for (const std::string& text : texts) {
        ASSERT_EQ(Ask("PUT", path + "/attributes/a%2Fb", token, json{{"value", text}}.dump()).body,
                  json::object());
        const json value = Ask("GET", path + "/attributes/a%2Fb", token).body.at("value");
        EXPECT_EQ(value, text == texts[4] ? "\\u0000" : text) << text;
    }
    EXPECT_EQ(Ask("GET", path + "/attributes/a", token).body, (json{{"value", ""}}));

    ASSERT_EQ(server_.Terminate(), 0);
    server_.Start();
    EXPECT_EQ(Ask("GET", "/projects", token).Code(), 15) << "tokens end with the server's life";
    token = SignIn("anna.novak");
    EXPECT_EQ(SessionsOf(token, Projects::Tower), json::array({session}));
    EXPECT_EQ(StartSession(token, Projects::Tower).Code(), 17);
    EXPECT_EQ(Ask("GET", path + "/attributes/a%2Fb", token).body.at("value"), texts[5]);
    EXPECT_EQ(Ask("DELETE", path, token).body, json::object());
    EXPECT_EQ(Ask("DELETE", path, token).Code(), 12);
    EXPECT_EQ(Ask("GET", path + "/attributes/a%2Fb", token).Code(), 12);
    EXPECT_EQ(SessionsOf(token, Projects::Tower), json::array());
    EXPECT_NE(StartSession(token, Projects::Tower).body.at("id"), session.at("id"));
}

TEST_F(ModelServiceTest, OfManyThatStartASessionAtOnceExactlyOneGetsIt)
{
    constexpr int threads = 8;
    const std::string token = SignIn("anna.novak");
    for (int round = 0; round < 25; ++round) {
        std::vector<RawHttp> connections;
        for (int i = 0; i < threads; ++i)
            connections.emplace_back(server_.ModelPort());
        std::atomic<bool> go = false;
        std::vector<Answer> answers(threads);
        std::vector<std::thread> racers;
        for (std::size_t i = 0; i < threads; ++i)
            racers.emplace_back([&, i] {
                while (!go)
                    std::this_thread::yield();
                connections[i].SendRequest(
                    "POST", "/syncra/v1/projects/" + Projects::Bridge + "/sessions", token, "{}");
                answers[i] = ToAnswer(connections[i].Receive());
            });
        go = true;
        for (std::thread& racer : racers)
            racer.join();
        std::string id;
        for (const Answer& answer : answers)
            if (answer.status == 200) {
                EXPECT_EQ(id, "") << "two have it";
                id = answer.body.at("id");
            } else {
                EXPECT_EQ(answer.status, 409);
                EXPECT_EQ(answer.Code(), 17);
            }
        ASSERT_NE(id, "");
        ASSERT_EQ(Ask("DELETE", "/sessions/" + id, token).status, 200);
    }
}

}  // namespace
