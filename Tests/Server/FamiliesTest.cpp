#include "ServerTest.hpp"

#include "../../Server/Store/Sqlite/Schema.hpp"
#include "OVRoot/PercentCoding.hpp"
#include "SyncraClient/SyncraClient.hpp"
#include "SyncraServerManagement/UserRepository.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

namespace {

using nlohmann::json;

const std::string Root = "/root/syncrav2/";

/// A record of each family as a client makes it; whatever a family refers to is in the sample.
const std::map<std::string, json>& NewRecords()
{
    static const auto records = json::parse(R"({
        "users": {"loginName": "eva.ruiz", "fullName": "Eva Ruíz", "enabled": true,
                  "email": "eva.ruiz+work@example.com", "color": 16777215, "properties": {}},
        "roles": {"name": "Surveyor", "description": "two\nlines",
                  "permissions": ["Read", "Reserve"], "permissionSet": ""},
        "groups": {"name": "Läufer", "description": ""},
        "permissions": {"name": "Print", "description": "\\u005Cu0041 中\\u000D"},
        "permission-sets": {"name": "Paper", "description": "", "permissions": ["Read"]},
        "custom-properties": {"name": "Floor", "description": "", "type": 4,
                              "choices": ["upper", "lower"]},
        "projects": {"name": "Water Tower", "description": "", "category": "Housing", "state": 3,
                     "version": "14.0.0.0", "members": [], "maximumBackups": 4000000000,
                     "backupSchedules": [{"id": "mine", "frequency": 1, "startTime": 1800000000,
                                          "enabled": true}]},
        "categories": {"name": "Bridges"},
        "modules": {"name": "Plotter", "version": "", "address": "host-1.example:1",
                    "enabled": false}})")
                                    .get<std::map<std::string, json>>();
    return records;
}

json Patched(json record, const json& patch)
{
    record.merge_patch(patch);
    return record;
}

class FamiliesTest : public ServerTest {
protected:
    /// The id of the only record of that name.
    std::string IdOf(Client& client, const std::string& family, const std::string& name)
    {
        const auto items = client.Ask("GET", Root + family + "?name=" + name).json.at("items");
        return items.size() == 1 ? items[0].at("id").get<std::string>() : "none";
    }
    std::string UserId(const std::string& login)
    {
        auto admin = Manager("admin");
        return admin.Ask("GET", Root + "users/" + login).json.value("id", "none");
    }
    static int Count(Client& client, const std::string& family)
    {
        return static_cast<int>(client.Ask("GET", Root + family).json.at("items").size());
    }
};

}  // namespace

TEST_F(FamiliesTest, EveryFamilyListsInsertsFindsUpdatesAndDeletes)
{
    auto admin = Manager("admin");
    for (const auto& [family, record] : NewRecords()) {
        SCOPED_TRACE(family);
        const char* key = family == "users" ? "loginName" : "name";
        const auto path = Root + family;
        const auto count = Count(admin, family);
        const auto added = admin.Ask("POST", path, record.dump());
        ASSERT_EQ(added.Code(), 0) << added.json;
        const auto one = path + '/' + added.json.at("id").get<std::string>();
        EXPECT_EQ(admin.Ask("GET", one).json, added.json);
        for (const auto& [field, value] : record.items())
            if (field != "backupSchedules") {
                EXPECT_EQ(added.json.at(field), value) << field;
            }
        EXPECT_EQ(Count(admin, family), count + 1);
        // The answer is a good request, and what is the server's in it is not looked at.
        const auto again = Patched(added.json, {{"id", "x"}, {"builtIn", true}, {"groups", 7}});
        EXPECT_EQ(admin.Ask("PUT", one, again.dump()).json, added.json);

        auto upper = record;
        upper[key] = record.at(key).get<std::string>();
        for (auto& c : upper[key].get_ref<std::string&>())
            c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
        EXPECT_EQ(admin.Ask("POST", path, upper.dump()).Code(), 18);
        const auto query = (family == "users" ? "?loginName=" : "?name=") +
                           OV::PercentEncode(upper[key].get<std::string>());
        EXPECT_EQ(admin.Ask("GET", path + query).json, (json{{"items", {added.json}}}));
        EXPECT_EQ(admin.Ask("GET", path + "?name=").json, (json{{"items", json::array()}}));

        const auto other = admin.Ask("POST", path, Patched(record, {{key, "other"}}).dump()).json;
        const auto second = path + '/' + other.at("id").get<std::string>();
        EXPECT_EQ(admin.Ask("PUT", second, upper.dump()).Code(), 18);
        // Its own name in another letter case is free for it.
        EXPECT_EQ(admin.Ask("PUT", one, upper.dump()).json.at(key), upper.at(key));
        auto incomplete = record;
        incomplete.erase(key);
        EXPECT_EQ(admin.Ask("PUT", second, incomplete.dump()).Code(), 1);
        EXPECT_EQ(admin.Ask("GET", second).json, other);
        for (const auto& gone : {one, second}) {
            EXPECT_EQ(admin.Ask("DELETE", gone).Code(), 0);
            EXPECT_EQ(admin.Ask("DELETE", gone).Code(), 12);
            EXPECT_EQ(admin.Ask("PUT", gone, record.dump()).Code(), 12);
            EXPECT_EQ(admin.Ask("GET", gone).Code(), 12);
        }
        EXPECT_EQ(Count(admin, family), count);
    }
}

TEST_F(FamiliesTest, UsersInPartsAreAllUsersOnceWhoeverIsRenamedMeanwhile)
{
    Sql("WITH RECURSIVE numbers(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM numbers WHERE n < "
        "2500) INSERT INTO users (id, login, full_name, password_hash, color) "
        "SELECT 'many-' || n, 'user.' || (9999 - n), 'One Of Many', '', 0 FROM numbers");
    auto admin = Manager("admin");
    const auto named = [](const auto& users, const char* field) {
        std::vector<std::string> names;
        for (const auto& user : users)
            names.push_back(user.at(field));
        return names;
    };
    auto all = admin.Ask("GET", Root + "users").json.at("items");
    ASSERT_GT(all.size(), 2500U);
    Syncra::Client::SignInData data{u"127.0.0.1", server.ManagementPort(), u"admin",
                                    OV::FromUtf8(ServerProcess::Password)};
    Syncra::Server::Management::UserRepository repository(data);
    std::vector<std::string> listed;
    for (const auto& user : repository.Users().List())
        listed.push_back(OV::ToUtf8(user.loginName));
    EXPECT_EQ(listed, named(all, "loginName"));

    std::vector<std::string> ids;
    std::string cursor;
    do {
        const auto part = admin.Ask("GET", Root + "users?count=700&after=" + cursor).json;
        for (const auto& id : named(part.at("items"), "id"))
            ids.push_back(id);
        cursor = part.at("cursor");
        // To the front and to the end.
        Sql("UPDATE users SET login = 'zz.' || login WHERE id IN ('many-1', 'many-999'); "
            "UPDATE users SET login = '00.' || login WHERE id IN ('many-2', 'many-998')");
    } while (!cursor.empty());
    auto expected = named(all, "id");
    std::sort(expected.begin(), expected.end());
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, expected);
    auto jonas = Manager("jonas.berg");
    const auto own = jonas.Ask("GET", Root + "users?count=1&after=").json;
    EXPECT_EQ(named(own.at("items"), "loginName"), std::vector<std::string>{"jonas.berg"});
    EXPECT_FALSE(own.contains("cursor"));
}

TEST_F(FamiliesTest, RightsFollowTheGroupsOfTheUserAtEachRequest)
{
    // sofia.costa manages the members of City Library, anna.novak every project.
    const struct {
        const char* family;
        int listed;  ///< by somebody without a right, of what is there
        bool all;    ///< whether a manager of members lists all of it
        bool byProjectManager;
    } rows[] = {
        {"users", 1, true, false},           {"roles", 4, true, false},
        {"groups", 0, true, false},          {"permissions", 8, true, false},
        {"permission-sets", 2, true, false}, {"custom-properties", 3, true, false},
        {"projects", 0, false, true},        {"categories", 5, true, true},
        {"modules", 2, true, false},
    };
    auto admin = Manager("admin");
    auto anna = Manager("anna.novak");
    auto sofia = Manager("sofia.costa");
    auto liam = Manager("liam.walsh");
    for (const auto& [family, listed, all, byProjectManager] : rows) {
        SCOPED_TRACE(family);
        const auto total = Count(admin, family);
        EXPECT_EQ(Count(liam, family), listed);
        EXPECT_EQ(Count(sofia, family), all ? total : 1);
        EXPECT_EQ(Count(anna, family), total);
        const auto path = Root + family;
        const auto body = NewRecords().at(family).dump();
        const auto one =
            path + '/' + admin.Ask("POST", path, body).json.at("id").get<std::string>();
        EXPECT_EQ(liam.Ask("GET", one).Code(), listed > 1 ? 0 : 13);
        for (auto* user : {&liam, &sofia, &anna}) {
            const int code = user == &anna && byProjectManager ? 0 : 13;
            EXPECT_EQ(user->Ask("PUT", one, body).Code(), code);
            EXPECT_EQ(user->Ask("POST", path, body).Code(), code == 0 ? 18 : 13);
        }
        EXPECT_EQ(anna.Ask("DELETE", one).Code(), byProjectManager ? 0 : 13);
    }
    const auto liams = Root + "users/liam.walsh";
    EXPECT_EQ(liam.Ask("GET", liams).json,
              admin.Ask("GET", Root + "users/" + UserId("liam.walsh")).json);
    const auto membership = Root + "groups/Administrators/users/liam.walsh";
    const std::vector<std::pair<const char*, std::string>> forAdministrators = {
        {"PUT", membership},
        {"DELETE", Root + "groups/Administrators/users/admin"},
        {"POST", Root + "roles/Viewer/duplicate"},
        {"POST", Root + "merge"},
        {"PUT", Root + "configuration"},
        {"PUT", Root + "users/admin/password"},
    };
    for (const auto& [method, path] : forAdministrators)
        EXPECT_EQ(anna.Ask(method, path, "{}").Code(), 13) << path;
    ASSERT_EQ(admin.Ask("PUT", membership).Code(), 0);
    EXPECT_EQ(liam.Ask("DELETE", Root + "groups/Administrators/users/admin").Code(), 0);
    EXPECT_EQ(admin.Ask("DELETE", membership).Code(), 13);
    EXPECT_EQ(Count(admin, "users"), 17);  // he still manages the members of a project
    EXPECT_EQ(liam.Ask("DELETE", Root + "groups/Administrators/users/admin").Code(), 12);
}

TEST_F(FamiliesTest, NoRecordThatBreaksARuleIsTaken)
{
    auto admin = Manager("admin");
    const auto choice = IdOf(admin, "custom-properties", "Discipline");
    const auto anna = UserId("anna.novak");
    const std::string longName(129, 'n');
    const std::vector<std::pair<const char*, json>> cases = {
        {"users", {{"loginName", ""}}},
        {"users", {{"loginName", "eva,ruiz"}}},
        {"users", {{"loginName", "LOOKOUT"}}},
        {"users", {{"loginName", anna}}},
        {"users", {{"fullName", " Eva"}}},
        {"users", {{"email", "eva.ruiz"}}},
        {"users", {{"email", "eva@example.com, bob@example.com"}}},
        {"users", {{"properties", {{"nothing", "x"}}}}},
        {"users", {{"properties", {{choice, "Plumbing"}}}}},
        {"users", {{"password", "1234567"}}},
        {"roles", {{"name", longName}}},
        {"roles", {{"description", std::string(1025, 'd')}}},
        {"roles", {{"permissions", {"Read", "Fly"}}}},
        {"roles", {{"permissionSet", "none"}}},
        {"groups", {{"name", "two\nlines"}}},
        {"permissions", {{"name", "txt.\u202Eexe"}}},
        {"permissions", {{"name", "Re\u200Bad"}}},
        {"permissions", {{"name", "blank "}}},
        {"permission-sets", {{"permissions", {""}}}},
        {"custom-properties", {{"choices", json::array()}}},
        {"custom-properties", {{"choices", {"same", "same"}}}},
        {"custom-properties", {{"type", 1}}},
        {"projects", {{"state", 4}}},
        {"projects", {{"category", "housing"}}},
        {"projects", {{"members", {{{"user", "x"}, {"role", "Viewer"}}}}}},
        {"projects", {{"members", {{{"user", anna}, {"role", "x"}}}}}},
        {"projects",
         {{"members",
           {{{"user", anna}, {"role", "Viewer"}}, {{"user", anna}, {"role", "Project Manager"}}}}}},
        {"categories", {{"name", "tab\there"}}},
        {"modules", {{"address", "host:65536"}}},
        {"modules", {{"address", ":80"}}},
    };
    const std::vector<std::pair<const char*, json>> malformed = {
        {"users", {{"color", 0x1000000}}},
        {"users", {{"properties", json::array()}}},
        {"users", {{"properties", {{choice, 7}}}}},
        {"users", {{"password", 12345678}}},
        {"roles", {{"permissions", {1}}}},
        {"custom-properties", {{"type", 5}}},
        {"projects", {{"members", {"x"}}}},
        {"projects", {{"backupSchedules", {{{"id", ""}, {"frequency", 4}}}}}},
        {"projects", {{"maximumBackups", -1}}},
        {"modules", {{"enabled", 1}}},
    };
    std::map<std::string, int> counts;
    for (const auto& [family, record] : NewRecords())
        counts[family] = Count(admin, family);
    const auto expect = [&](const auto& patches, int status, int code) {
        for (const auto& [family, patch] : patches) {
            const auto body = Patched(NewRecords().at(family), patch).dump();
            const auto answer = admin.Ask("POST", Root + family, body);
            EXPECT_EQ(answer.Code(), code) << family << ' ' << patch;
            EXPECT_EQ(answer.status, status) << family << ' ' << patch;
        }
    };
    expect(cases, 422, 20);
    expect(malformed, 400, 1);
    for (const auto& [family, count] : counts)
        EXPECT_EQ(Count(admin, family), count) << family;
}

TEST_F(FamiliesTest, WhatIsInUseOrBuiltInOrOnesOwnStays)
{
    auto admin = Manager("admin");
    const auto architect = IdOf(admin, "roles", "Architect");
    const auto set = IdOf(admin, "permission-sets", "Design%20Work");
    const auto property = IdOf(admin, "custom-properties", "Discipline");
    const auto category = IdOf(admin, "categories", "Housing");
    auto role = admin.Ask("GET", Root + "roles/Viewer").json;
    role["name"] = "Reader";
    auto self = admin.Ask("GET", Root + "users/admin").json;
    self["enabled"] = false;
    auto definition = admin.Ask("GET", Root + "custom-properties/" + property).json;
    definition["choices"] = {"Architecture"};
    const struct {
        const char* method;
        std::string path;
        json body;
        int code;
    } cases[] = {
        {"DELETE", "roles/" + architect, {}, 19},
        {"DELETE", "permission-sets/" + set, {}, 19},
        {"DELETE", "custom-properties/" + property, {}, 19},
        {"PUT", "custom-properties/" + property, definition, 19},
        {"DELETE", "categories/" + category, {}, 19},
        {"DELETE", "roles/Viewer", {}, 20},
        {"PUT", "roles/Viewer", role, 20},
        {"DELETE", "permissions/Read", {}, 20},
        {"DELETE", "groups/Administrators", {}, 20},
        {"DELETE", "users/admin", {}, 20},
        {"PUT", "users/admin", self, 20},
        {"DELETE", "groups/Administrators/users/admin", {}, 20},
        {"POST", "categories/" + category + "/merge", {{"categories", {category}}}, 20},
        {"POST", "roles/Viewer/duplicate", {{"name", "architect"}}, 18},
        {"PUT", "configuration", {{"serverName", ""}, {"minimumPasswordLength", 0}}, 1},
    };
    for (const auto& [method, path, body, code] : cases)
        EXPECT_EQ(admin.Ask(method, Root + path, body.is_null() ? "" : body.dump()).Code(), code)
            << method << ' ' << path;
    auto print =
        admin.Ask("POST", Root + "permissions", NewRecords().at("permissions").dump()).json;
    const auto one = Root + "permissions/" + print.at("id").get<std::string>();
    auto copy = admin.Ask("POST", Root + "roles/Viewer/duplicate", R"({"name":"Printer"})").json;
    EXPECT_EQ(copy.at("builtIn"), false);
    copy["permissions"] = {print.at("id")};
    const auto printer = Root + "roles/" + copy.at("id").get<std::string>();
    ASSERT_EQ(admin.Ask("PUT", printer, copy.dump()).Code(), 0);
    EXPECT_EQ(admin.Ask("DELETE", one).Code(), 19);
    ASSERT_EQ(admin.Ask("DELETE", printer).Code(), 0);
    EXPECT_EQ(admin.Ask("DELETE", one).Code(), 0);
}

TEST_F(FamiliesTest, AUserLivesFromHisFirstPasswordToHisDeletion)
{
    auto admin = Manager("admin");
    auto record = Patched(NewRecords().at("users"), {{"password", "first pass"}});
    record = admin.Ask("POST", Root + "users", record.dump()).json;
    EXPECT_FALSE(record.contains("password"));
    const auto eva = Root + "users/eva.ruiz";
    Client old(server.ManagementPort(), "eva.ruiz", "first pass");
    Client own(server.ManagementPort(), "eva.ruiz", "first pass");
    EXPECT_EQ(own.Ask("PUT", eva + "/password", R"({"password":"short"})").Code(), 20);
    ASSERT_EQ(own.Ask("PUT", eva + "/password", R"({"password":"second pass"})").Code(), 0);
    EXPECT_EQ(own.Ask("GET", eva).Code(), 0);
    EXPECT_EQ(old.Ask("GET", eva).Code(), 15);
    EXPECT_EQ(old.SignIn("eva.ruiz", "first pass").Code(), 10);

    const json member{{"loginName", "eva.ruiz"}, {"role", "Engineer"}};
    const auto members = Root + "projects/" + Sample::HarbourBridge + "/members";
    ASSERT_EQ(admin.Ask("POST", members, member.dump()).Code(), 0);
    Client working(server.ModelPort(), "eva.ruiz", "second pass");
    ASSERT_EQ(working.Ask("POST", Bridge("sessions"), "{}").Code(), 0);

    // A new login name counts at once, and is told to the members.
    auto lena = SignedIn("lena.fischer");
    const auto next = [&] {
        return lena.Ask("GET", BridgeSignals(0, 0)).json.at("next").get<int>();
    };
    auto place = next();
    record["email"] = "";
    ASSERT_EQ(admin.Ask("PUT", eva, record.dump()).Code(), 0);
    EXPECT_EQ(next(), place);
    record["loginName"] = "eva.sol";
    ASSERT_EQ(admin.Ask("PUT", eva, record.dump()).Code(), 0);
    EXPECT_EQ(next(), place + 1);
    EXPECT_EQ(own.Ask("GET", Root + "users/eva.sol").Code(), 0);

    Hold(working, "eva.sol", place + 1);
    ASSERT_EQ(admin.Ask("DELETE", Root + "users/eva.sol").Code(), 0);
    EXPECT_EQ(working.End().json.at("signals").at(0).at("id"), 3);
    EXPECT_EQ(working.Ask("GET", "/syncra/v1/projects").Code(), 15);
    EXPECT_EQ(own.Ask("GET", eva).Code(), 15);
    EXPECT_EQ(next(), place + 3);
    const auto sessions = lena.Ask("GET", Bridge("sessions?scope=all"));
    EXPECT_EQ(sessions.json.at("sessions").size(), 1u);
}

TEST_F(FamiliesTest, AProjectIsMadeChangedAndDeletedUnderTheEyesOfItsMembers)
{
    auto anna = Manager("anna.novak");
    const auto lenaId = UserId("lena.fischer");
    const auto jonasId = UserId("jonas.berg");
    const json both = {{{"user", lenaId}, {"role", "Viewer"}},
                       {{"user", jonasId}, {"role", "Project Manager"}}};
    auto project = anna.Ask("POST", Root + "projects",
                            Patched(NewRecords().at("projects"), {{"members", both}}).dump())
                       .json;
    const auto id = project.at("id").get<std::string>();
    const auto path = Root + "projects/" + id;
    auto lena = SignedIn("lena.fischer");
    auto jonas = SignedIn("jonas.berg");
    ASSERT_EQ(lena.Ask("POST", ProjectPath(id, "sessions"), "{}").Code(), 0);
    const auto place = lena.Ask("GET", SignalPath(id, 0, 0)).json.at("next").get<std::uint64_t>();

    const auto schedule = project.at("backupSchedules").at(0);
    EXPECT_NE(schedule.at("id"), "mine");
    project["state"] = 1;
    project["members"] = {both[1]};
    project = anna.Ask("PUT", path, project.dump()).json;
    EXPECT_EQ(project.at("backupSchedules"), (json{schedule}));
    EXPECT_EQ(lena.Ask("GET", ProjectPath(id, "members")).Code(), 13);
    std::vector<int> signals;
    const auto batch = jonas.Ask("GET", SignalPath(id, place, 0)).json;
    for (const auto& signal : batch.at("signals"))
        signals.push_back(signal.at("id"));
    EXPECT_EQ(signals, (std::vector<int>{1, 3, 2}));

    Hold(jonas, "jonas.berg", batch.at("next"), id);
    ASSERT_EQ(anna.Ask("DELETE", path).Code(), 0);
    EXPECT_EQ(jonas.End().json.at("signals").at(0).at("id"), 1);
    EXPECT_EQ(jonas.Ask("GET", SignalPath(id, batch.at("next"), 60'000)).Code(), 12);
}

TEST_F(FamiliesTest, MembersGetThePermissionsOfASetWithTheirRoleAndHearOfItsChange)
{
    auto admin = Manager("admin");
    auto lena = SignedIn("lena.fischer");
    const auto place = lena.Ask("GET", BridgeSignals(0, 0)).json.at("next");
    const auto set = Root + "permission-sets/" + IdOf(admin, "permission-sets", "Design%20Work");
    auto record = admin.Ask("GET", set).json;
    record["permissions"] = {"Read", "ManageMembers"};
    Hold(lena, "lena.fischer", place);
    ASSERT_EQ(admin.Ask("PUT", set, record.dump()).Code(), 0);
    EXPECT_EQ(lena.End().json.at("signals").at(0).at("id"), 3);
    // An engineer now manages the members of her project, and of no other.
    auto manager = Manager("lena.fischer");
    const json member{{"loginName", "nora.lind"}, {"role", "Viewer"}};
    const auto add = [&](const std::string& project) {
        return manager.Ask("POST", Root + "projects/" + project + "/members", member.dump()).Code();
    };
    EXPECT_EQ(add(Sample::HarbourBridge), 0);
    EXPECT_EQ(add(Sample::CityLibrary), 13);
    // Nor does she give or take what she has not herself.
    const std::string members = Root + "projects/" + Sample::HarbourBridge + "/members/";
    EXPECT_EQ(manager.Ask("PUT", members + "lena.fischer", R"({"role":"Project Manager"})").Code(),
              13);
    EXPECT_EQ(manager.Ask("DELETE", members + "anna.novak").Code(), 13);
    EXPECT_EQ(manager.Ask("DELETE", members + "nora.lind").Code(), 0);
}

TEST_F(FamiliesTest, MergingPutsTogetherOrChangesNothing)
{
    auto admin = Manager("admin");
    const auto housing = IdOf(admin, "categories", "Housing");
    const auto sports = IdOf(admin, "categories", "Sports");
    const auto competitions = IdOf(admin, "categories", "Competitions");
    const auto merge = Root + "categories/" + sports + "/merge";
    EXPECT_EQ(admin.Ask("POST", merge, json{{"categories", {housing, "x"}}}.dump()).Code(), 12);
    EXPECT_EQ(Count(admin, "categories"), 5);
    ASSERT_EQ(admin.Ask("POST", merge, json{{"categories", {housing, competitions}}}.dump()).Code(),
              0);
    const auto games = json{{"name", "Games"}}.dump();
    ASSERT_EQ(admin.Ask("PUT", Root + "categories/" + sports, games).Code(), 0);
    std::map<std::string, int> projects;
    const auto list = admin.Ask("GET", Root + "projects").json;
    for (const auto& project : list.at("items"))
        ++projects[project.at("category")];
    EXPECT_EQ(projects, (std::map<std::string, int>{
                            {"Infrastructure", 2}, {"Public Buildings", 1}, {"Games", 3}}));

    json contents = {
        {"permissions",
         {{{"id", "1"}, {"name", "read"}, {"description", "theirs"}, {"builtIn", true}},
          {{"id", "2"}, {"name", "Plot"}, {"description", ""}, {"builtIn", true}}}},
        {"permissionSets",
         {{{"id", "3"}, {"name", "Paper"}, {"description", ""}, {"permissions", {"1", "2"}}}}},
        {"roles",
         {{{"id", "4"},
           {"name", "Viewer"},
           {"description", ""},
           {"permissions", {"2"}},
           {"permissionSet", "3"},
           {"builtIn", false}}}},
        {"customProperties", {Patched(NewRecords().at("custom-properties"), {{"id", "5"}})}}};
    auto dangling = contents;
    dangling["roles"][0]["permissions"] = {"Read"};
    EXPECT_EQ(admin.Ask("POST", Root + "merge", dangling.dump()).Code(), 20);
    EXPECT_EQ(Count(admin, "permissions"), 8);
    ASSERT_EQ(admin.Ask("POST", Root + "merge", contents.dump()).Code(), 0);
    EXPECT_EQ(Count(admin, "permissions"), 9);
    EXPECT_NE(IdOf(admin, "custom-properties", "Floor"), "none");
    const auto read = admin.Ask("GET", Root + "permissions/Read").json;
    EXPECT_EQ(read.at("name"), "Read");
    EXPECT_EQ(read.at("description"), "theirs");
    const auto viewer = admin.Ask("GET", Root + "roles/Viewer").json;
    EXPECT_EQ(viewer.at("builtIn"), true);
    EXPECT_EQ(viewer.at("permissions"), (json{IdOf(admin, "permissions", "Plot")}));
    EXPECT_EQ(viewer.at("permissionSet"), IdOf(admin, "permission-sets", "Paper"));
    const auto members = SignedIn("jonas.berg").Ask("GET", Bridge("members"));
    EXPECT_EQ(members.json.at("members")[6].at("permissions").size(), 2u);
}

TEST_F(FamiliesTest, StoresOfEveryOlderVersionKeepTheirRolesCategoriesAndNumbers)
{
    FOR_A_STORE_IN_A_FILE();
    const auto spare = (folder.Path() / "spare.db").string();
    std::ofstream(spare).close();
    const auto attach = "ATTACH '" + spare + "' AS spare;";
    Sql(attach +
        "CREATE TABLE spare.people AS SELECT id, login, full_name, password_hash, enabled, "
        "color FROM users WHERE login = 'admin'");
    const std::string content = R"(
        INSERT INTO users SELECT * FROM spare.people;
        INSERT INTO roles VALUES ('Viewer'), ('Odd');
        INSERT INTO role_permissions VALUES
            ('Viewer', 'Write'), ('Odd', 'Special'), ('Odd', 'ManageMembers');
        INSERT INTO projects (id, name, location, category)
            VALUES ('p', 'P', '/p', 'Parks'), ('q', 'Q', '/q', '');
        INSERT INTO members SELECT 'p', id, 'Odd', 7 FROM users;)";
    for (std::size_t version = 1; version < Nexar::SchemaSteps.size(); ++version) {
        SCOPED_TRACE(version);
        ASSERT_EQ(server.Terminate(), 0);
        std::filesystem::resize_file(server.StorePath(), 0);
        std::string sql = attach;
        for (std::size_t step = 0; step < version; ++step)
            sql += Nexar::SchemaSteps[step] + (step == 0 ? content : "");
        Sql(sql + "PRAGMA user_version = " + std::to_string(version));
        server.Start();
        auto admin = Manager("admin");
        const auto odd = admin.Ask("GET", Root + "roles?name=odd").json.at("items").at(0);
        EXPECT_EQ(odd.at("permissions").size(), 2u);
        EXPECT_EQ(admin.Ask("GET", Root + "roles/Viewer").json.at("permissions"), (json{"Write"}));
        const auto manager = admin.Ask("GET", Root + "roles/Project%20Manager").json;
        EXPECT_EQ(manager.at("permissions").size(), 7u);
        EXPECT_EQ(Count(admin, "permissions"), 9);
        EXPECT_EQ(Count(admin, "categories"), 1);
        EXPECT_NE(IdOf(admin, "categories", "Parks"), "none");
        const auto path = Root + "roles/" + odd.at("id").get<std::string>();
        EXPECT_EQ(admin.Ask("DELETE", path).Code(), 19);
        ASSERT_EQ(admin.Ask("POST", Root + "users", NewRecords().at("users").dump()).Code(), 0);
        const json member{{"loginName", "eva.ruiz"}, {"role", "Odd"}};
        ASSERT_EQ(admin.Ask("POST", Root + "projects/p/members", member.dump()).Code(), 0);
        const auto members = SignedIn("admin").Ask("GET", ProjectPath("p", "members")).json;
        EXPECT_EQ(members.at("members").at(1).at("id"), 8);
    }
}
