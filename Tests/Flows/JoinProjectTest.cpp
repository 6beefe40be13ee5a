#include "JoinProject.hpp"
#include "Flows/FlowTest.hpp"
#include "JoinedProject.hpp"
#include "LeaveProject.hpp"
#include "RegisteredProjects.hpp"

using SYC::CheckResult;
using SYC::FailureKind;
using SYC::FlowState;

namespace {

class JoinProjectTest : public FlowTest {
protected:
    [[nodiscard]] bool IsCached(const IO::Location& url) const
    {
        return SYC::registeredProjects().GetCacheInfo(url, true, DataFolder()) != nullptr;
    }
    /// Of Harbour Bridge.
    [[nodiscard]] bool HasSession(const std::string& user)
    {
        return !SignedIn(user).Ask("GET", Bridge("sessions")).json["sessions"].empty();
    }
    [[nodiscard]] FlowState Join(const IO::Location& url, const SYC::JoinOptions& options = {})
    {
        SYC::JoinProject join(url, DataFolder(), executors);
        join.Join(options);
        const auto state = Await(join);
        failure = join.GetFailure();
        result = join.GetResult();
        return state;
    }
    [[nodiscard]] FlowState Leave(const IO::Location& url,
                                  const SYC::LeaveProject::Options& options)
    {
        SYC::LeaveProject leave(url, DataFolder(), executors);
        leave.Leave(options);
        const auto state = Await(leave);
        failure = leave.GetFailure();
        return state;
    }
    void ExpectJoined(const IO::Location& url, bool isJoined)
    {
        EXPECT_EQ(IsCached(url), isJoined);
        EXPECT_EQ(HasSession("anna.novak"), isJoined);
    }

    SYC::Failure failure;
    CheckResult result{};
};

TEST_F(JoinProjectTest, MakesCacheAndSessionAndFetchesMembersAndMails)
{
    SYC::ClientMail mail;
    mail.SetSender(u"marco.rossi");
    mail.SetRecipientsLoginName({u"anna.novak"});
    (void)Syncra::Client::Connect(Login("marco.rossi"))
        ->SendMail(OV::FromUtf8(Sample::HarbourBridge), {u"anna.novak"},
                   mail.ConvertToSyncraMessage(), u"1");
    const auto url = Url("anna.novak", u"Harbour Bridge");
    SYC::JoinProject join(url, DataFolder(), executors);
    join.Join();
    ASSERT_EQ(Await(join), FlowState::Succeeded);
    EXPECT_FALSE(join.GetRefreshFailure());
    auto project = join.TakeProject();
    ASSERT_TRUE(project);
    EXPECT_TRUE(project->GetMembers().IsMember(u"marco.rossi"));
    EXPECT_EQ(project->GetMails()->GetMails().size(), 1u);
    ExpectJoined(url, true);

    // It is open: nobody may leave it.
    EXPECT_EQ(Leave(url, {}), FlowState::Failed);
    EXPECT_EQ(failure.kind, FailureKind::ObjectInUse);
    project.reset();
    SYC::registeredProjects().GetCachedProjectInfo(url, DataFolder())->SetUnsentChanges(true);
    SYC::LeaveProject leave(url, DataFolder(), executors);
    leave.Look();
    ASSERT_EQ(Await(leave), FlowState::Succeeded);
    EXPECT_TRUE(leave.GetFound()->hasUnsentChanges && leave.GetFound()->hasSession);
    EXPECT_EQ(Leave(url, {}), FlowState::Failed);
    EXPECT_EQ(failure.kind, FailureKind::UnsentWork);
    ExpectJoined(url, true);
    EXPECT_EQ(Leave(url, {.removeCache = false}), FlowState::Succeeded);
    EXPECT_TRUE(IsCached(url));
    EXPECT_FALSE(HasSession("anna.novak"));
    EXPECT_EQ(Leave(url, {.discardUnsent = true}), FlowState::Succeeded);
    ExpectJoined(url, false);
    EXPECT_EQ(Leave(url, {}), FlowState::Failed);
    EXPECT_EQ(failure.kind, FailureKind::NoCache);
}

TEST_F(JoinProjectTest, LeavesNothingBehindWhenItIsRefused)
{
    const struct {
        const char* user;
        std::u16string project;
        std::string password;
        CheckResult result;
        FailureKind kind;
    } cases[] = {
        {"liam.walsh", u"Harbour Bridge", ServerProcess::Password, CheckResult::ProjectMismatch,
         FailureKind::ProjectMismatch},
        {"nora.lind", u"Open House 2026", ServerProcess::Password, CheckResult::AccessDenied,
         FailureKind::AccessDenied},
        {"anna.novak", u"Nowhere", ServerProcess::Password, CheckResult::ProjectNotFound,
         FailureKind::ProjectNotFound},
        {"anna.novak", u"Harbour Bridge", "wrong", CheckResult::AccessDenied,
         FailureKind::AccessDenied},
        {"anna.novak", u"Old Mill Conversion", ServerProcess::Password,
         CheckResult::ForbiddenByState, FailureKind::UnderMaintenance},
        {"marco.rossi", u"Harbour Bridge", ServerProcess::Password, CheckResult::SessionInUse,
         FailureKind::SessionInUse},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string(each.user) + " " + OV::ToUtf8(each.project));
        const auto url = Url(each.user, each.project, 0, each.password);
        EXPECT_EQ(Join(url), FlowState::Failed);
        EXPECT_EQ(result, each.result);
        EXPECT_EQ(failure.kind, each.kind);
        EXPECT_FALSE(failure.sentence.empty() || failure.advice.empty());
        EXPECT_FALSE(IsCached(url));
    }
    EXPECT_TRUE(HasSession("marco.rossi")) << "held on the other computer still";
    EXPECT_EQ(Join(Url("marco.rossi", u"Harbour Bridge"), {.allowTakeover = true}),
              FlowState::Succeeded);
}

}  // namespace
