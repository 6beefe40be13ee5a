#include "BrowseShareableProject.hpp"
#include "CreateNewSyncraProject.hpp"
#include "DeleteProject.hpp"
#include "Flows/FlowTest.hpp"
#include "UpdateProjectSettings.hpp"

using SYC::FailureKind;
using SYC::FlowState;
using NameState = SYC::CreateNewSyncraProject::NameState;

namespace {

class ShareProjectTest : public FlowTest {
protected:
    [[nodiscard]] SYC::ShareableServer Browse(const std::string& user)
    {
        SYC::BrowseShareableProject browse(Login(user), executors);
        browse.Refresh();
        EXPECT_EQ(Await(browse), FlowState::Succeeded) << OV::ToUtf8(browse.GetFailure().sentence);
        return browse.GetServer();
    }
    [[nodiscard]] bool Exists(const std::string& name)
    {
        return SignedIn("admin")
            .Ask("GET", "/syncra/v1/projects/exists?name=" + name)
            .json["exists"];
    }
    [[nodiscard]] SYC::ShareableServer AsAdmin() { return Browse("admin"); }
    [[nodiscard]] static SYC::UpdateProjectSettings::Project Named(const SYC::ShareableServer& from,
                                                                   const OV::UniString& name)
    {
        for (const auto& project : from.projects)
            if (project.name == name)
                return project;
        return {};
    }
};

TEST_F(ShareProjectTest, HoldsNamesAgainstTheServerWhileTheyAreTyped)
{
    const struct {
        OV::UniString name;
        NameState state;
    } cases[] = {{u"", NameState::Empty},
                 {u" Quay", NameState::Unusable},
                 {u"Qu\nay", NameState::Unusable},
                 {OV::UniString(129, u'q'), NameState::Unusable},
                 {u"harbour bridge", NameState::Taken},
                 {u"Quay", NameState::Free}};
    SYC::CreateNewSyncraProject create(Login("admin"), executors);
    const auto settled = [&] { return create.GetNameState() != NameState::Checking; };
    for (const auto& each : cases) {
        SCOPED_TRACE(OV::ToUtf8(each.name));
        create.SetName(u"City Library");  // the answer to a former name is no answer to this one
        create.SetName(each.name);
        ASSERT_TRUE(SYCB::MessageLoop::RunUntil(settled, 20'000));
        EXPECT_EQ(create.GetNameState(), each.state);
    }
    server.Kill();
    create.SetName(u"Quay 2");
    ASSERT_TRUE(SYCB::MessageLoop::RunUntil(settled, 20'000));
    EXPECT_EQ(create.GetNameState(), NameState::Unknown);
}

TEST_F(ShareProjectTest, SharesAsAWholeOrNotAtAll)
{
    const auto known = AsAdmin();
    ASSERT_TRUE(known.mayShare);
    EXPECT_FALSE(Browse("nora.lind").mayShare);
    const auto try_ = [&](const std::string& user, const OV::UniString& name) {
        SYC::CreateNewSyncraProject create(Login(user), executors);
        create.GetData().SetProjectName(name);
        create.GetData().SetCategory({u"Housing"});
        create.SetMembers({{known.users.front().id, known.roles.front().id}});
        create.Create();
        (void)Await(create);
        EXPECT_EQ(create.GetLocation().IsEmpty(), create.GetState() != FlowState::Succeeded);
        return create.GetFailure().kind;
    };
    EXPECT_EQ(try_("nora.lind", u"Quay"), FailureKind::AccessDenied);
    EXPECT_EQ(try_("admin", u"HARBOUR bridge"), FailureKind::NameTaken);
    EXPECT_EQ(try_("admin", u" Quay"), FailureKind::WrongInput);
    EXPECT_FALSE(Exists("Quay"));
    EXPECT_EQ(try_("admin", u"Quay"), FailureKind::None);
    const auto made = Named(AsAdmin(), u"Quay");
    EXPECT_EQ(made.status.category, u"Housing");
    EXPECT_EQ(made.members.size(), 1u);
}

TEST_F(ShareProjectTest, ChangesWhatTheUserChangedAndDeletesOnce)
{
    const auto seen = Named(AsAdmin(), u"City Library");
    const auto save = [&](const std::string& user, auto change) {
        SYC::UpdateProjectSettings update(Login(user), seen, executors);
        auto edited = seen;
        change(edited);
        update.Save(edited);
        (void)Await(update);
        return update.GetFailure().kind;
    };
    const auto leaver = *seen.members.begin();
    EXPECT_EQ(save("admin", [](auto& project) { project.description = u"By another"; }),
              FailureKind::None);
    EXPECT_EQ(save("admin",
                   [&](auto& project) {
                       project.status.category = u"Housing";
                       project.members.erase(leaver);
                   }),
              FailureKind::None);
    EXPECT_EQ(save("nora.lind", [](auto& project) { project.description = u"Mine"; }),
              FailureKind::AccessDenied);
    EXPECT_EQ(save("admin", [](auto& project) { project.name = u"Harbour Bridge"; }),
              FailureKind::NameTaken);
    const auto now = Named(AsAdmin(), u"City Library");
    EXPECT_EQ(now.description, u"By another");
    EXPECT_EQ(now.status.category, u"Housing");
    EXPECT_EQ(now.members.size(), seen.members.size() - 1);

    const auto remove = [&](const std::string& user) {
        SYC::DeleteProject removal(Login(user), seen, executors);
        removal.Delete();
        (void)Await(removal);
        return removal.GetFailure().kind;
    };
    EXPECT_EQ(remove("nora.lind"), FailureKind::AccessDenied);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(remove("admin"), FailureKind::None) << "gone already is gone";
    EXPECT_FALSE(Exists("City%20Library"));
}

}  // namespace
