#include "ManagementTool/ProjectRepositoryManager.hpp"
#include "ManagementTool/ServerConnectionManager.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "Support/LogCapture.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/ScriptedStrategy.hpp"

#include <gtest/gtest.h>

using namespace Syncra::Server::ManagementTool::Core;
using namespace Syncra::Server::Management;

namespace {

using Alerts = std::vector<std::string>;

const std::string Root = "/root/syncrav2";
/// Instead of a status: the scripted server hangs up, or sends what is no answer. A request whose
/// connection was hung up may come twice.
constexpr int HangUp = 0, Broken = 1;

/// Both managers, connected to a server that signs everybody in and answers as the test says.
class OperationsTest : public testing::Test {
protected:
    OperationsTest() { Connect(); }

    void Connect()
    {
        const auto connect = [this](auto& manager) {
            return manager.SetConnection(u"127.0.0.1", static_cast<short>(server.Port()), u"admin",
                                         u"p", false);
        };
        ASSERT_TRUE(connect(users) && connect(projects));
    }
    void Answer(ScriptedServer::Peer& peer, const ScriptedServer::Request& request)
    {
        if (hold && request.target.starts_with(Root))
            hold();
        const std::lock_guard guard(lock);
        if (request.target == "/syncra/v1/sign-in") {
            ++signIns;
            peer.Answer(signInStatus, signInStatus == 200 ? ScriptedServer::SignedIn : refusal);
            return;
        }
        if (request.target.starts_with(Root))
            requests.push_back(request.method + ' ' + request.target.substr(Root.size()));
        int now = status;
        if (failures > 0 && --failures == 0)
            status = 200;
        if (now == HangUp)
            peer.Close();
        else if (now == Broken)
            peer.Answer(200, "no JSON");
        else
            peer.Answer(now, now == 200 ? body : refusal);
    }
    void Refuse(int withStatus, int code)
    {
        const std::lock_guard guard(lock);
        status = withStatus;
        refusal = R"({"code":)" + std::to_string(code) + R"(,"message":"Said by the server."})";
    }

    std::mutex lock;  ///< of what connections that end and begin share
    std::string body, refusal;
    std::atomic<int> status = 200, signInStatus = 200;
    /// How many more requests fail; 0 for all.
    std::atomic<int> failures = 0;
    std::atomic<int> signIns = 0;
    Alerts requests;  ///< read only between requests
    std::function<void()> hold;
    ScriptedServer server{[this](auto& peer, const auto& request) { this->Answer(peer, request); }};
    ScriptedStrategy strategy;
    OV::PooledExecutor executor{1, 1, 1000};
    UserRepositoryManager users{executor};
    ProjectRepositoryManager projects{executor};
};

template <class Record>
using List = OV::Array<Record>;

/// What all kinds of records have in common is tried on the real server.
TEST_F(OperationsTest, EachSendsItsRequestAndNamesItsObject)
{
    const OV::UniString id = u"a/\u00fc", name = u"N 1", login = u"lo";
    List<User> userList;
    List<ConnectedModule> moduleList;
    List<Syncra::Protocol::SessionAtWork> sessionList;
    User user;
    Role role{id, name, {}, {}, {}, false};
    CustomPropertyDefinition property{{}, name, {}, {}, {}};
    Permission permission{{}, name, {}, false};
    PermissionSet set{{}, name, {}, {}};
    Group group{{}, name, {}, {}, false};
    ProjectCategory category{{}, name};
    V2::Project project;
    Syncra::Protocol::Photo photo;

    const struct {
        std::string request, alert;
        std::function<bool()> call;
    } rows[] = {
        {"GET /users?count=1000&after=", "3 4", [&] { return users.GetUsers(userList); }},
        {"GET /users?loginName=lo", "3 4", [&] { return users.FindUserByLoginName(login, user); }},
        // Each kind of record tells its own number, and its name where the text wants it.
        {"POST /custom-properties", "3 1 N 1",
         [&] { return users.InsertCustomPropertyDefinition(property); }},
        {"POST /permissions", "3 2", [&] { return users.InsertPermission(permission); }},
        {"POST /permission-sets", "3 3", [&] { return users.InsertPermissionSet(set); }},
        {"GET /roles?name=N%201", "3 5", [&] { return users.FindRole(name, role); }},
        {"PUT /roles/ID", "3 0", [&] { return users.UpdateRole(role); }},
        {"GET /groups/ID", "3 6", [&] { return users.GetGroup(id, group); }},
        {"POST /projects", "3 7", [&] { return projects.InsertProject(project); }},
        {"POST /categories", "3 8 N 1",
         [&] { return projects.InsertCustomProjectCategory(category); }},
        {"POST /users", "3 4", [&] { return users.InsertUser(user, u"secret"); }},
        {"PUT /users/lo/password", "3 4", [&] { return users.SetUserPassword(login, u"secret"); }},
        {"GET /users/lo/photo", "3 4", [&] { return users.GetUserPhoto(login, photo); }},
        {"PUT /users/lo/photo", "3 4", [&] { return users.SetUserPhoto(login, photo); }},
        {"POST /roles/ID/duplicate", "3 5", [&] { return users.DuplicateRole(id, name, role); }},
        {"PUT /groups/ID/users/lo", "3 4", [&] { return users.AddToGroup(id, login); }},
        {"DELETE /groups/ID/users/lo", "3 0", [&] { return users.RemoveFromGroup(id, login); }},
        {"POST /merge", "3 0", [&] { return users.Merge({}); }},
        {"GET /users/lo/groups", "3 4", [&] { return users.IsServerAdministrator(login); }},
        {"GET /users/lo/groups", "3 4", [&] { return users.IsProjectAdministrator(login); }},
        {"PUT /groups/Administrators/users/lo", "3 4",
         [&] { return users.AddToServerAdministrators(login); }},
        {"PUT /groups/ProjectManagers/users/lo", "3 4",
         [&] { return users.AddToProjectAdministrators(login); }},
        {"DELETE /groups/Administrators/users/lo", "3 0",
         [&] { return users.RemoveFromServerAdministrators(login); }},
        {"DELETE /groups/ProjectManagers/users/lo", "3 0",
         [&] { return users.RemoveFromProjectAdministrators(login); }},
        {"POST /categories/ID/merge", "3 8",
         [&] { return projects.MergeCustomProjectCategories({login}, id); }},
        {"POST /projects/ID/members", "3 4 lo",
         [&] { return projects.AddMember(id, login, name); }},
        {"PUT /projects/ID/members/lo", "3 4 lo",
         [&] { return projects.SetMemberRole(id, login, name); }},
        {"DELETE /projects/ID/members/lo", "3 4 lo",
         [&] { return projects.RemoveMember(id, login); }},
        {"GET /sessions?project=ID", "3 0", [&] { return projects.GetSessions(id, sessionList); }},
        {"POST /sessions/ID/end", "3 0", [&] { return projects.EndSession(id, name); }},
        {"GET /modules", "3 0", [&] { return projects.GetConnectedModules(moduleList); }},
    };
    Refuse(409, 18);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.request);
        std::string request = row.request;
        if (const auto at = request.find("ID"); at != std::string::npos)
            request.replace(at, 2, "a%2F%C3%BC");
        EXPECT_FALSE(row.call());
        EXPECT_EQ(std::exchange(requests, {}), Alerts{request});
        EXPECT_EQ(strategy.TakeAlerts(), Alerts{row.alert});
    }
    EXPECT_EQ(signIns, 2) << "one a repository";
    status = 200;
    body = R"({"groups":["Administrators"]})";
    EXPECT_TRUE(users.IsServerAdministrator(login));
    EXPECT_FALSE(users.IsProjectAdministrator(login));
}

TEST_F(OperationsTest, EachFailureHasItsKindAndOnlyWhatIsGoneCountsAsDeleted)
{
    Role role;
    role.id = u"r";
    User user;
    const struct {
        int status, code;
        const char* get;
        const char* removed;  ///< null when it counts as deleted
    } rows[] = {
        {404, 12, "5 5", nullptr}, {409, 18, "3 5", "3 0"},   {409, 19, "4 5", "4 0"},
        {422, 20, "6 5", "6 0"},   {403, 13, "7 5", "7 0"},   {500, 2, "7 5", "7 0"},
        {500, 99, "7 5", "7 0"},   {Broken, 0, "1 5", "1 0"}, {HangUp, 0, "1 5", "1 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status * 1000 + row.code);
        Refuse(row.status, row.code);
        Connect();
        EXPECT_FALSE(users.GetRole(u"r", role));
        EXPECT_EQ(strategy.TakeAlerts(), Alerts{row.get});
        EXPECT_EQ(users.GetLastFailure().code, row.code);
        EXPECT_EQ(users.GetLastFailure().sentence == u"Said by the server.", row.code != 0);
        Connect();
        EXPECT_EQ(users.DeleteRole(role), row.removed == nullptr);
        EXPECT_EQ(strategy.TakeAlerts(), row.removed ? Alerts{row.removed} : Alerts{});
    }
    status = 200;
    body = R"({"items":[]})";
    Connect();
    EXPECT_FALSE(users.FindRole(u"r", role));
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{"2 5"});
    EXPECT_FALSE(users.FindUserByLoginName(u"r", user));
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{}) << "nobody of that login name is an answer";
    EXPECT_EQ(users.GetLastFailure().type, ErrorType::ObjectRemoved);
}

TEST_F(OperationsTest, TryAgainRepeatsOnANewConnectionUntilItFailsToo)
{
    List<Role> roles;
    body = R"({"items":[]})";
    status = Broken;
    failures = 2;
    strategy.answer = [] { return short(1); };
    EXPECT_TRUE(users.GetRoles(roles));
    EXPECT_EQ(strategy.TakeAlerts(), (Alerts{"1 5", "1 5"}));
    EXPECT_EQ(requests, (Alerts{"GET /roles", "GET /roles", "GET /roles"}));
    EXPECT_EQ(signIns, 2 + 2);

    status = Broken;
    signInStatus = 401;
    refusal = R"({"code":10,"message":"Wrong."})";
    EXPECT_FALSE(users.GetRoles(roles));
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{"1 5"});
    EXPECT_EQ(users.GetLastFailure().code, 10) << "what the reconnection met";
    EXPECT_TRUE(users.IsConnected()) << "so that the next operation tells and asks again";
    signInStatus = status = 200;
    EXPECT_TRUE(users.GetRoles(roles));
    EXPECT_EQ(strategy.TakeAlerts(), Alerts{"1 5"}) << "the dead repository was closed";
}

TEST_F(OperationsTest, WithoutAUserInterfaceEveryRequestIsTriedOnce)
{
    SetUserAsyncTaskExecutingImplementation(nullptr);
    List<Role> roles;
    for (const int each : {Broken, 403}) {
        Refuse(each, 13);
        Connect();
        const int before = signIns;
        EXPECT_FALSE(users.GetRoles(roles));
        EXPECT_EQ(signIns, before);
        EXPECT_EQ(std::exchange(requests, {}), Alerts{"GET /roles"});
    }
    EXPECT_FALSE(users.SetConnection(u"127.0.0.1", 1, u"admin", u"p", true));
    EXPECT_FALSE(users.IsConnected()) << "another server's repository must not serve";
    EXPECT_FALSE(users.GetRoles(roles)) << "as when the connection is lost later";
    EXPECT_EQ(users.GetLastFailure().type, ErrorType::CannotConnect);
    users.Disconnect();
    const LogCapture log;
    EXPECT_THROW(users.GetRoles(roles), OV::NullReferenceException);
    EXPECT_TRUE(log.Mentions("NullReferenceException: Null reference."));
    EXPECT_TRUE(projects.CloseRepositories());
    EXPECT_FALSE(projects.CloseRepositories() || projects.IsConnected());
}

TEST_F(OperationsTest, AProjectIsAskedForTwiceWithoutAskingTheUser)
{
    strategy.answer = [] { return short(1); };
    V2::Project project;
    const struct {
        int status, code, failures, signInStatus;
        const char* alert;
        std::size_t requests;
    } rows[] = {
        {404, 12, 0, 200, "2 7", 2}, {403, 13, 0, 200, "7 7", 2},   {Broken, 0, 0, 200, "7 7", 2},
        {Broken, 0, 1, 200, "", 2},  {Broken, 0, 0, 401, "7 7", 1}, {404, 12, 0, 401, "2 7", 2},
    };
    body = R"({"id":"p","name":"P","description":"","category":"","state":3,"location":"",
               "version":"","members":[],"backupSchedules":[],"maximumBackups":0})";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status * 1000 + row.code);
        signInStatus = 200;
        Connect();
        Refuse(row.status, row.code == 0 ? 10 : row.code);
        failures = row.failures;
        signInStatus = row.signInStatus;
        EXPECT_EQ(projects.GetProject(u"p", project), *row.alert == '\0');
        EXPECT_EQ(strategy.TakeAlerts(), *row.alert == '\0' ? Alerts{} : Alerts{row.alert});
        EXPECT_EQ(std::exchange(requests, {}).size(), row.requests);
    }
    EXPECT_EQ(project.name, u"P");
    for (const int givenUp : {1, 2, 3}) {
        signInStatus = 200;
        Connect();
        Refuse(404, 12);
        strategy.cancelsAt = givenUp;
        EXPECT_FALSE(projects.GetProject(u"p", project));
        EXPECT_EQ(strategy.cancelsAt, 0) << "and nothing was begun after it";
        EXPECT_EQ(strategy.TakeAlerts(), Alerts{});
    }
}

TEST_F(OperationsTest, ACancelledRequestChangesNothingWhenItEnds)
{
    struct CancellingStrategy final : UserAsyncTaskExecutingImplementation {
        struct Silent final : AsyncTaskExecuting::Response {
            void RunResponse() override {}
        };
        bool ExecuteTask(const OV::Ref<AsyncTaskExecuting::Task>& task, OV::Executor* executor,
                         std::uint32_t) override
        {
            response = OV::MakeRef<Silent>();
            AsyncTaskExecuting(task, response, executor).CancelTask();
            return false;
        }
        OV::Ref<Silent> response;
    } cancelling;
    SetUserAsyncTaskExecutingImplementation(&cancelling);
    OV::Condition goOn;
    hold = [&goOn] { (void)goOn.Wait(60'000); };
    body = R"({"items":[{"id":"r","name":"R","description":"","builtIn":false}]})";
    List<Permission> permissions;
    EXPECT_FALSE(users.GetPermissions(permissions));
    EXPECT_EQ(users.GetLastFailure().type, ErrorType::NoError);
    SetUserAsyncTaskExecutingImplementation(nullptr);
    EXPECT_TRUE(users.ResetConnection());
    EXPECT_TRUE(cancelling.response->IsPending()) << "what was given up holds up no reconnection";
    goOn.Notify();
    cancelling.response->Wait();
    EXPECT_TRUE(cancelling.response->HasSucceeded());
    EXPECT_TRUE(permissions.empty());
}

}  // namespace
