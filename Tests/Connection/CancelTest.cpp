#include "Connection/ConnectionTest.hpp"
#include "EventLogUpdater.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "OVRoot/Thread.hpp"
#include "PresenceManager/PresenceManager.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "StartCheck.hpp"
#include "Support/Eventually.hpp"
#include "Support/ScriptedServer.hpp"

using SYC::CheckResult;
using SYC::FailureKind;

namespace {

/// A port that takes every request and never answers one.
struct SilentServer {
    std::atomic<int> requests = 0;
    ScriptedServer server{[this](ScriptedServer::Peer& peer, const ScriptedServer::Request&) {
        ++requests;
        peer.HoldUntilGone();
    }};
};

class CancelTest : public testing::Test {
protected:
    [[nodiscard]] Syncra::Client::SignInData SignIn() const
    {
        return {u"127.0.0.1", silent.server.Port(), u"anna.novak", OV::Secret(u"secret")};
    }
    [[nodiscard]] IO::Location Url() const
    {
        SYC::Inner::ProjectConnectionInfo info;
        info.serverName = u"127.0.0.1";
        info.port = silent.server.Port();
        info.userName = u"anna.novak";
        info.password = OV::Secret(u"secret");
        info.projectName = u"P";
        return SYC::ToSyncraLocation(info);
    }
    void AwaitRequest() const
    {
        ASSERT_TRUE(Eventually([this] { return silent.requests > 0; }));
    }

    TemporaryFolder folder;
    SilentServer silent;
    Host host{Url(), folder.GetLocation().Appended(u"Caches")};
};

}  // namespace

// A request may stand still for 30 s; whoever asks for the end of it waits for none of them.
TEST_F(CancelTest, EveryOperationThatWaitsForAServerEndsWithItsThread)
{
    OV::PooledExecutor executor(0, 1, 0);
    LogSource log;
    log.host = u"127.0.0.1";
    log.port = silent.server.Port();
    log.userName = u"anna.novak";
    log.password = OV::Secret(u"secret");
    const auto cache =
        std::dynamic_pointer_cast<SYC::CachedProjectInfo>(host.manager.GetCachedProjectInfo());
    cache->SetSessionId(u"session");
    const struct {
        const char* name;
        std::function<void()> run;
    } operations[] = {
        {"Check",
         [&] {
             SYC::ReadProjectConnection connection(&host.manager);
             EXPECT_EQ(connection.Check(true, false, true, false), CheckResult::Offline);
             EXPECT_EQ(connection.GetLastFailure().kind, FailureKind::Cancelled);
         }},
        {"CloseSession",
         [&] {
             SYC::Failure failure;
             EXPECT_FALSE(SYC::CloseSession(host.manager, failure));
             EXPECT_EQ(failure.kind, FailureKind::Cancelled);
         }},
        {"CreateSyncraClient",
         [&] { EXPECT_THROW((void)SYCB::CreateSyncraClient(SignIn()), OV::InterruptedException); }},
        {"GetServicePort",
         [&] {
             EXPECT_THROW((void)SYCB::ServicePortCache::GetInstance().GetServicePort(
                              u"127.0.0.1", silent.server.Port(), u"anna.novak",
                              OV::Secret(u"secret"), SYCB::ServiceType::Management, true),
                          OV::InterruptedException);
         }},
        {"PresenceManager",
         [&] {
             auto& presence = SYC::PresenceManager::GetInstance();
             EXPECT_THROW(presence.SetTargetServer(u"127.0.0.1", silent.server.Port(),
                                                   u"anna.novak", OV::Secret(u"secret")),
                          OV::InterruptedException);
             presence.StopPresenceCheck();
         }},
        {"EventLogUpdater",
         [&] {
             SYC::BinCacheHandler cacheOfLog(u"silent");
             EventLogUpdater updater(log, cacheOfLog);
             EXPECT_THROW(updater.Update(), OV::InterruptedException);
         }},
        {"repository",
         [&] {
             Syncra::Server::ManagementTool::Core::UserRepositoryManager users(executor);
             EXPECT_FALSE(users.SetConnection(u"127.0.0.1",
                                              static_cast<short>(silent.server.Port()),
                                              u"anna.novak", OV::Secret(u"secret"), false));
         }},
    };
    for (const auto& operation : operations) {
        SCOPED_TRACE(operation.name);
        silent.requests = 0;
        std::atomic<bool> hasEnded = false;
        OV::Thread thread("operation", [&] {
            operation.run();
            hasEnded = true;
        });
        AwaitRequest();
        EXPECT_FALSE(hasEnded);
        const auto asked = std::chrono::steady_clock::now();
        thread.Interrupt();
        thread.Join();
        EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(5));
    }
}

TEST_F(CancelTest, ACheckThatWasStartedEndsOnceAndSaysHow)
{
    OV::PooledExecutor worker(0, 1, 0);
    OV::PooledExecutor home(0, 1, 0);
    std::atomic<int> ends = 0;
    std::atomic<SYC::CheckStep> step{};
    SYC::Failure told;
    const auto connection = std::make_shared<SYC::ReadProjectConnection>(&host.manager);
    const auto start = [&](std::stop_token stop) {
        SYC::CheckOptions options;
        options.stop = std::move(stop);
        options.progress = [&](SYC::CheckStep next) {
            step = next;
            throw 42;
        };
        SYC::StartCheck(connection, options, worker, home,
                        [&](CheckResult result, const SYC::Failure& failure) {
                            EXPECT_EQ(result, CheckResult::Offline);
                            told = failure;
                            ++ends;
                        });
    };
    std::stop_source stop;
    start(stop.get_token());
    AwaitRequest();
    stop.request_stop();
    ASSERT_TRUE(Eventually([&] { return ends == 1; }));
    EXPECT_EQ(told.kind, FailureKind::Cancelled);
    EXPECT_EQ(step, SYC::CheckStep::Connect);

    // One that waits behind another and is dropped, and one that is not taken.
    silent.requests = 0;
    start({});
    AwaitRequest();
    start({});
    worker.Cancel();
    start({});
    ASSERT_TRUE(Eventually([&] { return ends == 4; }));
    worker.AwaitTermination();
    home.Shutdown();
    home.AwaitTermination();
    EXPECT_EQ(ends, 4);
}
