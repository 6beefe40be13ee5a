#include "ServerTest.hpp"

#include <set>

namespace {

using nlohmann::json;
using ModelServiceTest = ServerTest;

std::string SessionPath(const std::string& session)
{
    return "/syncra/v1/sessions/" + session;
}

/// The id of a new session.
std::string Start(Client& client, const std::string& project)
{
    return client.Ask("POST", "/syncra/v1/projects/" + project + "/sessions", "{}")
        .json.value("id", "");
}

}  // namespace

TEST_F(ModelServiceTest, EveryRequestIsAnsweredOrRefusedByItsRule)
{
    struct Case {
        const char* user;
        const char* method;
        std::string target;
        const char* body;
        int status;
        int code;
    };
    const auto path = [](const std::string& project, const char* what) {
        return ProjectPath(project, what);
    };
    const std::vector<Case> cases = {
        {"anna.novak", "GET", "/syncra/v1/ports", "", 200, 0},
        {"anna.novak", "GET", "/syncra/v1/projects", "", 200, 0},
        {"anna.novak", "GET", "/syncra/v1/projects/overview", "", 200, 0},
        {"anna.novak", "GET", "/syncra/v1/projects/exists", "", 400, 1},
        {"anna.novak", "GET", Bridge("membership"), "", 200, 0},
        {"anna.novak", "GET", path(Sample::Nowhere, "membership"), "", 404, 12},
        {"anna.novak", "GET", path("%00", "membership"), "", 404, 12},
        {"anna.novak", "GET", path("'%20OR%201=1--", "membership"), "", 404, 12},
        {"liam.walsh", "GET", Bridge("membership"), "", 200, 0},
        {"anna.novak", "GET", Bridge("state"), "", 200, 0},
        {"anna.novak", "GET", path(Sample::Nowhere, "state"), "", 404, 12},
        {"liam.walsh", "GET", Bridge("state"), "", 403, 13},
        {"anna.novak", "GET", path(Sample::OpenHouse, "state"), "", 403, 13},
        {"anna.novak", "GET", path(Sample::Nowhere, "sessions"), "", 404, 12},
        {"liam.walsh", "GET", Bridge("sessions"), "", 403, 13},
        {"liam.walsh", "GET", Bridge("sessions?scope=all"), "", 403, 13},
        {"anna.novak", "GET", Bridge("sessions?scope=mine"), "", 400, 1},
        {"anna.novak", "GET", path(Sample::Nowhere, "members"), "", 404, 12},
        {"liam.walsh", "GET", Bridge("members"), "", 403, 13},
        {"liam.walsh", "POST", Bridge("sessions"), "{}", 403, 13},
        {"anna.novak", "POST", path(Sample::Nowhere, "sessions"), "{}", 404, 12},
        {"anna.novak", "POST", path(Sample::OldMill, "sessions"), "{}", 423, 24},
        {"marco.rossi", "POST", Bridge("sessions"), "{}", 409, 17},
        {"anna.novak", "DELETE", SessionPath("nothing"), "", 404, 12},
        {"anna.novak", "GET", SessionPath("nothing/attributes/a"), "", 404, 12},
        {"anna.novak", "PUT", SessionPath("nothing/attributes/a"), "{\"value\":\"\"}", 404, 12},
        {"anna.novak", "GET", BridgeSignals(0, 0), "", 200, 0},
        {"anna.novak", "GET", SignalPath(Sample::Nowhere, 0, 0), "", 404, 12},
        {"liam.walsh", "GET", BridgeSignals(0, 0), "", 403, 13},
        {"anna.novak", "GET", "/syncra/v1/signals", "", 400, 1},
        {"anna.novak", "GET", "/syncra/v1/signals?after=-1&project=" + Sample::HarbourBridge, "",
         400, 1},
        {"anna.novak", "GET", "/syncra/v1/signals?wait=1e3&project=" + Sample::HarbourBridge, "",
         400, 1},
        {"anna.novak", "GET",
         "/syncra/v1/signals?after=18446744073709551616&project=" + Sample::HarbourBridge, "", 400,
         1},
    };
    for (const auto& [user, method, target, body, status, code] : cases) {
        const auto answer = SignedIn(user).Ask(method, target, body);
        EXPECT_EQ(answer.status, status) << user << ' ' << method << ' ' << target;
        EXPECT_EQ(answer.Code(), code) << user << ' ' << method << ' ' << target;
    }
}

TEST_F(ModelServiceTest, SignInTellsWrongCredentialsOtherVersionsAndClosedAccountsApart)
{
    Client client(server.ModelPort());
    EXPECT_EQ(client.SignIn("anna.novak", "wrong").Code(), 10);
    EXPECT_EQ(client.SignIn("nobody", "nexar-sample").Code(), 10);
    EXPECT_EQ(client.SignIn("' OR 1=1--", "").Code(), 10);
    EXPECT_EQ(client.SignIn("anna.novak", std::string("nexar-sample\0x", 14)).Code(), 10);
    EXPECT_EQ(client.SignIn("former.member", "wrong").Code(), 10);
    EXPECT_EQ(client.SignIn("former.member", "nexar-sample").Code(), 16);
    EXPECT_EQ(client.SignIn("anna.novak", "nexar-sample", 2).Code(), 30);
    // Another version may have other fields.
    EXPECT_EQ(client.Ask("POST", "/syncra/v1/sign-in", R"({"protocol":9,"ticket":"x"})").status,
              426);
    EXPECT_EQ(client.SignIn("anna.novak", "nexar-sample").status, 200);
}

TEST_F(ModelServiceTest, ARememberedPasswordIsForgottenWhenItChanges)
{
    Client client(server.ModelPort());
    EXPECT_EQ(client.SignIn("anna.novak", "nexar-sample").status, 200);
    EXPECT_EQ(client.SignIn("anna.novak", "nexar-sample").status, 200);
    EXPECT_EQ(client.SignIn("anna.novak", "nexar-sampl").status, 401);
    // Each hash of the same password has a salt of its own.
    Sql("UPDATE users SET password_hash = '' WHERE login = 'anna.novak'");
    EXPECT_EQ(client.SignIn("anna.novak", "nexar-sample").Code(), 10);
    EXPECT_EQ(client.SignIn("anna.novak", "").Code(), 10);
}

TEST_F(ModelServiceTest, ATokenEndsWithItsSignOutItsAccountAndItsUser)
{
    auto leaving = SignedIn("anna.novak");
    auto other = SignedIn("anna.novak");
    EXPECT_EQ(leaving.Ask("POST", "/syncra/v1/sign-out", "{}").status, 200);
    EXPECT_EQ(leaving.Ask("GET", "/syncra/v1/projects").Code(), 15);
    EXPECT_EQ(other.Ask("GET", "/syncra/v1/projects").status, 200);
    Sql("UPDATE users SET enabled = 0 WHERE login = 'anna.novak'");
    EXPECT_EQ(other.Ask("GET", "/syncra/v1/projects").Code(), 16);
    auto deleted = SignedIn("liam.walsh");
    Sql("DELETE FROM users WHERE login = 'liam.walsh'");
    EXPECT_EQ(deleted.Ask("GET", "/syncra/v1/projects").Code(), 15);
}

TEST_F(ModelServiceTest, TheOtherServicesSignInWithTheSameAccountsAndHaveNoModel)
{
    for (const auto port : {server.ManagementPort(), server.MessagingPort()}) {
        Client client(port, "anna.novak", ServerProcess::Password);
        EXPECT_EQ(client.Ask("GET", "/syncra/version").status, 200);
        EXPECT_FALSE(client.Token().empty());
        EXPECT_EQ(client.Ask("GET", "/syncra/v1/projects").Code(), 3);
    }
    const auto ports = SignedIn("anna.novak").Ask("GET", "/syncra/v1/ports").json.at("ports");
    const auto port = [&](std::size_t at) { return ports.at(at).at("port").get<int>(); };
    EXPECT_EQ(
        std::vector({port(0), port(1), port(2)}),
        (std::vector<int>{server.ModelPort(), server.ManagementPort(), server.MessagingPort()}));
}

TEST_F(ModelServiceTest, ASessionTellsWhatItsUserMayDoAndBelongsToHimAlone)
{
    auto anna = SignedIn("anna.novak");
    const auto session = anna.Ask("POST", Bridge("sessions"), "{}").json;
    EXPECT_EQ(session.at("loginName"), "anna.novak");
    EXPECT_EQ(session.at("roleName"), "Project Manager");
    EXPECT_EQ(session.at("projectId"), Sample::HarbourBridge);
    EXPECT_GE(session.at("logonId").get<int>(), 1);
    const auto permissions = session.at("permissions").get<std::set<std::string>>();
    EXPECT_TRUE(permissions.contains("ManageMembers"));
    EXPECT_EQ(anna.Ask("GET", Bridge("sessions")).json, (json{{"sessions", {session}}}));

    const std::string id = session.at("id");
    auto lena = SignedIn("lena.fischer");
    EXPECT_EQ(
        lena.Ask("PUT", SessionPath(id) + "/attributes/ComputerName", R"({"value":"x"})").Code(),
        12);
    EXPECT_EQ(lena.Ask("DELETE", SessionPath(id)).Code(), 12);
    EXPECT_EQ(lena.Ask("GET", Bridge("sessions")).json, json::parse(R"({"sessions":[]})"));
    EXPECT_EQ(anna.Ask("DELETE", SessionPath(id)).status, 200);
    EXPECT_EQ(anna.Ask("DELETE", SessionPath(id)).Code(), 12);

    const auto next = anna.Ask("POST", Bridge("sessions"), "{}").json;
    EXPECT_NE(next.at("id"), id);
    EXPECT_EQ(next.at("logonId"), session.at("logonId"));
}

TEST_F(ModelServiceTest, WhoAsksAgainHearsOfTheMembersWhoChangedAlone)
{
    auto anna = SignedIn("anna.novak");
    auto lena = SignedIn("lena.fischer");
    auto admin = Manager("admin");
    std::string place;
    // Of each member that is told: login, role, whether he has a photo, and his session.
    const auto ask = [&] {
        const auto answer =
            anna.Ask("GET", ProjectPath(Sample::HarbourBridge, "members/changes?after=" + place));
        place = answer.json.at("place");
        std::string told = answer.json.at("whole") ? "all:" : "";
        for (const auto& member : answer.json.at("members")) {
            told += " " + member.at("loginName").get<std::string>() + "/" +
                    member.at("roleName").get<std::string>() + "/" +
                    (member.at("photo") == "" ? "" : "photo") + "/" +
                    member.at("session").get<std::string>();
            EXPECT_FALSE(answer.json.at("roles").empty());
        }
        return told + (answer.json.at("gone").empty()
                           ? ""
                           : " -" + answer.json.at("gone")[0].get<std::string>());
    };
    EXPECT_EQ(ask(), "all: anna.novak/Project Manager/photo/ marco.rossi/Architect/photo/Normal "
                     "yuki.tanaka/Architect/photo/ lena.fischer/Engineer/photo/ "
                     "omar.haddad/Engineer/photo/ priya.nair/Engineer// jonas.berg/Viewer// "
                     "admin/Project Manager//");
    EXPECT_EQ(ask(), "");
    // Clients of before ask for everything.
    const auto list =
        anna.Ask("GET", ProjectPath(Sample::HarbourBridge, "members")).json.at("members");
    ASSERT_EQ(list.size(), 8u);
    EXPECT_EQ(list[6].at("permissions"), nlohmann::json::array({"Read"}));
    const std::string id = Start(lena, Sample::HarbourBridge);
    EXPECT_EQ(ask(), " lena.fischer/Engineer/photo/Normal");
    ASSERT_EQ(lena.Ask("PUT", SessionPath(id) + "/attributes/SessionType", R"({"value":"Backup"})")
                  .status,
              200);
    EXPECT_EQ(ask(), " lena.fischer/Engineer/photo/Backup");
    const std::string users = "/root/syncrav2/users/";
    ASSERT_EQ(admin.Ask("PUT", users + "lena.fischer/photo", R"({"type":"","data":""})").status,
              200);
    EXPECT_EQ(ask(), " lena.fischer/Engineer//Backup");
    const std::string members = "/root/syncrav2/projects/" + Sample::HarbourBridge + "/members/";
    ASSERT_EQ(admin.Ask("PUT", members + "lena.fischer", R"({"role":"Viewer"})").status, 200);
    ASSERT_EQ(admin.Ask("DELETE", members + "lena.fischer").status, 200);
    EXPECT_EQ(ask().substr(0, 2), " -");
    // A change of a role may be about anybody; a place of another life of the server says nothing.
    auto role = admin.Ask("GET", "/root/syncrav2/roles?name=Architect").json.at("items")[0];
    role["permissions"].clear();
    ASSERT_EQ(
        admin.Ask("PUT", "/root/syncrav2/roles/" + role.at("id").get<std::string>(), role.dump())
            .status,
        200);
    EXPECT_EQ(ask().substr(0, 4), "all:");
    place = "another.1";
    EXPECT_EQ(ask().substr(0, 4), "all:");
    EXPECT_EQ(ask(), "");
    EXPECT_EQ(SignedIn("liam.walsh")
                  .Ask("GET", ProjectPath(Sample::HarbourBridge, "members/changes?after="))
                  .Code(),
              13);
}

TEST_F(ModelServiceTest, AttributesKeepAnyTextAndEndWithTheSession)
{
    auto anna = SignedIn("anna.novak");
    const auto id = Start(anna, Sample::HarbourBridge);
    const std::string path = SessionPath(id) + "/attributes/";
    const std::string values[] = {"", "STUDIO-07", " \xe4\xb8\xad\"\\ ",
                                  R"(bell \u0007 lone \uD800)", std::string(4096, 'x')};
    for (const auto& value : values) {
        const json body{{"value", value}};
        EXPECT_EQ(anna.Ask("PUT", path + "Computer%20Name%2F1", body.dump()).status, 200);
        EXPECT_EQ(anna.Ask("GET", path + "Computer%20Name%2F1").json, body);
    }
    EXPECT_EQ(anna.Ask("GET", path + "Other").json, (json{{"value", ""}}));
    EXPECT_EQ(anna.Ask("PUT", path + "a", json{{"value", std::string(4097, 'x')}}.dump()).Code(),
              4);
    EXPECT_EQ(anna.Ask("PUT", path + "a", R"({"value":1})").Code(), 1);
    EXPECT_EQ(anna.Ask("DELETE", SessionPath(id)).status, 200);
    EXPECT_EQ(anna.Ask("GET", path + "a").Code(), 12);
}
