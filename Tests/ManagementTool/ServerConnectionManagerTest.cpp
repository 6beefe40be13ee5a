#include "ManagementTool/ServerConnectionManager.hpp"

#include "ManagementTool/TargetNotFoundException.hpp"
#include "OVRoot/Thread.hpp"
#include "Support/LogCapture.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"

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
                       const OV::UniString& userName, const OV::UniString& password,
                       bool flag) override
    {
        lines_.push_back(name_ + " " + OV::ToUtf8(userName) + ":" + OV::ToUtf8(password) + "@" +
                         OV::ToUtf8(serverName) + ":" +
                         std::to_string(static_cast<std::uint16_t>(managementPort)) +
                         (flag ? " true" : ""));
        return false;
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
        manager.Attach(observer);
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

TEST_F(ServerConnectionManagerTest, ReconnectsBothWhenThePresenceComesOnline)
{
    SYCB::PresenceService presence;
    manager.AttachConnection(nullptr);
    manager.AttachConnection(&presence);
    presence.SetState(SYCB::PresenceState::Online);
    EXPECT_EQ(TakeLines(), Lines{}) << "there is no server yet";
    Connect(ConnectionType::UserConnection);
    TakeLines();
    presence.SetState(SYCB::PresenceState::Offline);
    EXPECT_EQ(TakeLines(), Lines{});
    {
        // The signal client's thread tells it, while the main thread asks and sets.
        OV::Thread signals("signals", [&] { presence.SetState(SYCB::PresenceState::Online); });
        manager.SetUserName(manager.GetUserName());
        manager.SetPassword(manager.GetPassword());
    }
    EXPECT_EQ(TakeLines(), (Lines{"changed", Told("users"), Told("projects")}));
    manager.DetachConnection(&presence);
    presence.SetState(SYCB::PresenceState::Unknown);
    presence.SetState(SYCB::PresenceState::Online);
    EXPECT_EQ(TakeLines(), Lines{});
}

TEST_F(ServerConnectionManagerTest, AServerThatIsDownIsFoundWhenItReturns)
{
    const LogCapture log;
    server.Kill();
    Connect(ConnectionType::FullConnection);
    EXPECT_EQ(TakeLines(), Lines{}) << "who is not found has not changed";
    EXPECT_TRUE(
        log.Mentions("Debug: Exception occurred during ServerConnectionManager::SetConnection: "));
    EXPECT_EQ(manager.GetServerName(), u"127.0.0.1");
    manager.ReConnect(ConnectionType::NoConnection);
    EXPECT_TRUE(
        log.Mentions("Debug: Exception occurred during ServerConnectionManager::ReConnect: "));

    server.Start();
    manager.SetPassword(u"wr0ng");
    manager.ReConnect(ConnectionType::UserConnection);
    EXPECT_EQ(TakeLines(), Lines{});
    manager.SetPassword(OV::FromUtf8(ServerProcess::Password));
    manager.ReConnect(ConnectionType::NoConnection);
    EXPECT_EQ(TakeLines(), (Lines{"changed", Told("users"), Told("projects")}));
    EXPECT_FALSE(log.Mentions("wr0ng") || log.Mentions(ServerProcess::Password));

    // A server that cannot be asked must not be reached through the port of the former one.
    manager.SetConnection(u"127.0.0.1", 1, ConnectionType::FullConnection);
    EXPECT_EQ(manager.GetManagementPort(), 0);
}

TEST_F(ServerConnectionManagerTest, FailuresOfAManagerArePrintedWithTheirPlace)
{
    class FailingManager : public UserRepositoryManager {
        using UserRepositoryManager::UserRepositoryManager;
        bool SetConnection(const OV::UniString&, short, const OV::UniString&, const OV::UniString&,
                           bool) override
        {
            throw TargetNotFoundException(u"No users.", {"a/Users.cpp", 7});
        }
    };
    const LogCapture log;
    const auto port = static_cast<short>(server.ModelPort());
    ServerConnectionManager failing(OV::MakeRef<FailingManager>(Idle()), {});
    failing.Attach(observer);
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
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
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
