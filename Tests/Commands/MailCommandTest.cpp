#include "Commands/CommandTest.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/StoreEdit.hpp"
#include "Support/TerminalRun.hpp"

using nlohmann::json;

/// Several client processes on one server, each with a data folder of its own.
class MailCommandTest : public CommandTest {
protected:
    static constexpr const char* Project = "Harbour Bridge";

    MailCommandTest()
    {
        for (const char* user : {"anna.novak", "yuki.tanaka", "lena.fischer"})
            EXPECT_EQ(As(user, {"open"}).code, 0);
    }

    CommandResult As(const std::string& user, std::vector<std::string> command,
                     const std::string& input = "") const
    {
        command.push_back("--data-folder");
        command.push_back((folder.Path() / "data" / user).string());
        command.push_back("--quiet");
        return Run(On(user, Project, std::move(command)), input);
    }
    json JsonAs(const std::string& user, std::vector<std::string> command) const
    {
        command.push_back("--json");
        return json::parse(As(user, std::move(command)).output);
    }
    json Mails(const std::string& user) const
    {
        return JsonAs(user, {"mail", "list", "--all"}).at("mails");
    }
};

TEST_F(MailCommandTest, AMailFindsAMemberWhoWasNotThere)
{
    const auto sent =
        As("anna.novak",
           {"mail", "send", "--to", "yuki.tanaka", "--to", "lena.fischer", "--importance", "high"},
           "Příliš žluťoučký\nkůň");
    ASSERT_EQ(sent.code, 0) << sent.errors;
    for (const char* user : {"yuki.tanaka", "lena.fischer"}) {
        const auto mails = Mails(user);
        ASSERT_EQ(mails.size(), 1u);
        EXPECT_EQ(mails[0].at("text"), "Příliš žluťoučký\nkůň");
        EXPECT_EQ(mails[0].at("importance"), "high");
        EXPECT_EQ(mails[0].at("fromFullName"), "Anna Novák");
        EXPECT_EQ(mails[0].at("read"), false);
    }
    const std::string id = Mails("yuki.tanaka")[0].at("id");
    EXPECT_EQ(As("yuki.tanaka", {"mail", "read", "--id", id}).code, 0);
    EXPECT_EQ(As("yuki.tanaka", {"mail", "reply", "--id", id, "-t", "seen"}).code, 0);
    EXPECT_EQ(Mails("yuki.tanaka")[0].at("read"), true);
    EXPECT_EQ(Mails("lena.fischer")[0].at("read"), false) << "her own flag";
    EXPECT_EQ(Mails("anna.novak").back().at("parent"), id);
    EXPECT_EQ(As("yuki.tanaka", {"mail", "delete", "--id", id}).code, 0);
    EXPECT_EQ(Mails("yuki.tanaka").size(), 1u);  // the copy of her answer
    EXPECT_EQ(Mails("lena.fischer").size(), 1u);
    EXPECT_EQ(As("yuki.tanaka", {"mail", "read", "--id", id}).code, 3);
    EXPECT_EQ(As("anna.novak", {"mail", "send", "--to", "nobody", "-t", "x"}).code, 3);
    EXPECT_EQ(JsonAs("anna.novak", {"mail", "outbox"}).at("outbox").size(), 0u);
}

TEST_F(MailCommandTest, AWatcherPrintsMailAsItIsSignalled)
{
    const auto output = folder.Path() / "watched";
    ChildProcess watcher([&] {
        const auto watched =
            As("yuki.tanaka", {"mail", "watch", "--count", "2", "--seconds", "60", "--json"});
        std::ofstream(output) << watched.output;
        return watched.code;
    });
    const auto own = folder.Path() / "sender";  // the watcher's files stand in the other folder
    std::filesystem::create_directories(own);
    const auto anna = [&](std::vector<std::string> command) {
        command.push_back("--data-folder");
        command.push_back((folder.Path() / "data" / "anna.novak").string());
        return RunIn(own, On("anna.novak", Project, std::move(command)));
    };
    // What came before the watch began is not new.
    const auto isPresent = [&] {
        const auto listed = json::parse(anna({"members", "--json"}).output);
        for (const auto& member : listed.at("members"))
            if (member.at("user") == "yuki.tanaka")
                return member.at("present") == true;
        return false;
    };
    int attempts = 0;
    while (attempts < 200 && !isPresent())
        ++attempts;
    ASSERT_LT(attempts, 200);
    for (const char* text : {"one", "two"})
        EXPECT_EQ(anna({"mail", "send", "--to", "yuki.tanaka", "-t", text}).code, 0);
    EXPECT_EQ(watcher.Wait(), 0);
    std::vector<std::string> texts;
    std::ifstream lines(output);
    for (std::string line; std::getline(lines, line);)
        texts.push_back(json::parse(line).at("text"));
    EXPECT_EQ(texts, (std::vector<std::string>{"one", "two"}));
}

TEST_F(MailCommandTest, AnInterruptEndsWhateverWaits)
{
    const struct {
        std::vector<std::string> command;
        const char* shown;
    } waiting[] = {{{"mail", "watch"}, "Waiting for mail"},
                   {{"mail", "send", "--to", "yuki.tanaka"}, "Type the text"}};
    for (const auto& each : waiting) {
        auto command = On("anna.novak", Project, each.command);
        command.insert(command.begin(), SYCLIENT_TEST_CLI);
        command.insert(command.end(),
                       {"--data-folder", (folder.Path() / "data" / "anna.novak").string()});
        EXPECT_EQ(TerminalRun(command, each.shown, {"\x03"}).code, 130) << each.shown;
    }
}

TEST_F(MailCommandTest, ARequestIsGrantedOnceAndEndsWithItsAnswer)
{
    const auto sent =
        JsonAs("anna.novak", {"mail", "request", "--to", "yuki.tanaka", "-t", "wall"});
    const std::string id = sent.at("id");
    const std::string received = Mails("yuki.tanaka")[0].at("id");
    EXPECT_EQ(As("yuki.tanaka", {"mail", "revoke", "--id", received}).code, 2) << "not hers";
    EXPECT_EQ(As("yuki.tanaka", {"mail", "accept", "--id", received}).code, 0);
    EXPECT_EQ(As("yuki.tanaka", {"mail", "deny", "--id", received}).code, 2) << "answered already";
    const auto mails = Mails("anna.novak");
    ASSERT_EQ(mails.size(), 2u);
    EXPECT_EQ(mails[1].at("kind"), "accepted");
    EXPECT_EQ(mails[1].at("parent"), mails[0].at("id"));
    EXPECT_EQ(mails[0].at("history"), false);
    EXPECT_EQ(As("anna.novak", {"mail", "revoke", "--id", mails[0].at("id")}).code, 2)
        << "too late";
    const std::string answer = mails[1].at("id");
    EXPECT_EQ(As("anna.novak", {"mail", "read", "--id", answer}).code, 0);
    EXPECT_EQ(Mails("anna.novak")[0].at("history"), true);
    EXPECT_EQ(Mails("yuki.tanaka")[0].at("history"), true);
}

TEST_F(MailCommandTest, AListIsNarrowedSortedAndCut)
{
    const auto send = [&](std::vector<std::string> command) {
        command.insert(command.end(), {"--to", "yuki.tanaka"});
        return JsonAs("anna.novak", std::move(command)).at("sent") == true;
    };
    ASSERT_TRUE(send({"mail", "send", "-t", "wall north", "--importance", "high"}));
    ASSERT_TRUE(send({"mail", "send", "-t", "ÜBER alles"}));
    ASSERT_TRUE(send({"mail", "request", "-t", "wall south"}));
    const std::string id = Mails("yuki.tanaka")[0].at("id");
    EXPECT_EQ(As("yuki.tanaka", {"mail", "reply", id.substr(0, 6), "-t", "an answer"}).code, 0);
    EXPECT_EQ(As("yuki.tanaka", {"mail", "read", id.substr(0, 5)}).code, 2);
    using Texts = std::vector<std::string>;
    const struct {
        Texts command;
        Texts texts;
    } rows[] = {{{"list"}, {"wall north", "ÜBER alles", "wall south"}},
                {{"list", "--unread"}, {"ÜBER alles", "wall south"}},
                {{"list", "--waiting"}, {"wall south"}},
                {{"list", "--sent"}, {"an answer"}},
                {{"list", "--history"}, {}},
                {{"list", "--all", "--search", "WALL anna"}, {"wall north", "wall south"}},
                {{"list", "--search", "über"}, {"ÜBER alles"}},
                {{"list", "--limit", "2"}, {"ÜBER alles", "wall south"}},
                {{"list", "--limit", "1", "--sort", "importance"}, {"wall north"}},
                {{"list", "--search", "wall", "--sort", "subject", "--reverse"},
                 {"wall south", "wall north"}},
                {{"thread", id}, {"wall north", "an answer"}}};
    for (const auto& row : rows) {
        auto command = row.command;
        command.insert(command.begin(), "mail");
        Texts texts;
        const auto printed = JsonAs("yuki.tanaka", command);
        for (const auto& mail : printed.begin().value())
            texts.push_back(mail.at("text"));
        EXPECT_EQ(texts, row.texts) << testing::PrintToString(row.command);
    }
}

TEST_F(MailCommandTest, MembersComeWithPhotosSessionsAndPresence)
{
    const auto photos = folder.Path() / "photos";
    // Coded they would be longer than a file name may be.
    for (const char* user : {"yuki.tanaka", "lena.fischer"})
        EditStore(server.StorePath(), "UPDATE users SET login = replace(hex(zeroblob(60)), '00', "
                                      "'\u4e2d') || login WHERE login = '" +
                                          std::string(user) + "'");
    const auto members =
        JsonAs("anna.novak", {"members", "--photos", photos.string()}).at("members");
    ASSERT_EQ(members.size(), 8u);
    EXPECT_EQ(members[0].at("user"), "anna.novak");
    EXPECT_EQ(members[0].at("role"), "Project Manager");
    EXPECT_EQ(members[0].at("working"), true);
    EXPECT_EQ(members[0].at("present"), false) << "nothing listens for her just now";
    EXPECT_TRUE(members[0].at("photo").is_string());
    EXPECT_EQ(members[7].at("photo"), nullptr);
    for (const auto& member : members)
        EXPECT_EQ(ReadBytes(photos / member.at("photoFile").get<std::string>()).substr(1, 3),
                  "PNG");
}
