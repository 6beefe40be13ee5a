#include "Commands/CommandTest.hpp"
#include "Support/TerminalRun.hpp"

namespace {

using Strings = std::vector<std::string>;
using Json = nlohmann::json;

class AdminCommandTest : public CommandTest {
protected:
    Strings Command(Strings words, const std::string& user = "admin") const
    {
        for (const std::string& word :
             {std::string("-s"), std::string("127.0.0.1"), std::string("-p"),
              std::to_string(server.ModelPort()), std::string("-u"), user})
            words.push_back(word);
        return words;
    }
    CommandResult Admin(Strings words, const std::string& user = "admin") const
    {
        words.insert(words.end(), {"--password-file", PasswordFile().string()});
        return Run(Command(std::move(words), user));
    }
    Json Shown(const Strings& words, const std::string& user = "admin") const
    {
        Strings command = words;
        command.push_back("--json");
        const auto run = Admin(command, user);
        EXPECT_EQ(run.code, 0) << run.errors;
        return Json::parse(run.output, nullptr, false);
    }
};

TEST_F(AdminCommandTest, EveryKindIsAddedChangedShownAndDeletedByNames)
{
    const struct {
        Strings add, change;
        Json shown;  ///< but for what only the server knows
        int deleted = 0;
    } rows[] = {
        {{"permissions", "Pl\u00f6tten", "--description", "x"},
         {"--rename", "Plotting"},
         {{"name", "Plotting"}, {"description", "x"}, {"builtIn", false}}},
        {{"permission-sets", "Work", "--permission", "read", "--permission", "Write"},
         {"--permission", "ReadLog"},
         {{"name", "Work"}, {"description", ""}, {"permissions", {"ReadLog"}}}},
        {{"roles", "Guest", "--permission", "Read", "--permission-set", "Design Work"},
         {"--permission", ""},
         {{"name", "Guest"},
          {"description", ""},
          {"permissions", Json::array()},
          {"permissionSet", "Design Work"},
          {"builtIn", false}}},
        {{"groups", "Night"},
         {"--description", "Late"},
         {{"name", "Night"},
          {"description", "Late"},
          {"users", Json::array()},
          {"builtIn", false}}},
        {{"properties", "Level", "--type", "choice", "--choice", "1", "--choice", "2"},
         {"--choice", "3"},
         {{"name", "Level"}, {"description", ""}, {"type", "choice"}, {"choices", {"3"}}}},
        {{"users", "z.lan", "--full-name", "Z", "--colour", "#00ff10", "--property", "Floor=2=b"},
         {"--enabled", "no", "--email", "z@lan.example"},
         {{"user", "z.lan"},
          {"fullName", "Z"},
          {"email", "z@lan.example"},
          {"enabled", false},
          {"colour", "#00FF10"},
          {"properties", {{"Floor", "2=b"}}},
          {"groups", Json::array()}}},
        {{"projects", "Quay", "--member", "mei.chen=Viewer", "--member", "anna.novak=viewer"},
         {"--member", "mei.chen=", "--state", "locked", "--maximum-backups", "3"},
         {{"name", "Quay"},
          {"description", ""},
          {"category", ""},
          {"state", "locked"},
          {"dataVersion", ""},
          {"maximumBackups", 3},
          {"members", {{"anna.novak", "Viewer"}}}}},
        {{"categories", "Bridges"}, {"--rename", "Spans"}, {{"name", "Spans"}}},
    };
    ASSERT_EQ(Admin({"properties", "add", "Floor"}).code, 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.add[0]);
        const std::string kind = row.add[0];
        const auto with = [&](const std::string& action, Strings words) {
            words.insert(words.begin(), {kind, action});
            return words;
        };
        Strings add(row.add.begin() + 1, row.add.end());
        EXPECT_EQ(Shown(with("add", add)).at("id").get<std::string>().size(), 36u);
        const std::string name = kind == "users" ? row.shown.at("user") : row.shown.at("name");
        Strings change = row.change;
        change.insert(change.begin(), add[0]);
        const auto changed = Admin(with("set", change));
        EXPECT_EQ(changed.code, 0) << changed.errors;
        Json shown = Shown(with("show", {name}));
        shown.erase("id");
        shown.erase("location");
        EXPECT_EQ(shown, row.shown);
        EXPECT_NE(Shown(with("list", {}))
                      .at(kind == "permission-sets" ? "permissionSets" : kind)
                      .dump()
                      .find('"' + name + '"'),
                  std::string::npos);
        EXPECT_EQ(Admin(with("remove", {name})).code, 2) << "nobody to ask";
        EXPECT_EQ(Admin(with("remove", {name, "--yes"})).code, 0);
        const auto gone = Admin(with("show", {name}));
        EXPECT_EQ(gone.code, 3);
        EXPECT_NE(gone.errors.find("syclient " + kind + " list"), std::string::npos);
    }
}

TEST_F(AdminCommandTest, SpecialActionsDoTheirWork)
{
    const std::string picture = SYCLIENT_TEST_SOURCE_DIR "/Server/SamplePhotos/lena.fischer.png";
    for (const Strings& words : std::vector<Strings>{
             {"groups", "join", "ProjectManagers", "mei.chen"},
             {"groups", "leave", "projectmanagers", "ANNA.novak"},
             {"roles", "duplicate", "Engineer", "Twin"},
             {"categories", "merge", "--into", "Housing", "Infrastructure", "Competitions"},
             {"users", "photo", "nora.lind", "--set", picture},
             {"users", "photo", "lena.fischer", "--clear"}}) {
        const auto run = Admin(words);
        EXPECT_EQ(run.code, 0) << words[0] << ' ' << words[1] << ": " << run.errors;
    }
    EXPECT_EQ(Shown({"groups", "show", "ProjectManagers"}).at("users"), Json({"mei.chen"}));
    EXPECT_EQ(Shown({"roles", "show", "Twin"}).at("permissionSet"),
              Shown({"roles", "show", "Engineer"}).at("permissionSet"));
    EXPECT_EQ(Shown({"projects", "show", "Harbour Bridge"}).at("category"), "Housing");
    EXPECT_FALSE(Shown({"modules", "list"}).at("modules").empty());
    EXPECT_EQ(Admin({"projects", "add", "Pier", "--category", "Nope"}).code, 3);
    ASSERT_EQ(Run(On("anna.novak", "Harbour Bridge", {"open"})).code, 0);
    for (const Strings& words : std::vector<Strings>{
             {"projects", "members", "add", "harbour bridge", "nora.lind", "Viewer"},
             {"projects", "members", "role", "Harbour Bridge", "nora.lind", "Engineer"},
             {"projects", "members", "remove", "Harbour Bridge", "marco.rossi", "--yes"}})
        EXPECT_EQ(Admin(words).code, 0) << words[2];
    const auto roles = Shown({"projects", "show", "Harbour Bridge"}).at("members");
    EXPECT_EQ(roles.at("nora.lind"), "Engineer");
    EXPECT_FALSE(roles.contains("marco.rossi"));
    const Strings end{"sessions", "end", "anna.novak", "--reason", "Maintenance"};
    EXPECT_EQ(Admin(end).code, 2) << "nobody is there to be asked";
    EXPECT_EQ(Admin(end, "lena.fischer").code, 3);
    auto command = Command(end);
    command.insert(command.begin(), SYCLIENT_TEST_CLI);
    command.insert(command.end(), {"--password-file", PasswordFile().string()});
    EXPECT_EQ(TerminalRun(command, "the session", {"y", "anna"}).code, 1);
    const Strings list{"sessions", "list", "--of-project", "Harbour Bridge"};
    ASSERT_EQ(Shown(list).at("sessions").size(), 1u);
    EXPECT_EQ(Shown(list).at("sessions").at(0).at("user"), "anna.novak");
    EXPECT_EQ(TerminalRun(command, "the session", {"y", "anna.novak"}).code, 0);
    EXPECT_TRUE(Shown(list).at("sessions").empty());
    const auto members =
        Json::parse(Run(On("anna.novak", "Harbour Bridge", {"members", "--json"})).output);
    for (const auto& member : members.at("members"))
        if (member.at("user") == "lena.fischer") {
            EXPECT_EQ(member.at("photo"), nullptr);
        }
}

TEST_F(AdminCommandTest, ANewPasswordIsReadUnseenAndShownNowhere)
{
    const auto run = Run(Command({"users", "password", "mei.chen", "--password-stdin",
                                  "--new-password-stdin", "--verbose"}),
                         std::string(ServerProcess::Password) + "\nnew-s3cret\n");
    EXPECT_EQ(run.code, 0) << run.errors;
    EXPECT_EQ((run.output + run.errors).find("s3cret"), std::string::npos);
    EXPECT_EQ(Admin({"roles", "list"}, "mei.chen").code, 12) << "the former one";
    EXPECT_EQ(Run(Command({"roles", "list", "--password-stdin"}, "mei.chen"), "new-s3cret\n").code,
              0);

    Strings typed =
        Command({"users", "password", "mei.chen", "--password-file", PasswordFile().string()});
    typed.insert(typed.begin(), SYCLIENT_TEST_CLI);
    EXPECT_EQ(TerminalRun(typed, "Password of ", {"other-s3cret", "misspelt"}).code, 2);
    EXPECT_EQ(TerminalRun(typed, "Password of ", {"other-s3cret", "other-s3cret"}).code, 0);
    EXPECT_EQ(
        Run(Command({"roles", "list", "--password-stdin"}, "mei.chen"), "other-s3cret\n").code, 0);
}

TEST_F(AdminCommandTest, RefusalsAreToldWithTheServersWordsAndAnExitCode)
{
    const struct {
        Strings words;
        const char* user;
        int code;
        const char* says;
    } rows[] = {
        {{"users", "set", "mei.chen", "--email=", "--colour=1"}, "admin", 2, "#RRGGBB"},
        {{"roles", "add", "viewer"}, "admin", 1, "viewer"},
        {{"roles", "remove", "Architect", "--yes"}, "admin", 1, "role"},
        {{"roles", "add", "Guest"}, "anna.novak", 12, "administrators"},
        {{"roles", "add", "Guest", "--permission", "Fly"}, "admin", 3, "no permission \"Fly\""},
        {{"groups", "join", "Administrators", "nobody"}, "admin", 3, "no user \"nobody\""},
        {{"users", "set", "mei.chen"}, "admin", 2, "--help"},
        {{"users", "set", "mei.chen", "--colour", "#12345"}, "admin", 2, "#RRGGBB"},
        {{"projects", "set", "Quay", "--state", "open"}, "admin", 3, "Quay"},
        {{"users", "photo", "mei.chen", "--set", "/dev/null"}, "admin", 2, "picture"},
        {{"modules", "show", "x"}, "admin", 2, ""},
        {{"users", "list"}, "nobody", 12, "wrong"},
        {{"server", "connect"}, "nobody", 12, "wrong login"},
        {{"server", "connect", "--group", "administrators"}, "anna.novak", 12, "group"},
        {{"server", "connect", "--group", "project-managers"}, "mei.chen", 12, "group"},
        {{"server", "connect", "--group", "gardeners"}, "admin", 2, "gardeners"},
    };
    for (const auto& row : rows) {
        const auto run = Admin(row.words, row.user);
        EXPECT_EQ(run.code, row.code) << row.words[0] << ' ' << row.words[1] << run.errors;
        EXPECT_NE(run.errors.find(row.says), std::string::npos) << run.errors;
        EXPECT_EQ(run.output, "");
    }
    const auto connected =
        Shown({"server", "connect", "--group", "project-managers"}, "anna.novak");
    EXPECT_EQ(connected.at("managementPort"), server.ManagementPort());
    EXPECT_EQ(Json::parse(Run({"server", "list", "--json"}).output).at("lastServer"), "127.0.0.1");
    server.Kill();
    EXPECT_EQ(Admin({"users", "list"}).code, 11);
    EXPECT_EQ(Admin({"server", "connect"}).code, 11);
}

}  // namespace
