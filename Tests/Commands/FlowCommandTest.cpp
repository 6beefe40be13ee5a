#include "Commands/CommandTest.hpp"

using nlohmann::json;

namespace {

class FlowCommandTest : public CommandTest {
protected:
    /// On the sample's server, without a project.
    [[nodiscard]] CommandResult RunAs(const std::string& user, std::vector<std::string> command)
    {
        for (const std::string& option :
             {std::string("-s127.0.0.1"), "-p" + std::to_string(server.ModelPort()), "-u" + user,
              "--password-file=" + PasswordFile().string()})
            command.push_back(option);
        return Run(command);
    }
    [[nodiscard]] json Browsed(const std::string& user, const std::string& project)
    {
        const auto list = json::parse(RunAs(user, {"--json", "browse"}).output);
        for (const auto& each : list.at("projects"))
            if (each.at("project") == project)
                return each;
        return nullptr;
    }
};

TEST_F(FlowCommandTest, BrowsesJoinsLeavesAndShares)
{
    EXPECT_EQ(Browsed("nora.lind", "Open House 2026").at("membership"), "public");
    EXPECT_FALSE(Browsed("anna.novak", "Harbour Bridge").at("cached"));
    const struct {
        std::vector<std::string> command;
        std::string user;
        int code;
    } cases[] = {
        {{"join"}, "liam.walsh", 15},
        {{"join"}, "marco.rossi", 13},
        {{"join"}, "anna.novak", 0},
        {{"leave"}, "anna.novak", 2},  // nobody to ask
        {{"leave", "--yes", "--keep-cache"}, "anna.novak", 0},
        {{"join"}, "anna.novak", 0},
    };
    for (const auto& each : cases) {
        const auto run = Run(On(each.user, "Harbour Bridge", each.command));
        EXPECT_EQ(run.code, each.code) << each.command[0] << " " << each.user << run.errors;
    }
    const auto joined = Browsed("anna.novak", "Harbour Bridge");
    EXPECT_EQ(joined.at("status"), "Joined");
    MarkUnsent(joined.at("folder").get<std::string>());
    EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {"leave", "--yes"})).code, 1);
    EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {"leave", "--yes", "--discard-unsent"})).code,
              0);
    EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {"leave", "--yes"})).code, 3);

    EXPECT_EQ(RunAs("admin", {"share", "harbour bridge", "--check"}).code, 1);
    EXPECT_EQ(RunAs("admin", {"share", "Quay", "--check"}).code, 0);
    EXPECT_EQ(RunAs("nora.lind", {"share", "Quay", "--member", "nora.lind=Viewer"}).code, 12);
    EXPECT_EQ(RunAs("admin", {"share", "Quay", "--member", "nobody=Viewer"}).code, 3);
    EXPECT_EQ(RunAs("admin", {"share", "Quay", "--member", "anna.novak=viewer"}).code, 0);
    EXPECT_EQ(RunAs("admin", {"share", "Quay"}).code, 1) << "the name is taken";
    EXPECT_EQ(Browsed("anna.novak", "Quay").at("members"), 1);

    server.Kill();
    const auto away = RunAs("anna.novak", {"browse"});
    EXPECT_EQ(away.code, 11) << away.errors;
}

}  // namespace
