#include "BrowseProject.hpp"
#include "Flows/FlowTest.hpp"

using SYC::BrowsedProject;
using SYC::FlowState;

namespace {

class BrowseProjectTest : public FlowTest {
protected:
    using FlowTest::FlowTest;

    [[nodiscard]] SYC::BrowseProject Browse(const std::string& user)
    {
        return {Login(user), DataFolder(), executors};
    }
    /// As "category/name membership members status", in order.
    [[nodiscard]] static std::vector<std::string> Lines(const SYC::BrowseProject& browse)
    {
        static const char* const memberships[] = {"member", "public", "none"};
        std::vector<std::string> lines;
        for (const auto& each : browse.GetProjects())
            lines.push_back(OV::ToUtf8(each.category + u"/" + each.name + u" ") +
                            memberships[static_cast<int>(each.membership)] + " " +
                            std::to_string(each.members) + " " +
                            OV::ToUtf8(each.GetStateText() + u" | " + each.GetStatusText()));
        return lines;
    }
};

TEST_F(BrowseProjectTest, ListsWhatTheUserSeesThereAndHasHere)
{
    {
        Host host(Url("anna.novak", u"Harbour Bridge"), DataFolder());
        SYC::ReadProjectConnection connection(&host.manager);
        ASSERT_EQ(connection.Check(true, false, true, false), SYC::CheckResult::Passed);
        host.manager.FindCache()->SetUnsentChanges(true);
        // Three that the server does not show: gone, not for her, and another one of that name.
        for (const auto* name : {u"Gone", u"Open House 2026 ", u"North Station"}) {
            Host other(Url("anna.novak", name), DataFolder());
            (void)other.manager.GetCachedProjectInfo();
            other.manager.FindCache()->SetProjectId(u"another");
        }
    }
    Sql("UPDATE projects SET is_public = 0, name = 'Open House 2026 ' WHERE name LIKE 'Open%'");
    auto browse = Browse("anna.novak");
    browse.Refresh();
    ASSERT_EQ(Await(browse), FlowState::Succeeded);
    EXPECT_EQ(Lines(browse),
              (std::vector<std::string>{
                  "Housing/Old Mill Conversion member 3 under maintenance | ",
                  "Housing/Riverside Tower member 3 locked | ",
                  "Infrastructure/Harbour Bridge member 8 active | Joined, unsent changes",
                  "Infrastructure/North Station member 3 active | Deleted from Server",
                  "Public Buildings/City Library member 5 active | ",
                  "/Gone none 0  | Deleted from Server",
                  "/Open House 2026  none 0  | Joined",
              }));
    EXPECT_EQ(SYC::ToConnectionInfo(browse.GetLocation(*browse.Find(u"harbour BRIDGE"))),
              SYC::ToConnectionInfo(Url("anna.novak", u"Harbour Bridge")));

    server.Kill();
    browse.Refresh();
    ASSERT_EQ(Await(browse), FlowState::Failed);
    EXPECT_EQ(browse.GetFailure().kind, SYC::FailureKind::NotReached);
    EXPECT_EQ(browse.GetProjects().size(), 4u);
    EXPECT_EQ(browse.Find(u"Harbour Bridge")->GetStatusText(), u"Joined, unsent changes (Offline)");
}

TEST_F(BrowseProjectTest, ShowsWhoeverIsNoManagerThePublicOnesAndWhoIsAtWork)
{
    auto mei = SignedIn("mei.chen");
    mei.Begin("GET", SignalPath(Sample::OpenHouse, 0, 60'000));
    auto browse = Browse("nora.lind");
    ASSERT_TRUE(Eventually([&] {
        browse.Refresh();
        (void)Await(browse);
        const auto* found = browse.Find(u"Open House 2026");
        return found != nullptr && found->atWork == 1;
    }));
    EXPECT_EQ(Lines(browse), (std::vector<std::string>{
                                 "Competitions/Open House 2026 public 2 active | ",
                                 "Housing/Old Mill Conversion member 3 under maintenance | "}));
}

TEST_F(BrowseProjectTest, IsCancelledAndOutlivedByItsWork)
{
    server.Pause();
    auto browse =
        std::make_unique<SYC::BrowseProject>(Login("anna.novak"), DataFolder(), executors);
    browse->Refresh();
    browse->Cancel();
    EXPECT_EQ(Await(*browse), FlowState::Cancelled);
    EXPECT_EQ(browse->GetFailure().kind, SYC::FailureKind::Cancelled);
    browse->Refresh();

    struct Owner final : SYC::FlowObserver {
        explicit Owner(std::unique_ptr<SYC::BrowseProject>& owned) : flow(owned) {}
        void _FlowChanged() override
        {
            if (!flow->IsRunning())
                flow.reset();
        }
        std::unique_ptr<SYC::BrowseProject>& flow;
    } owner(browse);
    const auto subscription = browse->Subscribe(owner);
    worker.Cancel();
    EXPECT_TRUE(SYCB::MessageLoop::RunUntil([&] { return browse == nullptr; }, 10'000));
    server.Resume();
}

}  // namespace
