#include "EventLogUpdater.hpp"
#include "ManagementTool/BackgroundExecutors.hpp"
#include "ManagementTool/ServerConnectionManager.hpp"
#include "ManagementTool/UserRepositoryManager.hpp"
#include "OVRoot/Condition.hpp"
#include "OVRoot/Thread.hpp"
#include "OVRoot/ThreadedExecutor.hpp"
#include "PresenceManager/PresenceManager.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

using namespace Syncra::Server::ManagementTool::Core;

namespace {

constexpr const char16_t* Host = u"127.0.0.1";

/// What a task leaves when its caller does not wait for it.
void GiveUp(std::function<void()> work)
{
    auto executor = std::make_unique<OV::ThreadedExecutor>();
    executor->Execute(OV::MakeTask(std::move(work)));
    BackgroundExecutors::GetInstance().Keep(std::move(executor));
}

/// A request of the current server's users, which waits by the strategy.
void AskUsers(std::uint16_t port)
{
    (void)ServerConnectionManager::GetInstance().GetUserManager()->SetConnection(
        Host, static_cast<short>(port), u"u", u"p", false);
}

/// Notified once StopLate is under way.
OV::Condition& Begun()
{
    static auto& begun = *new OV::Condition;
    return begun;
}

/// Waits until it is asked to stop, and then does what the end of a request does.
void StopLate()
{
    Begun().Notify();
    try {
        OV::Thread::Sleep(600'000);
    } catch (const OV::InterruptedException&) {
        if (SYCB::ConnectionValidator::GetInstance().GetWorkingConnectionForServer(Host, 1) &&
            ServerConnectionManager::GetInstance().GetUserName() == u"known")
            std::fputs("found everything", stderr);
    }
}

}  // namespace

/// The process ends in the middle of each kind of work, when it has reached a server that never
/// answers. What hangs, or waits until a request has reached its limit, is ended by the alarm.
TEST(ProcessEndTest, WorkUnderWayFindsWhatItNeedsAndEnds)
{
    const struct {
        const char* name;
        void (*begin)(std::uint16_t port);
        const char* said;
        int requests = 1;
    } rows[] = {
        {"given-up work that uses the current server, or itself waits by the strategy",
         [](std::uint16_t port) {
             GiveUp(StopLate);
             GiveUp([port] { AskUsers(port); });
         },
         "found everything"},
        {"work on the executor of the current server, which gives work up",
         [](std::uint16_t port) {
             ServerConnectionManager::GetInstance().GetExecutor().Execute(OV::MakeTask([port] {
                 GiveUp([port] { AskUsers(port); });
                 StopLate();
             }));
         },
         "found everything"},
        {"the check of presence",
         [](std::uint16_t port) {
             GiveUp([port] {
                 SYC::PresenceManager::GetInstance().SetTargetServer(Host, port, u"u", u"p");
             });
         },
         ""},
        {"a host's update of a log",
         [](std::uint16_t port) {
             static SYC::BinCacheHandler cache(u"server");
             LogSource source;
             source.host = Host;
             source.port = port;
             static EventLogUpdater updater(source, cache);
             updater.Start();
         },
         ""},
        {"a signal client of the host, whose presence the current server follows",
         [](std::uint16_t port) {
             static SYCB::PKSignalClient signals;
             ServerConnectionManager::GetInstance().AttachConnection(&signals.GetPresenceService());
             signals.Start(
                 [port] {
                     return SYCB::CreateSyncraClient({Host, port, u"u", u"p"});
                 },
                 u"P");
         },
         ""},
        {"a reconnection when the presence came back",
         [](std::uint16_t port) {
             static auto& presence = *new SYCB::PresenceService;
             auto& manager = ServerConnectionManager::GetInstance();
             manager.AttachConnection(&presence);
             GiveUp([&manager, port] {
                 manager.SetConnection(Host, static_cast<short>(port),
                                       ConnectionType::FullConnection);
             });
             while (manager.GetServerName().empty())
                 std::this_thread::yield();
             std::thread([] { presence.SetState(SYCB::PresenceState::Online); }).detach();
         },
         "", 2},
    };
    const TemporaryFolder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EXIT(
            {
                alarm(20);
                auto& reached = *new OV::Condition;
                auto& server = *new ScriptedServer([&](auto& peer, const auto& request) {
                    if (request.number >= row.requests)
                        reached.Notify();
                    peer.HoldUntilGone();
                });
                ServerConnectionManager::GetInstance().SetUserName(u"known");
                // Made last: by the order of static objects it would be gone first.
                SYCB::ConnectionValidator::GetInstance().SetWorkingConnectionForServer({Host, 1},
                                                                                       true);
                row.begin(server.Port());
                reached.Wait();
                if (*row.said != '\0')
                    Begun().Wait();
                std::exit(0);
            },
            testing::ExitedWithCode(0), row.said);
    }
}
