#include "BrowseShareableProject.hpp"
#include "CreateNewSyncraProject.hpp"
#include "DeleteProject.hpp"
#include "Flows/FlowTest.hpp"
#include "JoinProject.hpp"
#include "JoinedProject.hpp"
#include "LeaveProject.hpp"
#include "ManageMembers.hpp"
#include "RegisteredProjects.hpp"
#include "Support/FaultProxy.hpp"
#include "SyncraServerManagement/ProjectRepository.hpp"
#include "UpdateProjectSettings.hpp"

using Fault = FaultProxy::Fault;
using SYC::FailureKind;
using SYC::FlowState;

namespace {

/// A flow that changes something on a server, from a state where the change is still to be made.
struct Change {
    std::string name;
    /// Makes that state, without faults, for a change of that number.
    std::function<void(int number)> prepare;
    std::function<std::unique_ptr<SYC::Flow>(const Syncra::Client::SignInData& login)> start;
    std::function<bool()> isDone;
    /// Takes back what was begun instead of asking what became of it; for that it needs the server.
    bool isAsked = true;
};

class FlowFaultTest : public FlowTest {
protected:
    /// The user manages all projects, and is a member of this one.
    static constexpr const char* User = "anna.novak";

    [[nodiscard]] Syncra::Client::SignInData ThroughProxy() const
    {
        auto login = Login(User);
        login.port = proxy.Port();
        return login;
    }
    [[nodiscard]] nlohmann::json Management(const std::string& method, const std::string& path,
                                            const nlohmann::json& body = {})
    {
        return Client(server.ManagementPort(), "admin", ServerProcess::Password)
            .Ask(method, "/root/syncrav2" + path, body.is_null() ? "" : body.dump())
            .json;
    }
    [[nodiscard]] bool Exists(const OV::UniString& wanted) const
    {
        return Syncra::Client::Connect(Login("admin"))->ProjectExists(wanted);
    }
    [[nodiscard]] SYC::UpdateProjectSettings::Project Project(const OV::UniString& wanted)
    {
        SYC::BrowseShareableProject browse(Login("admin"), executors);
        browse.Refresh();
        EXPECT_EQ(Await(browse), FlowState::Succeeded);
        for (const auto& project : browse.GetServer().projects)
            if (project.name == wanted)
                return project;
        return {};
    }
    /// Empty for who is no member of Harbour Bridge.
    [[nodiscard]] OV::UniString RoleOf(const OV::UniString& user) const
    {
        const auto client = Syncra::Client::Connect(Login(User));
        for (const auto& member : client->GetProjectMembersEx(bridge, {}).members)
            if (member.loginName == user)
                return member.roleName;
        return {};
    }
    [[nodiscard]] bool HasSession(const std::string& user) const
    {
        return !Syncra::Client::Connect(Login(user))->GetSessions(bridge).empty();
    }
    void StartSession(const std::string& user) const
    {
        if (!HasSession(user))
            (void)Syncra::Client::Connect(Login(user))->StartSession(bridge);
    }
    [[nodiscard]] IO::Location BridgeUrl() const
    {
        return Url(User, u"Harbour Bridge", proxy.Port());
    }
    [[nodiscard]] bool IsJoined() const
    {
        const bool isJoined = HasSession(User);
        EXPECT_EQ(SYC::registeredProjects().GetCacheInfo(BridgeUrl(), true, DataFolder()) !=
                      nullptr,
                  isJoined)
            << "joined by halves";
        return isJoined;
    }
    void EnsureJoined(bool wanted)
    {
        SYC::LeaveProject leave(BridgeUrl(), DataFolder(), executors);
        leave.Leave({});
        (void)Await(leave);
        SYC::JoinProject join(BridgeUrl(), DataFolder(), executors);
        if (wanted)
            join.Join();
        (void)Await(join);
        ASSERT_EQ(IsJoined(), wanted);
    }
    [[nodiscard]] std::vector<Change> Changes();

    const OV::UniString bridge = OV::FromUtf8(Sample::HarbourBridge);
    FaultProxy proxy{server.ModelPort(), server.ManagementPort()};
    OV::UniString name;
    SYC::UpdateProjectSettings::Project seen;
};

std::vector<Change> FlowFaultTest::Changes()
{
    using Login = Syncra::Client::SignInData;
    const auto member = u"lena.fischer";
    const auto members = [this, member](auto begin) {
        return [this, member, begin](const Login& login) {
            auto flow = std::make_unique<SYC::ManageMembers>(login, bridge, executors);
            begin(*flow, member);
            return flow;
        };
    };
    const auto addMember = [this](int) {
        (void)Management("POST", "/projects/" + Sample::HarbourBridge + "/members",
                         {{"loginName", "lena.fischer"}, {"role", "Engineer"}});
        (void)Management("PUT", "/projects/" + Sample::HarbourBridge + "/members/lena.fischer",
                         {{"role", "Engineer"}});
    };
    const auto newName = [this](int number) { name = u"Quay " + OV::ToText(number); };
    return {
        {"share", newName,
         [this](const Login& login) {
             auto flow = std::make_unique<SYC::CreateNewSyncraProject>(login, executors);
             flow->GetData().SetProjectName(name);
             flow->Create();
             return flow;
         },
         [this] { return Exists(name); }},
        {"settings",
         [this](int number) {
             seen = Project(u"City Library");
             name = u"Text " + OV::ToText(number);
         },
         [this](const Login& login) {
             auto flow = std::make_unique<SYC::UpdateProjectSettings>(login, seen, executors);
             auto edited = seen;
             edited.description = name;
             edited.backupSchedules.insert(Syncra::Server::Management::V1::ProjectBackupSchedule{});
             flow->Save(edited);
             return flow;
         },
         [this] {
             const auto now = Project(u"City Library");
             EXPECT_EQ(now.backupSchedules.size() > seen.backupSchedules.size(),
                       now.description == name)
                 << "changed by halves";
             return now.description == name;
         }},
        {"delete",
         [this, newName](int number) {
             newName(1000 + number);
             SYC::UpdateProjectSettings::Project made;
             made.name = name;
             made.status.state = Syncra::Server::Management::V1::ProjectStatus::Active;
             seen = Syncra::Server::Management::ProjectRepository(
                        {u"127.0.0.1", server.ManagementPort(), u"admin",
                         OV::UniString(OV::FromUtf8(ServerProcess::Password))})
                        .Projects()
                        .Insert(made);
         },
         [this](const Login& login) {
             auto flow = std::make_unique<SYC::DeleteProject>(login, seen, executors);
             flow->Delete();
             return flow;
         },
         [this] { return !Exists(name); }},
        {"role", addMember,
         members([](auto& flow, const auto* user) { flow.SetRole(user, u"Viewer"); }),
         [this, member] { return RoleOf(member) == u"Viewer"; }},
        {"take out", addMember, members([](auto& flow, const auto* user) { flow.TakeOut(user); }),
         [this, member] { return RoleOf(member).empty(); }},
        {"end session",
         [this, addMember](int number) {
             addMember(number);
             StartSession("lena.fischer");
         },
         members([](auto& flow, const auto* user) { flow.EndSession(user, u"Night"); }),
         [this] { return !HasSession("lena.fischer"); }},
        {"join", [this](int) { EnsureJoined(false); },
         [this](const Login&) {
             auto flow = std::make_unique<SYC::JoinProject>(BridgeUrl(), DataFolder(), executors);
             flow->Join();
             return flow;
         },
         [this] { return IsJoined(); }, false},
        {"leave", [this](int) { EnsureJoined(true); },
         [this](const Login&) {
             auto flow = std::make_unique<SYC::LeaveProject>(BridgeUrl(), DataFolder(), executors);
             flow->Leave({});
             return flow;
         },
         [this] { return !IsJoined(); }},
    };
}

/// What the user is told is what the server has, wherever the server fails, goes away or the user
/// cancels. Only a server that is gone for good behind a change that was sent leaves it open, and
/// then that is what he is told.
TEST_F(FlowFaultTest, WhatIsToldIsWhatTheServerHas)
{
    int number = 0;
    for (const auto& change : Changes()) {
        bool wasUnknown = false;
        const auto expectTold = [&](const SYC::Flow& flow) {
            proxy.FailNever();
            const auto& failure = flow.GetFailure();
            if (failure.kind == FailureKind::OutcomeUnknown)
                wasUnknown = true;
            else
                EXPECT_EQ(flow.GetState() == FlowState::Succeeded, change.isDone())
                    << OV::ToUtf8(failure.sentence);
        };
        for (const auto fault : {Fault::Close, Fault::CloseInAnswer, Fault::ServerError})
            for (const bool isGone : {false, true})
                for (int request = 0; !isGone || change.isAsked; ++request) {
                    SCOPED_TRACE(change.name + ", fault " +
                                 std::to_string(static_cast<int>(fault)) + " at request " +
                                 std::to_string(request) + (isGone ? " and from then on" : ""));
                    change.prepare(++number);
                    proxy.FailAt(request, fault, isGone);
                    const auto flow = change.start(ThroughProxy());
                    (void)Await(*flow);
                    const bool hasFailed = proxy.HasFailed();
                    expectTold(*flow);
                    if (!hasFailed)
                        break;
                    ASSERT_LT(request, 30);
                }
        EXPECT_EQ(wasUnknown, change.isAsked) << change.name << " knows what nobody can know";
        for (int told = 0, cancelled = 1; cancelled != 0; ++told) {
            SCOPED_TRACE(change.name + " cancelled at change " + std::to_string(told));
            change.prepare(++number);
            const auto flow = change.start(ThroughProxy());
            CancelAtChange observer(*flow, told);
            (void)Await(*flow);
            cancelled = observer.HasCancelled() ? 1 : 0;
            expectTold(*flow);
        }
    }
}

}  // namespace
