#include "CachedProjectInfoObserver.hpp"
#include "CheckOptions.hpp"
#include "ClientProjectData.hpp"
#include "Connection/ConnectionTest.hpp"
#include "Failure.hpp"
#include "Support/FileBytes.hpp"
#include "Support/ScriptedServer.hpp"

#include <memory>

using SYC::CheckResult;

namespace {

std::unique_ptr<SYC::ProjectConnectionBase> Connect(Host& host, bool writing)
{
    if (writing)
        return std::make_unique<SYC::WriteProjectConnection>(&host.manager);
    return std::make_unique<SYC::ReadProjectConnection>(&host.manager);
}

OV::UniString ThisComputer()
{
    return OV::System::ComputerName();
}

}  // namespace

class CheckOutcomeTest : public ConnectionTest {
protected:
    /// A check of a fresh host with the arguments first, new session, force online, take over.
    CheckResult Check(Host& host, bool newSession = false, bool takeOver = false)
    {
        return SYC::ReadProjectConnection(&host.manager).Check(true, newSession, false, takeOver);
    }
};

TEST_F(CheckOutcomeTest, EveryAnswerOfTheServerHasItsResultAndEvent)
{
    using enum CheckResult;
    const struct {
        const char* user;
        const char16_t* project;
        bool writing;
        CheckResult result;
        int event;  ///< 0 for none
    } outcomes[] = {
        {"anna.novak", u"Harbour Bridge", false, Passed, 0},
        {"anna.novak", u"Harbour Bridge", true, Passed, 0},
        {"anna.novak", u"Open House 2026", false, AccessDenied, 11},    // public, but no member
        {"former.member", u"Harbour Bridge", false, AccessDenied, 11},  // switched off
        {"nobody", u"Harbour Bridge", false, AccessDenied, 11},
        {"marco.rossi", u"Harbour Bridge", false, SessionInUse, 8},
        {"anna.novak", u"harbour bridge", false, ProjectMismatch, 9},
        {"jonas.berg", u"City Library", false, ProjectMismatch, 9},  // not visible
        {"anna.novak", u"Nowhere", false, ProjectNotFound, 12},
        {"anna.novak", u"Riverside Tower", false, Passed, 0},  // locked
        {"anna.novak", u"Riverside Tower", true, ForbiddenByState, 13},
        {"anna.novak", u"Old Mill Conversion", false, ForbiddenByState, 0},  // answers code 24
    };
    for (const auto& [user, project, writing, result, event] : outcomes) {
        SCOPED_TRACE(user + (' ' + OV::ToUtf8(project)) + (writing ? " to write" : ""));
        Host host(Url(user, project), DataFolder());
        const auto connection = Connect(host, writing);
        EXPECT_EQ(connection->Check(true, false, false, false), result);
        EXPECT_EQ(host.events,
                  event == 0 ? Events{} : (Events{{event, event == 8 ? u"STUDIO-07" : u""}}));
        EXPECT_EQ(connection->IsOpen(), result == Passed);
        EXPECT_EQ(host.manager.GetSignalClient().GetPresenceService().IsOnline(), result == Passed);
    }
}

TEST_F(CheckOutcomeTest, WrongPasswordIsDeniedAndStaysOutOfTheLog)
{
    const LogCapture log;
    Host host(Url("anna.novak", u"Harbour Bridge", 0, "s3cret-guess"), DataFolder());
    EXPECT_EQ(Check(host), CheckResult::AccessDenied);
    EXPECT_EQ(host.events, (Events{{11, u""}}));
    EXPECT_TRUE(log.Has("SYClient: SYC::ProjectConnection::Check result : 2"));
    EXPECT_FALSE(log.Mentions("s3cret-guess"));
}

TEST_F(CheckOutcomeTest, FillsTheCacheInOneWrite)
{
    struct Counter : SYC::CachedProjectInfoObserver {
        void ContentWrittenToDisc(const SYC::CachedProjectInfo&) override { ++writes; }
        int writes = 0;
    } counter;
    Host host(Url("anna.novak", u"Harbour Bridge"), DataFolder());
    (void)host.manager.GetCachedProjectInfo();
    counter.Attach();
    SYC::ReadProjectConnection connection(&host.manager);
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::Passed);
    EXPECT_EQ(connection.Check(false, false, false, false), CheckResult::Passed);
    counter.Detach();
    EXPECT_EQ(counter.writes, 1) << "the second check changed nothing";

    const SYC::ClientProjectData described(host.manager);
    EXPECT_EQ(described.GetProject().id, connection.GetProjectId());
    EXPECT_EQ(described.GetCategory().category, u"Infrastructure");
    EXPECT_EQ(described.GetPassword(), OV::FromUtf8(ServerProcess::Password));

    const SYC::CachedProjectInfo read(
        DataFolder().Appended(SYC::CacheFolders::Find(DataFolder()).at(0).name));
    EXPECT_TRUE(read.IsComplete());
    EXPECT_EQ(read.GetUserName(), u"Anna Nov\u00e1k");
    EXPECT_EQ(read.GetRoleName(), u"Project Manager");
    EXPECT_EQ(read.GetSessionId(), connection.GetSessionId());
    EXPECT_EQ(read.GetProjectId(), connection.GetProjectId());
    EXPECT_EQ(read.GetPermissions().count(u"ManageMembers"), 1u);
    EXPECT_EQ(connection.GetServerLocation(), u"/projects/" + connection.GetProjectId());
}

TEST_F(CheckOutcomeTest, ReplacedProjectIsReportedAndItsCacheKept)
{
    Host host(Url("anna.novak", u"North Station"), DataFolder());
    const auto cache =
        std::dynamic_pointer_cast<SYC::CachedProjectInfo>(host.manager.GetCachedProjectInfo());
    const OV::UniString formerId = u"6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1906";
    cache->SetProjectId(formerId);
    EXPECT_EQ(Check(host), CheckResult::ProjectNotFound);
    EXPECT_EQ(host.events, (Events{{12, u""}}));
    EXPECT_EQ(cache->GetProjectId(), formerId);
    cache->SetProjectId({});
    EXPECT_EQ(Check(host), CheckResult::Passed) << "an empty cached id passes";
}

TEST_F(CheckOutcomeTest, LostSessionIsAMismatchUntilANewOneIsWanted)
{
    Host host(Url("anna.novak", u"Harbour Bridge"), DataFolder());
    EXPECT_EQ(Check(host), CheckResult::Passed);
    Sql("DELETE FROM sessions");
    EXPECT_EQ(Check(host), CheckResult::ProjectMismatch);
    EXPECT_EQ(host.events, (Events{{9, u""}}));
    EXPECT_EQ(Check(host, true), CheckResult::Passed);
    EXPECT_EQ(Check(host), CheckResult::Passed) << "the cache holds the new session";
}

TEST_F(CheckOutcomeTest, TakeoverWritesThisComputerIntoTheSession)
{
    Host host(Url("marco.rossi", u"Harbour Bridge"), DataFolder());
    SYC::ReadProjectConnection connection(&host.manager);
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::SessionInUse);
    EXPECT_EQ(connection.Check(true, false, false, true), CheckResult::Passed);
    EXPECT_EQ(connection.GetSessionComputerAttribute(), ThisComputer());
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::Passed);
    EXPECT_FALSE(connection.IsEditConflict());
    Sql("UPDATE session_attributes SET value = 'STUDIO-07'");
    EXPECT_TRUE(connection.IsEditConflict());
}

TEST_F(CheckOutcomeTest, SecondaryConnectionLeavesComputerAndPresenceAlone)
{
    const LogCapture log;
    Host host(Url("marco.rossi", u"Harbour Bridge"), DataFolder());
    host.manager.GetSignalClient().GetPresenceService().SetState(SYCB::PresenceState::Offline);
    const auto cache =
        std::dynamic_pointer_cast<SYC::CachedProjectInfo>(host.manager.GetCachedProjectInfo());
    SYC::ReadProjectConnection connection(&host.manager, Url("marco.rossi", u"Harbour Bridge"),
                                          cache);
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::Passed);
    EXPECT_FALSE(connection.IsFirstCheck());
    EXPECT_EQ(connection.GetSessionComputerAttribute(), u"STUDIO-07");
    EXPECT_TRUE(log.Has("SYClient: Secondary SYC::ProjectConnection created"));
}

TEST_F(CheckOutcomeTest, KnownToBeOfflineAsksNoServerUnlessForced)
{
    const LogCapture log;
    Host host(Url("anna.novak", u"Harbour Bridge"), DataFolder());
    auto& presence = host.manager.GetSignalClient().GetPresenceService();
    presence.SetState(SYCB::PresenceState::Offline);
    SYC::ReadProjectConnection connection(&host.manager);
    EXPECT_EQ(connection.Check(true, false, false, false), CheckResult::Offline);
    EXPECT_EQ(connection.GetSyncraClient(), nullptr);
    EXPECT_TRUE(
        log.Has("SYClient: SYC::ProjectConnection::Check return Offfline about presenceState."));
    EXPECT_EQ(connection.Check(true, false, true, false), CheckResult::Passed);
    EXPECT_TRUE(presence.IsOnline());
    host.manager.GetSignalClient().SetForcedOffline(true);
    EXPECT_EQ(connection.Check(true, false, true, false), CheckResult::Passed);
    EXPECT_FALSE(presence.IsOnline()) << "nor set online while the user works offline";
}

TEST_F(CheckOutcomeTest, NoManagerAndNoServerAreOffline)
{
    SYC::ReadProjectConnection orphan(nullptr);
    EXPECT_EQ(orphan.Check(true, true, true, true), CheckResult::Offline);
    const auto url = Url("anna.novak", u"Harbour Bridge");
    server.Kill();
    Host host(url, DataFolder());
    EXPECT_EQ(Check(host), CheckResult::Offline);
    EXPECT_TRUE(host.events.empty());
    EXPECT_TRUE(SYC::CacheFolders::Find(DataFolder()).empty()) << "nothing was cached";
}

TEST_F(CheckOutcomeTest, ServerOfAnotherVersionIsIncompatible)
{
    ScriptedServer other([](auto& peer, const auto&) {
        peer.Answer(426, R"({"code":30,"message":"other version"})");
    });
    Host host(Url("anna.novak", u"Harbour Bridge", other.Port()), DataFolder());
    EXPECT_EQ(Check(host), CheckResult::IncompatibleVersion);
    EXPECT_EQ(host.events, (Events{{14, u""}}));
}

TEST_F(CheckOutcomeTest, ClosingLogsItsOutcomeAndForgetsTheSession)
{
    const LogCapture log;
    const std::string tail =
        ", Host: 127.0.0.1, Port: " + std::to_string(server.ModelPort()) + ", User: anna.novak";
    Host host(Url("anna.novak", u"Harbour Bridge"), DataFolder());
    EXPECT_EQ(Check(host), CheckResult::Passed);
    EXPECT_TRUE(SYC::CloseSession(host.manager));
    EXPECT_TRUE(log.Has("SYClient: SYC::CloseSession Succeeded" + tail));
    EXPECT_EQ(host.manager.GetSessionId(), u"");
    EXPECT_FALSE(SYC::CloseSession(host.manager));
    EXPECT_TRUE(log.Has("SYClient: SYC::CloseSession Failed" + tail));
    EXPECT_EQ(Check(host), CheckResult::Passed) << "the next check starts a new one";
    host.manager.FindCache()->SetSessionId(u"ended elsewhere");
    EXPECT_TRUE(SYC::CloseSession(host.manager)) << "it could never be closed";
    EXPECT_EQ(host.manager.GetSessionId(), u"");
}

TEST_F(CheckOutcomeTest, EveryFailureSaysWhyAndWhatToDo)
{
    using SYC::FailureKind;
    const auto file = folder.GetLocation().Appended(u"file");
    WriteBytes(file.ToPath(), "x");
    const struct {
        std::uint16_t port;
        std::string password;
        IO::Location caches;
        FailureKind kind;
        std::int32_t code;
        bool mayTryAgain;
    } rows[] = {
        {1, ServerProcess::Password, DataFolder(), FailureKind::NotReached, 0, true},
        {server.ManagementPort(), ServerProcess::Password, DataFolder(), FailureKind::NotUnderstood,
         3, true},
        {server.ModelPort(), "wrong", DataFolder(), FailureKind::AccessDenied, 10, false},
        {server.ModelPort(), ServerProcess::Password, file, FailureKind::ThisComputer, 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.kind));
        Host host(Url("anna.novak", u"Harbour Bridge", row.port, row.password), row.caches);
        SYC::ReadProjectConnection connection(&host.manager);
        EXPECT_NE(connection.Check({}), CheckResult::Passed);
        const SYC::Failure& failure = connection.GetLastFailure();
        EXPECT_EQ(failure.kind, row.kind) << OV::ToUtf8(failure.sentence);
        EXPECT_EQ(failure.code, row.code);
        EXPECT_EQ(failure.mayTryAgain, row.mayTryAgain);
        EXPECT_FALSE(failure.sentence.empty());
        EXPECT_FALSE(failure.advice.empty());
    }
    for (auto kind = FailureKind::Cancelled; kind <= FailureKind::Unexpected;
         kind = FailureKind(static_cast<int>(kind) + 1))
        EXPECT_FALSE(SYC::MakeFailure(kind).advice.empty()) << "it has words in the resources";
}
