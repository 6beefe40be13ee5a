#include "ManagementTool/ServerConnectionManager.hpp"

#include "Dlg/Headless/HeadlessToolkit.hpp"
#include "ManagementTool/ProjectRepositoryManager.hpp"
#include "ManagementTool/TargetNotFoundException.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "OVRoot/Thread.hpp"
#include "Support/LogCapture.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/ScriptedStrategy.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"
#include "UserInterface/AsyncTaskDialogExecutingImplementation.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>

using namespace Syncra::Server::ManagementTool::Core;

namespace {

using Lines = std::vector<std::string>;

/// For managers that make no request.
OV::Executor& Idle()
{
    static OV::PooledExecutor executor(1, 1, 0);
    return executor;
}

/// Writes down what it is told, beside what the other managers and the observer are told.
template <class Manager>
class Recording : public Manager {
public:
    Recording(std::string name, Lines& lines)
        : Manager(Idle()), name_(std::move(name)), lines_(lines)
    {}

    bool SetConnection(const OV::UniString& serverName, short managementPort,
                       const OV::UniString& userName, const OV::Secret& password,
                       bool flag) override
    {
        lines_.push_back(name_ + " " + OV::ToUtf8(userName) + ":" + OV::ToUtf8(password.View()) +
                         "@" + OV::ToUtf8(serverName) + ":" +
                         std::to_string(static_cast<std::uint16_t>(managementPort)) +
                         (flag ? " true" : ""));
        return true;
    }

private:
    std::string name_;
    Lines& lines_;
};

class RecordingObserver : public ServerConnectionObserver {
public:
    explicit RecordingObserver(Lines& lines) : lines_(lines) {}
    void ServerChanged() override { lines_.push_back("changed"); }
    void ServerLost() override { lines_.push_back("lost"); }

private:
    Lines& lines_;
};

class ServerConnectionManagerTest : public testing::Test {
protected:
    ServerConnectionManagerTest()
    {
        subscription = manager.Subscribe(observer);
        manager.SetUserName(u"anna.novak");
        manager.SetPassword(OV::FromUtf8(ServerProcess::Password));
    }

    void Connect(ConnectionType type)
    {
        manager.SetConnection(u"127.0.0.1", static_cast<short>(server.ModelPort()), type);
    }
    [[nodiscard]] std::string Told(const std::string& name) const
    {
        return name + " anna.novak:" + ServerProcess::Password +
               "@127.0.0.1:" + std::to_string(server.ManagementPort());
    }
    Lines TakeLines() { return std::exchange(lines, {}); }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    Lines lines;
    RecordingObserver observer{lines};
    ServerConnectionManager manager{
        OV::MakeRef<Recording<UserRepositoryManager>>("users", lines),
        OV::MakeRef<Recording<ProjectRepositoryManager>>("projects", lines)};
    OV::Subscription subscription;
};

TEST_F(ServerConnectionManagerTest, TellsTheObserversAndThenConnectsTheManagersOfTheType)
{
    manager.ReConnect(ConnectionType::FullConnection);
    Connect(ConnectionType::NoConnection);
    EXPECT_EQ(TakeLines(), Lines{}) << "there is no server yet";
    const std::string users = Told("users"), projects = Told("projects");
    const struct {
        ConnectionType type;
        Lines expected;
    } cases[] = {
        {ConnectionType::UserConnection, {"changed", users}},
        {ConnectionType::ProjectConnection, {"changed", projects}},
        {ConnectionType::FullConnection, {"changed", users, projects}},
    };
    for (const auto& each : cases) {
        Connect(each.type);
        EXPECT_EQ(TakeLines(), each.expected);
        manager.ReConnect(ConnectionType::NoConnection);
        EXPECT_EQ(TakeLines(), each.expected) << "the stored type";
    }
    EXPECT_EQ(manager.GetValidatedServerName(), u"127.0.0.1");
    Connect(ConnectionType::NoConnection);
    EXPECT_EQ(manager.GetConnectionType(), ConnectionType::FullConnection);
}

TEST_F(ServerConnectionManagerTest, FailuresOfAManagerArePrintedWithTheirPlace)
{
    class FailingManager : public UserRepositoryManager {
        using UserRepositoryManager::UserRepositoryManager;
        bool SetConnection(const OV::UniString&, short, const OV::UniString&, const OV::Secret&,
                           bool) override
        {
            throw TargetNotFoundException(u"No users.", {"a/Users.cpp", 7});
        }
    };
    const LogCapture log;
    const auto port = static_cast<short>(server.ModelPort());
    ServerConnectionManager failing(OV::MakeRef<FailingManager>(Idle()), {});
    const auto attached = failing.Subscribe(observer);
    failing.SetUserName(u"anna.novak");
    failing.SetPassword(OV::FromUtf8(ServerProcess::Password));
    failing.SetConnection(u"127.0.0.1", port, ConnectionType::UserConnection);
    EXPECT_TRUE(log.Has("Debug: Exception occurred during ServerConnectionManager::SetConnection: "
                        "No users.; File: Users.cpp line: 7"));
    failing.ReConnect(ConnectionType::ProjectConnection);
    EXPECT_TRUE(log.Mentions("ServerConnectionManager::ReConnect: Null reference.; File: "));
    EXPECT_EQ(TakeLines(), (Lines{"changed", "changed"}));
    EXPECT_EQ(failing.GetConnectionType(), ConnectionType::UserConnection);
}

/// A model service that lists a management service, and one of those that has nothing; both sign
/// everybody in.
struct Site {
    std::atomic<std::uint16_t> listed = 0;
    std::atomic<bool> isSilent = false;
    ScriptedServer server{[this](auto& peer, const auto& request) {
        if (isSilent)
            peer.HoldUntilGone();
        else if (request.target.ends_with("/sign-in"))
            peer.Answer(200, ScriptedServer::SignedIn);
        else if (!request.target.ends_with("/ports"))
            peer.Answer(200, R"({"items":[]})");
        else
            peer.Answer(200, ScriptedServer::Ports("ManagementService", listed));
    }};
};

TEST(ManagementServiceTest, IsFoundWhereverItIsAndItsFailuresAreToldByTheNextRequest)
{
    const LogCapture log;
    ScriptedStrategy strategy;
    SYCB::PresenceService presence;
    ServerConnectionManager manager;
    manager.AttachConnection(&presence);
    manager.AttachConnection(nullptr);
    manager.SetPassword(u"s3cret");
    OV::Array<Syncra::Server::Management::Role> roles;
    const auto hasRoles = [&] { return manager.GetUserManager()->GetRoles(roles); };
    Site model, second;
    auto first = std::make_unique<Site>();
    const auto connect = [&](const Site& to, ConnectionType type) {
        manager.SetConnection(u"127.0.0.1", static_cast<short>(to.server.Port()), type);
    };
    connect(model, ConnectionType::FullConnection);
    EXPECT_EQ(manager.GetManagementPort(), 0);
    EXPECT_TRUE(log.Mentions("ServerConnectionManager::SetConnection: "));
    EXPECT_FALSE(hasRoles());
    EXPECT_EQ(manager.GetUserManager()->GetLastFailure().type, ErrorType::CannotConnect);
    EXPECT_TRUE(manager.GetLastFailure());
    model.listed = first->server.Port();
    manager.ReConnect(ConnectionType::NoConnection);
    EXPECT_TRUE(hasRoles()) << "not listed at first";
    EXPECT_FALSE(manager.GetLastFailure());

    model.listed = second.server.Port();
    first.reset();
    strategy.tasks = 0;
    // The signal client's thread tells it, while the main thread asks and sets.
    std::thread signals([&] { presence.SetState(SYCB::PresenceState::Online); });
    manager.SetUserName(manager.GetUserName());
    signals.join();
    EXPECT_EQ(strategy.tasks, 0) << "nothing may appear on that thread";
    EXPECT_EQ(manager.GetManagementPort(), static_cast<short>(second.server.Port()));
    EXPECT_TRUE(hasRoles());
    presence.SetState(SYCB::PresenceState::Offline);
    presence.SetState(SYCB::PresenceState::Online);
    EXPECT_EQ(strategy.tasks, 1 + 2) << "nor may the main thread stand still";

    second.listed = second.server.Port();
    connect(second, ConnectionType::UserConnection);
    EXPECT_FALSE(manager.GetProjectManager()->IsConnected()) << "it was the former server's";
    presence.SetState(SYCB::PresenceState::Offline);
    presence.SetState(SYCB::PresenceState::Online);
    EXPECT_TRUE(manager.GetProjectManager()->IsConnected()) << "both, whatever the type";

    manager.SetConnection(u"127.0.0.1", 1, ConnectionType::FullConnection);
    EXPECT_EQ(manager.GetManagementPort(), 0) << "not the former server's";
    EXPECT_EQ(manager.GetLastFailure().kind, SYC::FailureKind::NotReached);
    manager.DetachConnection(&presence);
    strategy.tasks = 0;
    presence.SetState(SYCB::PresenceState::Offline);
    presence.SetState(SYCB::PresenceState::Online);
    EXPECT_EQ(strategy.tasks, 0);
    EXPECT_FALSE(log.Mentions("s3cret"));
}

TEST(ManagementServiceTest, TheUserMayGiveUpOneThatIsSilent)
{
    Dlg::HeadlessToolkit toolkit;
    Syncra::Server::ManagementTool::GUI::AsyncTaskDialogExecutingImplementation dialogs;
    SetUserAsyncTaskExecutingImplementation(&dialogs);
    toolkit.AddScript(32420, [](Dlg::HeadlessDialog& user) { user.Leave(); });
    Site model, silent;
    model.listed = silent.server.Port();
    silent.isSilent = true;
    ServerConnectionManager manager;
    manager.SetConnection(u"127.0.0.1", static_cast<short>(model.server.Port()),
                          ConnectionType::FullConnection);
    EXPECT_EQ(toolkit.GetOpenedDialogs().size(), 1u);
    EXPECT_EQ(manager.GetLastFailure().kind, SYC::FailureKind::Cancelled);
    SetUserAsyncTaskExecutingImplementation(nullptr);
}

static_assert(std::is_convertible_v<ServerConnectionManager*, SYCB::PresenceServiceObserver*>);
static_assert(
    std::is_convertible_v<ServerConnectionManager*, OV::EventSource<ServerConnectionObserver>*>);
static_assert(std::is_constructible_v<TargetNotFoundException, OV::UniString, const char*, int,
                                      std::shared_ptr<const OV::Exception>>);

TEST(ServerConnectionManagerExecutorTest, FinishesWhatItCanAsksTheRestToStopAndWaits)
{
    std::atomic<int> finished = 0;
    std::atomic<bool> wasAsked = false, hasEnded = false;
    ServerConnectionManager manager({}, {});
    OV::Executor& executor = manager.GetExecutor();
    executor.Execute(OV::MakeTask([&] { ++finished; }));
    executor.Execute(OV::MakeTask([&] {
        try {
            OV::Thread::Sleep(60'000);
        } catch (const OV::InterruptedException&) {
            wasAsked = true;
        }
        // Deaf for a while: it is waited for all the same.
        for (int turn = 0; turn < 1000; ++turn)
            std::this_thread::yield();
        hasEnded = true;
    }));
    executor.Execute(OV::MakeTask([&] { ++finished; }));
    manager.StopExecutor();
    EXPECT_TRUE(wasAsked && hasEnded);
    EXPECT_EQ(finished, 1) << "what had not begun is dropped";
    EXPECT_FALSE(executor.Execute(OV::MakeTask([&] { ++finished; })));
    manager.StopExecutor();
}

}  // namespace
