#include "Server/ServerTest.hpp"

#include <set>

namespace {

using json = nlohmann::json;

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
        return LinesOf(client.Ask("GET", Bridge("events?after=0" + range)).json);
    }
};

}  // namespace

TEST_F(EventLogTest, TellsWhatHappenedAndWhoDidIt)
{
    Client anna = SignedIn("anna.novak");
    // The clock went back, the log does not.
    Sql("INSERT INTO events (project_id, time, \"user\", action) VALUES ('" +
        Sample::HarbourBridge + "', 2000000000, 'u', 'Send')");
    const std::size_t before = Log(anna).size();
    const auto session = anna.Ask("POST", Bridge("sessions")).json;
    const json event{{"action", "Put Object"},
                     {"size", 4'000'000'000U},
                     {"comment", "a#!b\nc#"},
                     {"seconds", 7}};
    ASSERT_EQ(anna.Ask("POST", Bridge("events"), event.dump()).Code(), 0);
    for (int twice = 0; twice < 2; ++twice)
        ASSERT_EQ(
            anna.Ask("POST", Bridge("mails"), Mail("k", {"yuki.tanaka"}, "AAAA").dump()).Code(), 0);
    ASSERT_EQ(
        anna.Ask("DELETE", "/syncra/v1/sessions/" + session.at("id").get<std::string>()).Code(), 0);
    Manager("anna.novak")
        .Ask("POST", "/root/syncrav2/projects/" + Sample::HarbourBridge + "/members",
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

TEST_F(EventLogTest, GivesRangesAndRefusesWhatItShould)
{
    Client anna = SignedIn("anna.novak");
    Sql("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 9) "
        "INSERT INTO events (project_id, time, \"user\", action) "
        "SELECT '" +
        Sample::HarbourBridge + "', 1000 + i / 3, 'u', 'Send' FROM n");
    EXPECT_EQ(Log(anna, "&from=1001&to=1001").size(), 3u) << "both ends belong to it";
    EXPECT_EQ(Log(anna, "&from=-5&to=999").size(), 0u);

    Client outsider = SignedIn("liam.walsh"), member = SignedIn("jonas.berg"),
           admin = SignedIn("admin");
    (void)member.Ask("POST", Bridge("sessions"));
    const std::string events = Bridge("events");
    EXPECT_NE(outsider.Ask("GET", events).Code(), 0);
    EXPECT_EQ(admin.Ask("GET", events).Code(), 0);
    EXPECT_NE(anna.Ask("GET", ProjectPath("none", "events")).Code(), 0);
    EXPECT_NE(anna.Ask("GET", events + "?from=soon").Code(), 0);
    EXPECT_NE(
        anna.Ask("POST", events, R"({"action":"Send","size":1,"comment":"","seconds":1})").Code(),
        0)
        << "without a session";
    for (const char* body : {R"({"action":"Login","size":1,"comment":"","seconds":1})",
                             R"({"action":"Send","size":-1,"comment":"","seconds":1})", "[]", ""})
        EXPECT_NE(member.Ask("POST", events, body).Code(), 0) << body;
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
