#include "Commands/CommandTest.hpp"
#include "Support/StoreEdit.hpp"

namespace {

using Strings = std::vector<std::string>;
using Json = nlohmann::json;

class LogCommandTest : public CommandTest {
protected:
    CommandResult Log(Strings words) const
    {
        words.insert(words.begin(), "log");
        words.insert(words.end(), {"-s", "127.0.0.1", "-p", std::to_string(server.ModelPort())});
        return Run(words);
    }
    CommandResult Update(const std::string& user) const
    {
        return Log({"update", "-u", user, "--password-file", PasswordFile().string()});
    }
};

TEST_F(LogCommandTest, IsFetchedOnceAndThenReadWithoutTheServer)
{
    EXPECT_EQ(Log({"show"}).code, 3) << "nothing is cached";
    EXPECT_EQ(Update("nobody").code, 12);
    ASSERT_EQ(Run(On("anna.novak", "Harbour Bridge", {"open"})).code, 0);
    ASSERT_EQ(Run(On("anna.novak", "Harbour Bridge", {"close"})).code, 0);
    EditStore(server.StorePath(), "UPDATE events SET comment = '=1+1' || char(27) || ']' || "
                                  "char(8238) WHERE action = 'Logout'");
    const auto updated = Update("anna.novak");
    ASSERT_EQ(updated.code, 0) << updated.errors;
    server.Kill();
    EXPECT_EQ(Update("anna.novak").code, 11);

    const auto shown = Json::parse(
        Log({"show", "--json", "--project", "Harbour Bridge", "--by", "Anna Nov\u00e1k"}).output);
    ASSERT_GE(shown.at("count"), 3);
    Strings actions;
    for (const auto& line : shown.at("lines"))
        actions.push_back(line.at("action"));
    EXPECT_EQ(actions, (Strings{"Join", "Login", "Logout"}));
    const auto leaves = Log({"show", "--action", "Leave", "--csv"}).output;
    EXPECT_TRUE(
        leaves.starts_with("\"Timestamp\",\"User\",\"Action\",\"Comment\",\"Size\",\"Time\"\n"));
    EXPECT_EQ(std::count(leaves.begin(), leaves.end(), '\n'), 2);
    EXPECT_NE(leaves.find(",\"'=1+1?]?\","), std::string::npos)
        << "neither a formula nor a code of the terminal: " << leaves;
    EXPECT_EQ(Json::parse(Log({"show", "--json", "--to", "2020-01-01"}).output).at("count"), 0);
    EXPECT_EQ(Json::parse(Log({"show", "--json", "--limit", "2"}).output).at("lines").size(), 2u);
    EXPECT_NE(Log({"show"}).output.find("Leave"), std::string::npos);
    const auto stats = Json::parse(Log({"stats", "--json"}).output);
    EXPECT_EQ(stats.at("actions").at(0).at("name"), "Join");

    const auto file = (folder.Path() / "log.csv").string();
    EXPECT_EQ(Log({"export", "--action", "Leave", file}).code, 0);
    std::ifstream written(file);
    std::string line;
    EXPECT_TRUE(std::getline(written, line) && line.find("\",\"Leave\",\"") != line.npos);
    EXPECT_FALSE(std::getline(written, line));

    const struct {
        Strings words;
        int code;
    } refused[] = {{{"show", "--from", "2026-02-30"}, 2},
                   {{"show", "--project", "none"}, 3},
                   {{"show", "--sort", "colour"}, 2},
                   {{"export", "/nowhere/log.csv"}, 1}};
    for (const auto& each : refused) {
        const auto run = Log(each.words);
        EXPECT_EQ(run.code, each.code) << each.words.back();
        EXPECT_FALSE(run.errors.empty());
    }
}

}  // namespace
