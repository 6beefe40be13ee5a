#include "Commands/CommandTest.hpp"

#include "Support/TerminalRun.hpp"

using nlohmann::json;

namespace {

class ProfileCommandTest : public CommandTest {
protected:
    CommandResult Login(const std::string& profile, const std::string& user,
                        std::vector<std::string> more = {})
    {
        auto command = On(user, "Harbour Bridge", {"--profile", profile, "login"});
        command.insert(command.end(), more.begin(), more.end());
        return Run(command);
    }

    json Shown(std::vector<std::string> more = {}, const std::string& environment = "")
    {
        more.insert(more.begin(), {"profile", "show", "--json"});
        const auto run = RunIn(folder.Path(), more, "", environment);
        EXPECT_EQ(run.code, 0) << run.errors;
        return json::parse(run.output);
    }
};

TEST_F(ProfileCommandTest, OneLoginIsEnoughForEveryCommand)
{
    EXPECT_EQ(Run({"mail", "list"}).code, 2) << "nothing is known yet";
    ASSERT_EQ(Login("work", "anna.novak", {"--store-password"}).code, 0);
    for (const std::vector<std::string>& command : {std::vector<std::string>{"open"},
                                                    {"status"},
                                                    {"mail", "list"},
                                                    {"members"},
                                                    {"log", "update"},
                                                    {"log", "show"},
                                                    {"whoami"},
                                                    {"users", "list"},
                                                    {"server", "connect"},
                                                    {"projects", "show", "Harbour Bridge"},
                                                    {"close"}})
        EXPECT_EQ(Run(command).code, 0) << command[0] << ' ' << Run(command).errors;
    for (const char* place : {"config", "data"})
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(folder.Path() / place))
            EXPECT_TRUE(entry.is_directory() ||
                        ReadBytes(entry.path()).find(ServerProcess::Password) == std::string::npos)
                << entry.path();
    std::ofstream(PasswordFile()) << "another\n";
    EXPECT_EQ(Run({"status", "--password-file", PasswordFile()}).code, 12)
        << "the stored one does not stand in for a wrong one";
}

TEST_F(ProfileCommandTest, APasswordThatTheUserChangesIsTheStoredOneFromThenOn)
{
    ASSERT_EQ(Login("work", "anna.novak", {"--store-password"}).code, 0);
    const auto file = folder.Path() / "new";
    std::ofstream(file) << "another-sample\n";
    EXPECT_EQ(Run({"password", "change", "--new-password-file", file}).code, 0);
    const auto self = json::parse(Run({"whoami", "--json"}).output);
    EXPECT_EQ(self.at("fullName"), "Anna Nov\u00e1k");
    EXPECT_EQ(self.at("groups"), json({"ProjectManagers"}));
    EXPECT_EQ(Run({"whoami", "--password-file", PasswordFile()}).code, 12);
}

TEST_F(ProfileCommandTest, WhatIsNearerHolds)
{
    ASSERT_EQ(Login("work", "anna.novak").code, 0);
    ASSERT_EQ(Login("other", "omar.haddad").code, 0);
    const std::string url = "syncra://liam.walsh@127.0.0.1:7/Open%20House%202026";
    const struct {
        std::vector<std::string> options;
        std::string environment;
        const char* user;
        const char* from;
    } cases[] = {
        {{}, "", "omar.haddad", "profile \"other\""},
        {{}, "SYCLIENT_PROFILE=work ", "anna.novak", "profile \"work\""},
        {{}, "SYCLIENT_PROFILE=work SYCLIENT_USER=e ", "e", "SYCLIENT_USER"},
        {{"--profile", "work"}, "SYCLIENT_USER=e ", "anna.novak", "profile \"work\""},
        {{"--profile", "work", "--user", "o"}, "SYCLIENT_USER=e ", "o", "--user"},
        {{url}, "SYCLIENT_USER=e ", "liam.walsh", "--user"},
        {{"--project", url}, "", "liam.walsh", "--user"},
        {{}, "SYCLIENT_PROJECT=" + url + " ", "liam.walsh", "SYCLIENT_USER"},
    };
    for (const auto& each : cases) {
        const auto shown = Shown(each.options, each.environment);
        EXPECT_EQ(shown.at("user").at("value"), each.user) << shown;
        EXPECT_EQ(shown.at("user").at("from"), each.from) << shown;
    }
    const auto elsewhere = Shown({"--server", "elsewhere.example"});
    EXPECT_TRUE(elsewhere.at("user").is_null()) << "a profile says nothing of another server";
    EXPECT_EQ(elsewhere.at("port"), (json{{"value", "19001"}, {"from", "the usual one"}}));
    EXPECT_EQ(RunIn(folder.Path(), {"status"}, "", "SYCLIENT_PORT=99999 ").code, 2);

    EXPECT_EQ(Run({"profile", "use", "work"}).code, 0);
    EXPECT_EQ(Shown().at("user").at("value"), "anna.novak");
    EXPECT_EQ(Run({"profile", "remove", "work"}).code, 0);
    EXPECT_TRUE(Shown().at("server").is_null());
    EXPECT_TRUE(Shown().at("port").is_null());
    for (const char* verb : {"use", "remove"})
        EXPECT_EQ(Run({"profile", verb, "work"}).code, 3);
    EXPECT_EQ(json::parse(Run({"profile", "list", "--json"}).output).at("profiles").size(), 1u);
}

TEST_F(ProfileCommandTest, ALoginAsksForWhatIsMissing)
{
    const std::vector<std::string> ask{SYCLIENT_TEST_CLI, "login", "--no-store-password",
                                       "--password-file", PasswordFile()};
    const std::string port = std::to_string(server.ModelPort());
    const TerminalRun asked(ask, ": ", {"127.0.0.1", port, "anna.novak", "Harbour Bridge"});
    EXPECT_NE(asked.output.find("City Library"), std::string::npos) << asked.output;
    EXPECT_EQ(Shown().at("project").at("value"), "Harbour Bridge");
    EXPECT_EQ(Login("default", "anna.novak", {"--project", "Nowhere"}).code, 2) << "named twice";
    std::ofstream(PasswordFile()) << "wrong\n";
    EXPECT_EQ(Login("bad", "anna.novak").code, 12);
    EXPECT_EQ(json::parse(Run({"profile", "list", "--json"}).output).at("profiles").size(), 1u)
        << "who is refused is not remembered";
}

}  // namespace
