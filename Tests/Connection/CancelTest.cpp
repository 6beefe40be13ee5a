#include "BrowseProject.hpp"
#include "Connection/ConnectionTest.hpp"
#include "Diagnosis/Diagnosis.hpp"
#include "EventLogUpdater.hpp"
#include "Flow/OwnExecutors.hpp"
#include "Log/PieChartUpdater.hpp"
#include "ManagementTool/ServerConnectionManager.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "Messaging/MailClient.hpp"
#include "OVRoot/PooledExecutor.hpp"
#include "OVRoot/Thread.hpp"
#include "PresenceManager/PresenceManager.hpp"
#include "SYClientBase/MessageLoopExecutor.hpp"
#include "SYClientBase/ServicePortCache.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SessionWatch.hpp"
#include "StartCheck.hpp"
#include "Support/Eventually.hpp"
#include "Support/ScriptedServer.hpp"
#include "SyncraMessaging/MessagingClient.hpp"

using SYC::CheckResult;
using SYC::FailureKind;
using Syncra::Server::ManagementTool::Core::ConnectionType;
using Syncra::Server::ManagementTool::Core::ServerConnectionManager;
using Syncra::Server::ManagementTool::Core::UserRepositoryManager;

namespace {

/// A port that takes every request and never answers one, unless it is to sign users in.
struct SilentServer {
    std::atomic<int> requests = 0;
    std::atomic<bool> signsIn = false;
    ScriptedServer server{
        [this](ScriptedServer::Peer& peer, const ScriptedServer::Request& request) {
            if (signsIn && request.target.ends_with("/sign-in")) {
                peer.Answer(200, ScriptedServer::SignedIn);
                return;
            }
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
    /// Within 100 ms is what the headers say. This bound holds on any machine, and no request, name
    /// look-up or log-out is over by then of itself.
    static void EndsSoon(const std::function<void()>& end)
    {
        const auto asked = std::chrono::steady_clock::now();
        end();
        EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(4));
    }
    /// A mail that was read here, in the cache of the project.
    [[nodiscard]] IO::Location WriteMarkedMail() const
    {
        const auto mail = OV::MakeRef<SYC::ClientMail>();
        mail->SetId(u"1");
        mail->SetRead();
        mail->SetModify(true);
        const auto place = cache->GetCacheFolderLocation();
        SYC::MailFile::Write(place.Appended(SYC::MailFile::MailsName), {mail});
        return place;
    }

    TemporaryFolder folder;
    SilentServer silent;
    Host host{Url(), folder.GetLocation().Appended(u"Caches")};
    std::shared_ptr<SYC::CachedProjectInfo> cache =
        std::dynamic_pointer_cast<SYC::CachedProjectInfo>(host.manager.GetCachedProjectInfo());
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
    const auto port = static_cast<short>(silent.server.Port());
    cache->SetSessionId(u"session");
    cache->SetProjectId(u"p");
    const struct {
        const char* name;
        std::function<void()> run;
        bool isSignedIn = false;
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
        {"PieChartUpdater",
         [&] {
             SYC::BinCacheHandler cacheOfLog(u"silent");
             PieChartUpdater updater(log, cacheOfLog);
             EXPECT_THROW(updater.Update(), OV::InterruptedException);
         }},
        {"WalkToServer",
         [&] {
             EXPECT_THROW((void)SYC::WalkToServer({u"127.0.0.1", silent.server.Port(),
                                                   u"anna.novak", OV::Secret(u"secret")}),
                          OV::InterruptedException);
         }},
        {"MessagingClient",
         [&] {
             EXPECT_THROW(Syncra::Messaging::MessagingClient{SignIn()}, OV::InterruptedException);
         }},
        {"ServerConnectionManager",
         [&] {
             ServerConnectionManager servers;
             servers.SetUserName(u"anna.novak");
             servers.SetPassword(OV::Secret(u"secret"));
             servers.SetConnection(u"127.0.0.1", port, ConnectionType::FullConnection);
             EXPECT_FALSE(servers.GetUserManager()->IsConnected());
         }},
        {"repository",
         [&] {
             UserRepositoryManager users(executor);
             EXPECT_FALSE(users.SetConnection(u"127.0.0.1", port, u"anna.novak",
                                              OV::Secret(u"secret"), false));
         }},
        {"operation of a repository",
         [&] {
             UserRepositoryManager users(executor);
             EXPECT_TRUE(users.SetConnection(u"127.0.0.1", port, u"anna.novak",
                                             OV::Secret(u"secret"), false));
             OV::Array<Syncra::Server::Management::User> all;
             EXPECT_FALSE(users.GetUsers(all));
         },
         true},
        {"SynchronizeLogOut",
         [&] {
             SYCB::MessageLoopExecutor home;
             SYC::ProjectMembers members(host.manager.GetSignalClient(), host.manager, home);
             SYC::MailClient mails(host.manager.GetSignalClient(), host.manager, members,
                                   WriteMarkedMail(), home);
             EXPECT_THROW(mails.SynchronizeLogOut(), OV::InterruptedException);
             EXPECT_TRUE(mails.GetMails().front()->IsModify()) << "for the next log-out";
         },
         true},
    };
    for (const auto& operation : operations) {
        SCOPED_TRACE(operation.name);
        silent.requests = 0;
        silent.signsIn = operation.isSignedIn;
        std::atomic<bool> hasEnded = false;
        OV::Thread thread("operation", [&] {
            operation.run();
            hasEnded = true;
        });
        AwaitRequest();
        EXPECT_FALSE(hasEnded);
        EndsSoon([&] {
            thread.Interrupt();
            thread.Join();
        });
    }
}

TEST_F(CancelTest, WhatWorksInTheBackgroundEndsWithItsOwner)
{
    cache->SetSessionId(u"session");
    cache->SetProjectId(u"p");
    SYCB::MessageLoopExecutor home;
    auto& signals = host.manager.GetSignalClient();
    struct Browsing {
        explicit Browsing(Syncra::Client::SignInData login)
            : browse(std::move(login), {}, executors)
        {
            browse.Refresh();
        }
        SYC::OwnExecutors executors;
        SYC::BrowseProject browse;
    };
    const struct {
        const char* name;
        std::function<std::shared_ptr<void>()> start;
    } owners[] = {
        {"signals",
         [&] {
             host.manager.StartSignals(u"p");
             return std::shared_ptr<void>(&host, [](Host* each) { each->manager.StopSignals(); });
         }},
        {"members",
         [&] {
             const auto members =
                 std::make_shared<SYC::ProjectMembers>(signals, host.manager, home);
             members->Init();
             return members;
         }},
        {"watch of the session",
         [&] { return std::make_shared<SYC::SessionWatch>(signals, host.manager, home); }},
        {"flow", [&] { return std::make_shared<Browsing>(SignIn()); }},
    };
    for (const auto& owner : owners) {
        SCOPED_TRACE(owner.name);
        silent.requests = 0;
        auto owned = owner.start();
        AwaitRequest();
        EndsSoon([&] { owned.reset(); });
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
