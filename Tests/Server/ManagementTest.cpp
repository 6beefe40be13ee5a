#include "ServerTest.hpp"

#include "OVRoot/Base64.hpp"

#include <algorithm>

namespace {

using nlohmann::json;

class ManagementTest : public ServerTest {
protected:
    static std::string UserPath(const std::string& login, const std::string& what)
    {
        return "/root/syncrav2/users/" + login + '/' + what;
    }
    static std::string MemberPath(const std::string& project, const std::string& login = "")
    {
        return "/root/syncrav2/projects/" + project + "/members" +
               (login.empty() ? "" : "/" + login);
    }
    static std::string StatePath(const std::string& project)
    {
        return "/root/syncrav2/projects/" + project + "/state";
    }
};

const std::string Png = std::string("\x89PNG\r\n\x1a\n", 8) + '\0';
const std::string Jpeg = "\xff\xd8\xff\xe0";

json PhotoBody(const std::string& type, const std::string& data)
{
    return {{"type", type}, {"data", OV::EncodeBase64(data)}};
}

}  // namespace

TEST_F(ManagementTest, APhotoIsChangedByItsUserAndAdministratorsAndIsAlwaysAPicture)
{
    struct Case {
        const char* user;
        std::string login;
        json body;
        int code;
    };
    const auto large = Jpeg + std::string((4u << 20) - Jpeg.size(), '\xff');
    const std::vector<Case> cases = {
        {"jonas.berg", "jonas.berg", PhotoBody("image/png", Png), 0},
        {"jonas.berg", "jonas.berg", PhotoBody("image/jpeg", Png), 1},
        {"jonas.berg", "jonas.berg", PhotoBody("image/png", Jpeg), 1},
        {"jonas.berg", "jonas.berg", PhotoBody("image/gif", "GIF89a"), 1},
        {"jonas.berg", "jonas.berg", PhotoBody("", Png), 1},
        {"jonas.berg", "jonas.berg", {{"type", "image/png"}, {"data", "=no base64="}}, 1},
        {"jonas.berg", "jonas.berg", PhotoBody("image/jpeg", large + 'x'), 4},
        {"jonas.berg", "anna.novak", PhotoBody("image/png", Png), 13},
        {"anna.novak", "jonas.berg", PhotoBody("image/png", Png), 13},
        {"admin", "nobody", PhotoBody("image/png", Png), 12},
        {"admin", "jonas.berg", PhotoBody("image/jpeg", large), 0},
        {"jonas.berg", "jonas.berg", PhotoBody("", ""), 0},
    };
    auto reader = Manager("yuki.tanaka");
    auto last = PhotoBody("", "");
    for (const auto& [user, login, body, code] : cases) {
        const auto answer = Manager(user).Ask("PUT", UserPath(login, "photo"), body.dump());
        EXPECT_EQ(answer.Code(), code) << user << ' ' << body.dump().substr(0, 100);
        if (code == 0)
            last = body;
        EXPECT_TRUE(reader.Ask("GET", UserPath("jonas.berg", "photo")).json == last)
            << user << ' ' << body.dump().substr(0, 100);
    }
    EXPECT_EQ(reader.Ask("GET", UserPath("nobody", "photo")).Code(), 12);
    EXPECT_EQ(Manager("liam.walsh").Ask("GET", UserPath("jonas.berg", "photo")).Code(), 12)
        << "they share no project";
    for (const auto& [login, signature] :
         {std::pair{"anna.novak", Png.substr(0, 8)}, {"marco.rossi", Jpeg.substr(0, 3)}}) {
        const auto photo = reader.Ask("GET", UserPath(login, "photo")).json;
        EXPECT_TRUE(OV::DecodeBase64(photo.at("data").get<std::string>())->starts_with(signature))
            << login;
    }
}

TEST_F(ManagementTest, EveryRequestIsAnsweredOrRefusedByTheRightsOfTheUser)
{
    struct Case {
        const char* user;
        const char* method;
        std::string target;
        std::string body;
        int code;
    };
    const std::string users = "/root/syncrav2/users";
    const std::string add = R"({"loginName":"nora.lind","role":"Viewer"})";
    const std::string engineer = R"({"role":"Engineer"})";
    const std::string locked = R"({"state":1})";
    const std::vector<Case> cases = {
        // sofia.costa manages the members of City Library by her role there.
        {"admin", "GET", users, "", 0},
        {"anna.novak", "GET", users, "", 0},
        {"sofia.costa", "GET", users, "", 0},
        {"liam.walsh", "GET", UserPath("liam.walsh", "groups"), "", 0},
        {"liam.walsh", "GET", UserPath("admin", "groups"), "", 13},
        {"sofia.costa", "GET", UserPath("nobody", "groups"), "", 12},
        {"sofia.costa", "POST", MemberPath(Sample::HarbourBridge), add, 13},
        {"anna.novak", "POST", MemberPath(Sample::Nowhere), add, 12},
        {"sofia.costa", "POST", MemberPath(Sample::CityLibrary), add, 0},
        {"sofia.costa", "POST", MemberPath(Sample::CityLibrary), add, 18},
        {"nora.lind", "POST", MemberPath(Sample::CityLibrary), add, 13},
        {"anna.novak", "POST", MemberPath(Sample::OpenHouse), add, 0},
        {"admin", "POST", MemberPath(Sample::OpenHouse), R"({"loginName":"x","role":"Viewer"})",
         12},
        {"admin", "POST", MemberPath(Sample::OpenHouse), R"({"loginName":"admin","role":"x"})", 12},
        {"admin", "POST", MemberPath(Sample::OpenHouse), R"({"loginName":"admin"})", 1},
        {"nora.lind", "PUT", MemberPath(Sample::CityLibrary, "nora.lind"), engineer, 13},
        {"sofia.costa", "PUT", MemberPath(Sample::CityLibrary, "nora.lind"), engineer, 0},
        {"sofia.costa", "PUT", MemberPath(Sample::CityLibrary, "liam.walsh"), engineer, 12},
        {"mei.chen", "DELETE", MemberPath(Sample::CityLibrary, "nora.lind"), "", 13},
        {"sofia.costa", "DELETE", MemberPath(Sample::CityLibrary, "liam.walsh"), "", 12},
        {"sofia.costa", "DELETE", MemberPath(Sample::CityLibrary, "nora.lind"), "", 0},
        {"sofia.costa", "DELETE", MemberPath(Sample::CityLibrary, "nora.lind"), "", 12},
        {"sofia.costa", "PUT", StatePath(Sample::CityLibrary), locked, 13},
        {"anna.novak", "PUT", StatePath(Sample::Nowhere), locked, 12},
        {"anna.novak", "PUT", StatePath(Sample::CityLibrary), R"({"state":0})", 1},
        {"anna.novak", "PUT", StatePath(Sample::CityLibrary), R"({"state":4})", 1},
        {"anna.novak", "PUT", StatePath(Sample::CityLibrary), locked, 0},
        // Who takes the right from himself has it no more.
        {"sofia.costa", "PUT", MemberPath(Sample::CityLibrary, "sofia.costa"), engineer, 0},
        {"sofia.costa", "POST", MemberPath(Sample::CityLibrary), add, 13},
    };
    for (const auto& [user, method, target, body, code] : cases)
        EXPECT_EQ(Manager(user).Ask(method, target, body).Code(), code)
            << user << ' ' << method << ' ' << target << ' ' << body;
    const auto list = Manager("admin").Ask("GET", users).json.at("items");
    ASSERT_EQ(list.size(), 16u);
    EXPECT_EQ(list[0].at("loginName"), "admin");
    EXPECT_EQ(list[2].at("enabled"), false);
    EXPECT_EQ(list.dump().find("argon"), std::string::npos);
    EXPECT_EQ(Manager("admin").Ask("GET", UserPath("anna.novak", "groups")).json,
              (json{{"groups", {"ProjectManagers"}}}));
    EXPECT_EQ(SignedIn("anna.novak").Ask("GET", ProjectPath(Sample::CityLibrary, "state")).json,
              (json{{"state", 1}}));
}

TEST_F(ManagementTest, ARemovedMemberIsOutAtOnceAndEverybodyIsTold)
{
    auto marco = SignedIn("marco.rossi");
    auto lena = SignedIn("lena.fischer");
    Hold(marco, "marco.rossi", 0);
    Hold(lena, "lena.fischer", 0);
    auto admin = Manager("admin");
    ASSERT_EQ(admin.Ask("DELETE", MemberPath(Sample::HarbourBridge, "marco.rossi")).Code(), 0);
    for (auto* listener : {&marco, &lena})
        EXPECT_EQ(listener->End().json.at("signals").at(0).at("id"), 3);
    const auto next = lena.Ask("GET", BridgeSignals(1, 60'000)).json;
    EXPECT_EQ(next.at("signals").at(0).at("id"), 2);
    EXPECT_EQ(marco.Ask("GET", BridgeSignals(1, 60'000)).Code(), 13);
    const auto all = Bridge("sessions?scope=all");
    EXPECT_EQ(lena.Ask("GET", all).json.at("sessions"), json::array());

    // He is 2 in the data of the project for ever, and so is the last one.
    for (const auto& [gone, add] : {std::pair{"", "marco.rossi"}, {"admin", "nora.lind"}}) {
        if (*gone != 0) {
            ASSERT_EQ(admin.Ask("DELETE", MemberPath(Sample::HarbourBridge, gone)).Code(), 0);
        }
        const json body{{"loginName", add}, {"role", "Viewer"}};
        ASSERT_EQ(admin.Ask("POST", MemberPath(Sample::HarbourBridge), body.dump()).Code(), 0);
    }
    const auto members = lena.Ask("GET", Bridge("members")).json;
    std::vector<int> ids;
    for (const auto& member : members.at("members"))
        ids.push_back(member.at("id"));
    EXPECT_EQ(ids, (std::vector<int>{1, 3, 4, 5, 6, 7, 9, 10}));

    auto anna = SignedIn("anna.novak");
    Hold(anna, "anna.novak", 5);
    ASSERT_EQ(admin.Ask("PUT", StatePath(Sample::HarbourBridge), R"({"state":3})").Code(), 0);
    ASSERT_EQ(admin.Ask("PUT", StatePath(Sample::HarbourBridge), R"({"state":2})").Code(), 0);
    EXPECT_EQ(anna.End().json.at("signals"),
              (json::array({{{"sequence", 6}, {"id", 1}, {"projectId", Sample::HarbourBridge}}})));
}

TEST_F(ManagementTest, ASessionIsEndedByWhoManagesTheMembersAndItsOwnerAloneIsToldWhy)
{
    auto yuki = SignedIn("yuki.tanaka");
    auto lena = SignedIn("lena.fischer");
    const std::string sessions = "/root/syncrav2/sessions";
    const std::string id = yuki.Ask("POST", Bridge("sessions"), "{}").json.at("id");
    const auto end = sessions + '/' + id + "/end";
    const auto told = "/syncra/v1/sessions/" + id + "/end";
    EXPECT_EQ(yuki.Ask("PUT", "/syncra/v1/sessions/" + id + "/attributes/ComputerName",
                       R"({"value":"ATELIER-3"})")
                  .Code(),
              0);
    EXPECT_EQ(yuki.Ask("GET", told).Code(), 12);
    const std::string why = R"({"reason":"The plotter needs it."})";
    const struct {
        const char* user;
        const char* method;
        std::string target;
        std::string body;
        int code;
    } rows[] = {{"lena.fischer", "GET", sessions + "?project=" + Sample::HarbourBridge, "", 13},
                {"admin", "GET", sessions + "?project=" + Sample::Nowhere, "", 12},
                {"lena.fischer", "POST", end, why, 12},
                {"sofia.costa", "POST", end, why, 12},  // manages members of another project
                {"admin", "POST", end, "{}", 1},
                {"admin", "POST", end, R"({"reason":")" + std::string(1025, 'x') + "\"}", 20}};
    for (const auto& row : rows)
        EXPECT_EQ(Manager(row.user).Ask(row.method, row.target, row.body).Code(), row.code)
            << row.user << ' ' << row.target;
    EXPECT_EQ(Manager("lena.fischer").Ask("GET", sessions).json.at("sessions"), json::array());
    EXPECT_EQ(Manager("sofia.costa").Ask("GET", sessions).json.at("sessions").size(), 1u)
        << "those of her project alone";
    const auto listed = Manager("anna.novak").Ask("GET", sessions).json.at("sessions");
    const auto found = std::find_if(listed.begin(), listed.end(),
                                    [&](const json& session) { return session.at("id") == id; });
    ASSERT_NE(found, listed.end());
    EXPECT_EQ(found->at("computer"), "ATELIER-3");
    EXPECT_EQ(found->at("projectName"), "Harbour Bridge");

    const auto now = lena.Ask("GET", BridgeSignals(0, 0)).json.at("next").get<std::uint64_t>();
    EXPECT_EQ(Manager("anna.novak").Ask("POST", end, why).Code(), 0);
    EXPECT_EQ(yuki.Ask("POST", Bridge("sessions"), "{}").Code(), 0) << "he may begin a new one";
    const auto idsOf = [&](Client& user) {
        std::vector<int> ids;
        auto next = now;
        while (std::count(ids.begin(), ids.end(), 2) < 2) {
            const auto batch = user.Ask("GET", BridgeSignals(next, 60'000)).json;
            next = batch.at("next");
            for (const auto& signal : batch.at("signals"))
                ids.push_back(signal.at("id"));
        }
        return ids;
    };
    EXPECT_EQ(idsOf(yuki), (std::vector{2, 5, 2}));
    EXPECT_EQ(idsOf(lena), (std::vector{2, 2}));
    EXPECT_EQ(yuki.Ask("GET", told).json.at("reason"), "The plotter needs it.");
    EXPECT_EQ(yuki.Ask("GET", told).json.at("by"), "anna.novak");
    EXPECT_EQ(lena.Ask("GET", told).Code(), 12);
    EXPECT_EQ(Manager("admin").Ask("POST", end, why).Code(), 12) << "it has ended";
}
