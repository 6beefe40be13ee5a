#include "Commands/CommandTest.hpp"

TEST_F(CommandTest, EachCheckResultHasItsExitCodeAndJson)
{
    const struct {
        const char* user;
        const char* project;
        std::vector<std::string> extra;
        int code;
        int result;
        const char* meaning;
    } cases[] = {
        {"anna.novak", "Harbour Bridge", {}, 0, 0, "passed"},
        {"anna.novak", "Open House 2026", {}, 12, 2, "access-denied"},
        {"marco.rossi", "Harbour Bridge", {}, 13, 3, "session-in-use"},
        {"anna.novak", "harbour bridge", {}, 15, 5, "mismatch"},
        {"anna.novak", "Nowhere", {}, 16, 6, "not-found"},
        {"anna.novak", "Riverside Tower", {"--write"}, 17, 7, "forbidden-by-state"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.meaning);
        auto command = On(each.user, each.project, {"open", "--json"});
        command.insert(command.end(), each.extra.begin(), each.extra.end());
        const auto run = Run(command);
        EXPECT_EQ(run.code, each.code);
        const auto json = nlohmann::json::parse(run.output);
        EXPECT_EQ(json.at("result"), each.result);
        EXPECT_EQ(json.at("meaning"), each.meaning);
    }
    const auto cached = nlohmann::json::parse(Run({"projects", "--json"}).output).at("projects");
    EXPECT_EQ(cached.size(), 2u) << "only what has a session was joined: " << cached;
    server.Kill();
    EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {"open"})).code, 11);
}

TEST_F(CommandTest, UrlBuiltHereOpensTheProjectWithoutAskingAgain)
{
    const auto built = Run(On("anna.novak", "Harbour Bridge", {"url", "build"}));
    ASSERT_EQ(built.code, 0) << built.errors;
    const std::string url = built.output.substr(0, built.output.find('\n'));
    EXPECT_EQ(url.find(ServerProcess::Password), std::string::npos);
    const auto opened = Run({"open", url, "--json"});
    EXPECT_EQ(opened.code, 0) << opened.errors;

    const auto parsed = nlohmann::json::parse(Run({"url", "parse", url, "--json"}).output);
    EXPECT_EQ(parsed.at("isProjectUrl"), true);
    EXPECT_EQ(parsed.at("project"), "Harbour Bridge");
    EXPECT_EQ(parsed.at("hasPassword"), true);
    EXPECT_EQ(Run({"url", "parse", "http://a.b/c"}).code, 1);
    EXPECT_EQ(Run({"url", "parse", "no url"}).code, 2);
}

TEST_F(CommandTest, CacheIsListedShownAndClosed)
{
    ASSERT_EQ(Run(On("anna.novak", "Harbour Bridge", {"open"})).code, 0);
    const auto list = nlohmann::json::parse(Run({"projects", "--json"}).output).at("projects");
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].at("status"), "Joined");
    EXPECT_NE(list[0].at("session"), "");
    const std::string path = list[0].at("folder");
    const auto shown = nlohmann::json::parse(Run({"cache", "show", path, "--json"}).output);
    EXPECT_EQ(shown, list[0]);

    const auto status =
        nlohmann::json::parse(Run(On("anna.novak", "Harbour Bridge", {"status", "--json"})).output);
    EXPECT_EQ(status.at("session"), shown.at("session"));

    EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {"close"})).code, 0);
    EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {"close"})).code, 3)
        << "nothing left to close";
    EXPECT_EQ(Run({"cache", "show", "no such folder"}).code, 3);
    EXPECT_NE(Run({"cache", "show", path}).output.find("Infrastructure"), std::string::npos);
}

TEST_F(CommandTest, ClosingAsksWhatBecomesOfChanges)
{
    const auto close = [&](std::vector<std::string> more, const std::string& input = "") {
        auto command = On("anna.novak", "Harbour Bridge", {"close-project", "--json"});
        command.insert(command.end(), more.begin(), more.end());
        return Run(command, input);
    };
    EXPECT_EQ(close({}).code, 3) << "not cached yet";
    ASSERT_EQ(Run(On("anna.novak", "Harbour Bridge", {"open"})).code, 0);
    const auto asked = close({}, "cancel\n");
    EXPECT_EQ(asked.code, 1);
    EXPECT_NE(asked.errors.find("Do you want to send changes to the server"), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(close({}, "").output).at("result"), 0) << "end of input";
    EXPECT_EQ(nlohmann::json::parse(close({}, "other\n").output).at("result"), 3);
    EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {"close"})).code, 3) << "the session ended";
    const auto unsent = [&] {
        return nlohmann::json::parse(Run({"projects", "--unsent", "--json"}).output).at("projects");
    };
    MarkUnsent(nlohmann::json::parse(Run({"projects", "--json"}).output)
                   .at("projects")
                   .at(0)
                   .at("folder")
                   .get<std::string>());
    EXPECT_EQ(close({"--choice", "discard"}).code, 1) << "warned, and kept";
    EXPECT_EQ(unsent().size(), 1u);
    EXPECT_EQ(close({"--choice", "discard", "--discard-anyway"}).code, 0);
    EXPECT_EQ(unsent().size(), 0u);
    server.Kill();
    const auto offline = close({"--choice", "main"});
    EXPECT_EQ(nlohmann::json::parse(offline.output).at("result"), 2);
    EXPECT_EQ(offline.code, 0);
}

TEST_F(CommandTest, WrongUsageAndAMissingTerminalAreToldApart)
{
    EXPECT_EQ(Run({}).code, 2);
    EXPECT_EQ(Run({"frobnicate"}).code, 2);
    EXPECT_EQ(Run({"open", "--server", "a"}).code, 2);
    EXPECT_EQ(Run({"--help"}).code, 0);
    EXPECT_EQ(Run({"open", "--help"}).code, 0);
    const auto colours = Run({"projects"});
    EXPECT_EQ(colours.output.find('\x1b'), std::string::npos) << "no colours into a file";

    const struct {
        std::vector<std::string> words;
        const char* says;
    } wrong[] = {
        {{"opne"}, "\"opne\". Did you mean \"open\"?"},
        {{"users", "lst"}, "\"lst\". Did you mean \"list\"?"},
        {{"mail", "send", "--txt", "x"}, "\"--txt\". Did you mean \"--text\"?"},
        {{"users"}, "needs one of: list, show,"},
        {{"mail", "watch", "--count", "-1"}, "no number"},
        {{"mail", "watch", "--seconds", "nan"}, "no number"},
        {{"open", "--port", "999999"}, "--port"},
        {{"log", "show", "--from", "2026-02-30", "--server", "a", "--port", "1"}, "no day"},
        {{"log", "show", "--from", "", "--server", "a", "--port", "1"}, "no day"},
        {{"users", "add", "bad\xff"}, "no UTF-8"},
    };
    for (const auto& each : wrong) {
        const auto run = Run(each.words);
        EXPECT_EQ(run.code, 2) << each.says;
        EXPECT_TRUE(run.errors.starts_with("syclient: ")) << run.errors;
        EXPECT_NE(run.errors.find(each.says), std::string::npos) << run.errors;
    }
}

TEST_F(CommandTest, AScriptIsToldOfEveryFailureInOneWay)
{
    std::ofstream(folder.Path() / "wrong") << "wrong\n";
    ASSERT_EQ(Run(On("anna.novak", "Harbour Bridge", {"open"})).code, 0);
    const auto wrong = [&](std::vector<std::string> command) {
        command = On("anna.novak", "Harbour Bridge", command);
        command.back() = folder.Path() / "wrong";
        return command;
    };
    std::vector<std::pair<int, std::vector<std::string>>> failing{
        {12, wrong({"open"})},
        {12, wrong({"status"})},
        {12, wrong({"close-project"})},
        {12, wrong({"mail", "list"})},
        {2, {"opne"}},
        {3, {"cache", "show", "x"}},
        {16, On("anna.novak", "Nowhere", {"open"})},
    };
    for (const auto& [code, command] : failing) {
        auto words = command;
        words.push_back("--json");
        const auto run = Run(words);
        EXPECT_EQ(run.code, code) << command[0] << run.errors;
        const auto last = run.errors.rfind('\n', run.errors.size() - 2);
        const auto error =
            nlohmann::json::parse(run.errors.substr(last == std::string::npos ? 0 : last + 1))
                .at("error");
        EXPECT_EQ(error.at("code"), code) << error;
        EXPECT_NE(error.at("message"), "") << error;
        if (code == 12) {
            EXPECT_EQ(error.at("user"), "anna.novak");
            EXPECT_EQ(run.errors.find("::"), std::string::npos) << run.errors;
        }
    }
    EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {"status"})).errors, "");
    EXPECT_EQ(
        Run(On("anna.novak", "Harbour Bridge", {"mail", "send", "--to", "yuki.tanaka", "-t", "x"}))
            .errors,
        "")
        << "no log of the library after a success";
    server.Kill();
    for (const char* command : {"close", "status", "open"})
        EXPECT_EQ(Run(On("anna.novak", "Harbour Bridge", {command})).code, 11) << command;
}

TEST_F(CommandTest, OutputThatCannotBeWrittenIsAFailure)
{
    for (const char* command : {"projects", "projects --json", "--help", "completion bash"}) {
        const std::string line = Quoted(SYCLIENT_TEST_CLI) + " " + command + " 2>/dev/null";
        for (const char* to : {" >/dev/full", " >&-"})
            EXPECT_EQ(WEXITSTATUS(std::system((line + to).c_str())), 1) << command << to;
    }
}
