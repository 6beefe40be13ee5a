#include "CachedProjectInfo.hpp"
#include "Support/FileBytes.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/TerminalRun.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace {

using Strings = std::vector<std::string>;

/// What this machine remembers of servers and users, as a person at a terminal sees it.
class ServerCommandTest : public testing::Test {
protected:
    static TerminalRun Run(Strings arguments, const Strings& answers = {})
    {
        arguments.insert(arguments.begin(), SYCLIENT_TEST_CLI);
        return {arguments, "Password of ", answers};
    }
    static nlohmann::json List()
    {
        return nlohmann::json::parse(Run({"server", "list", "--json"}).output);
    }
    Strings Authenticate(const std::string& user, Strings more = {}) const
    {
        more.insert(more.begin(),
                    {"authenticate", "--data-folder", (folder.Path() / "caches").string(), "-s",
                     "nexar.example", "-p", "40000", "-n", "Bridge", "-u", user});
        return more;
    }
    void Cache(const OV::UniString& user) const
    {
        SYC::CachedProjectInfo({u"nexar.example", 40000, u"Bridge", user, u""},
                               folder.GetLocation().Appended(u"caches"));
    }

    TemporaryFolder folder;
};

TEST_F(ServerCommandTest, PasswordsAreStoredListedAndForgottenAndNeverShown)
{
    const Strings add{"password", "set", "-s", "nexar.example", "-u", "anna"};
    const TerminalRun added = Run(add, {"s3cret word"});
    EXPECT_EQ(added.code, 0) << added.output;
    EXPECT_EQ(Run({"server", "set", "--last-user", "anna"}).code, 3) << "no default password";
    EXPECT_EQ(Run(add, {""}).code, 2);
    EXPECT_EQ(Run(add).code, 2) << "end of input";

    const std::string file = (folder.Path() / "password").string();
    std::ofstream(file) << "s3cret two\n";
    EXPECT_EQ(
        Run({"password", "set", "-s", "second", "-u", "anna", "--default", "--password-file", file})
            .code,
        0);
    EXPECT_EQ(
        Run({"server", "set", "--last-user", "anna", "--last-server", "second", "--messages", "on"})
            .code,
        0);
    const auto listed = List();
    EXPECT_EQ(listed.at("lastUser"), "anna");
    EXPECT_EQ(listed.at("lastServer"), "second");
    EXPECT_EQ(listed.at("messages"), true);
    EXPECT_EQ(listed.at("users"),
              nlohmann::json::parse(R"([{"user": "anna", "hasDefaultPassword": true,
                                         "servers": ["nexar.example", "second"]}])"));
    const TerminalRun shown = Run({"server", "list", "--verbose"});
    const std::string bytes = ReadBytes(listed.at("file").get<std::string>());
    for (const auto& text : {added.output, shown.output, listed.dump(), bytes}) {
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.find("s3cret"), std::string::npos);
    }

    EXPECT_EQ(Run({"password", "forget", "Anna"}).code, 3);
    EXPECT_EQ(Run({"password", "forget", "anna"}).code, 0);
    EXPECT_TRUE(List().at("users").empty());
    EXPECT_EQ(List().at("lastUser"), "") << "his default password went too";
}

TEST_F(ServerCommandTest, ACachedProjectIsOpenedByWhoTypesTheStoredPassword)
{
    EXPECT_EQ(Run(Authenticate("anna")).code, 3) << "nothing is cached";
    Cache(u"anna");
    Cache(u"zoe");
    EXPECT_EQ(Run(Authenticate("anna", {"--silent"})).code, 0) << "nobody is stored";
    ASSERT_EQ(Run({"password", "set", "-s", "NEXAR", "-u", "anna"}, {"right"}).code, 0);
    const std::string file = (folder.Path() / "password").string();
    std::ofstream(file) << "right\n";

    const struct {
        const char* name;
        Strings command;
        Strings answers;
        int code;
    } cases[] = {
        {"given", Authenticate("anna", {"--password-file", file}), {}, 0},
        {"wrong, then right", Authenticate("anna"), {"Right", "right"}, 0},
        {"given up", Authenticate("anna"), {"wrong"}, 12},
        {"unknown", Authenticate("zoe"), {}, 3},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const TerminalRun run = Run(each.command, each.answers);
        EXPECT_EQ(run.code, each.code) << run.output;
        EXPECT_EQ(run.answered, each.answers.size());
        for (const auto& answer : each.answers)
            EXPECT_EQ(run.output.find(answer + "\r"), std::string::npos) << "typed without echo";
    }
}

}  // namespace
