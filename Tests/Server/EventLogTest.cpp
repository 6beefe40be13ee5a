#include "Server/ServerTest.hpp"

#include <set>

namespace {

using json = nlohmann::json;

const std::string Bridge = "6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1001";

class EventLogTest : public ServerTest {
protected:
    /// Fields of each line.
    using Lines = std::vector<std::vector<std::string>>;
    static Lines LinesOf(const json& page)
    {
        Lines lines;
        std::istringstream text(page.at("text").get<std::string>());
        const std::string separator = page.at("separator");
        for (std::string line; std::getline(text, line);) {
            auto& fields = lines.emplace_back();
            for (std::size_t at = 0; at != std::string::npos;) {
                const auto end = line.find(separator, at);
                fields.push_back(line.substr(at, end - at));
                at = end == std::string::npos ? end : end + separator.size();
            }
        }
        return lines;
    }
    Lines Log(Client& client, const std::string& range = "")
    {
        return LinesOf(client.Ask("GET", ProjectPath(Bridge, "events?after=0" + range)).json);
    }
};

}  // namespace

TEST_F(EventLogTest, TellsWhatHappenedAndWhoDidIt)
{
    Client anna = SignedIn("anna.novak");
    // The clock went back, the log does not.
    Sql("INSERT INTO events (project_id, time, user, action) VALUES ('" + Bridge +
        "', 2000000000, 'u', 'Send')");
    const std::size_t before = Log(anna).size();
    const auto session = anna.Ask("POST", ProjectPath(Bridge, "sessions")).json;
    const json event{{"action", "Put Object"},
                     {"size", 4'000'000'000U},
                     {"comment", "a#!b\nc#"},
                     {"seconds", 7}};
    ASSERT_EQ(anna.Ask("POST", ProjectPath(Bridge, "events"), event.dump()).Code(), 0);
    const json mail{{"key", "k"},
                    {"recipients", {"yuki.tanaka"}},
                    {"message", {{"header", json::object()}, {"body", "AAAA"}}}};
    for (int twice = 0; twice < 2; ++twice)
        ASSERT_EQ(anna.Ask("POST", ProjectPath(Bridge, "mails"), mail.dump()).Code(), 0);
    ASSERT_EQ(
        anna.Ask("DELETE", "/syncra/v1/sessions/" + session.at("id").get<std::string>()).Code(), 0);
    Manager("anna.novak")
        .Ask("POST", "/root/syncrav2/projects/" + Bridge + "/members",
             R"({"loginName":"mei.chen","role":"Viewer"})");
    const auto lines = Log(anna);
    ASSERT_EQ(lines.size(), before + 5);
    const auto* line = &lines[before];
    for (const auto& [user, action] : {std::pair("Anna Nov\u00e1k (anna.novak)", "Login"),
                                       {"Anna Nov\u00e1k (anna.novak)", "Put Object"},
                                       {"Anna Nov\u00e1k (anna.novak)", "Send"},
                                       {"Anna Nov\u00e1k (anna.novak)", "Logout"},
                                       {"Mei Chen (mei.chen)", "Join"}}) {
        ASSERT_EQ(line->size(), 8u);
        EXPECT_EQ(line->at(0), "2000000000");
        EXPECT_EQ(line->at(1), user);
        EXPECT_EQ(line->at(2), action);
        EXPECT_EQ(line->at(6), "14");
        ++line;
    }
    EXPECT_EQ(lines[before + 1][3], "4000000000");
    EXPECT_EQ(lines[before + 1][4], "a b c ") << "no field holds what ends one";
    EXPECT_EQ(lines[before + 1][5], "7");
    server.Kill();
    server.Start();
    Client again = SignedIn("anna.novak");
    EXPECT_EQ(Log(again), lines);
}

TEST_F(EventLogTest, GivesRangesInPagesAndRefusesWhatItShould)
{
    Client anna = SignedIn("anna.novak");
    Sql("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 45000) "
        "INSERT INTO events (project_id, time, user, action) "
        "SELECT '" +
        Bridge + "', 1000 + i / 3, 'u', 'Send' FROM n");
    std::set<std::string> numbers;
    std::uint64_t after = 0, left = 1;
    for (int pages = 0; left > 0; ++pages) {
        ASSERT_LT(pages, 9);
        const auto page = anna.Ask("GET", ProjectPath(Bridge, "events?from=1000&to=16000&after=" +
                                                                  std::to_string(after)))
                              .json;
        for (const auto& line : LinesOf(page))
            EXPECT_TRUE(numbers.insert(line[7]).second);
        left = page.at("left");
        after = page.at("next");
    }
    EXPECT_EQ(numbers.size(), 45'000u);
    EXPECT_EQ(Log(anna, "&from=1001&to=1001").size(), 3u) << "both ends belong to it";
    EXPECT_EQ(Log(anna, "&from=-5&to=999").size(), 0u);

    Client outsider = SignedIn("liam.walsh"), member = SignedIn("jonas.berg"),
           admin = SignedIn("admin");
    (void)member.Ask("POST", ProjectPath(Bridge, "sessions"));
    const auto post = [](const char* body) { return std::pair("POST", std::string(body)); };
    const std::string events = ProjectPath(Bridge, "events");
    EXPECT_NE(outsider.Ask("GET", events).Code(), 0);
    EXPECT_EQ(admin.Ask("GET", events).Code(), 0);
    EXPECT_NE(anna.Ask("GET", ProjectPath("none", "events")).Code(), 0);
    EXPECT_NE(anna.Ask("GET", events + "?from=soon").Code(), 0);
    EXPECT_NE(
        anna.Ask("POST", events, R"({"action":"Send","size":1,"comment":"","seconds":1})").Code(),
        0)
        << "without a session";
    for (const auto& [method, body] :
         {post(R"({"action":"Login","size":1,"comment":"","seconds":1})"),
          post(R"({"action":"Send","size":-1,"comment":"","seconds":1})"),
          post(R"({"action":"Send","size":1,"comment":5,"seconds":1})"), post("[]"), post("")})
        EXPECT_NE(member.Ask(method, events, body).Code(), 0) << body;
    EXPECT_EQ(member.Ask("GET", "/syncra/v1/performance").Code(), 13);
    EXPECT_EQ(LinesOf(admin.Ask("GET", "/syncra/v1/performance").json).size(), 0u);
    EXPECT_EQ(server.Terminate(), 0);
    server.Start();
    Client restarted = SignedIn("admin");
    std::set<std::string> keys;
    for (const auto& line : LinesOf(restarted.Ask("GET", "/syncra/v1/performance").json))
        keys.insert(line.at(1));
    EXPECT_EQ(keys, (std::set<std::string>{"cpu", ":memory", "actions", "transferred",
                                           "transactionlength"}))
        << "sampled at the end";
}
