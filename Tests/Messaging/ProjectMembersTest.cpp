#include "Messaging/MessagingTest.hpp"

#include "ComputerName.hpp"
#include "OVRoot/MemoryChannels.hpp"
#include "SessionWatch.hpp"

using SYC::ProjectMembers;

namespace {

struct Changes final : SYC::ProjectMembersObserver {
    void _ProjectMembersChanged(ProjectMembers&) override { ++count; }
    int count = 0;
};

template <class Write>
std::string Written(Write write)
{
    OV::MemoryOChannel channel;
    EXPECT_EQ(write(channel), OV::ChannelOk);
    return channel.TakeBytes();
}

using ProjectMembersTest = MessagingTest;

}  // namespace

TEST_F(ProjectMembersTest, MembersAreLookedUpAndSurviveAChannel)
{
    const auto anna = MakeHost("anna.novak");
    anna->members.Init();
    anna->Await([&] { return anna->members.IsKnown(); }, "the members");
    auto& members = anna->members;
    OV::UniString text;
    OV::Guid guid;
    ProjectMembers::MemberId id = 0;
    const SYCB::UserAttributes* attributes = nullptr;
    ASSERT_TRUE(members.GetUserIdFromLoginName(u"yuki.tanaka", id));
    EXPECT_TRUE(members.GetFullNameFromId(id, text));
    EXPECT_EQ(text, u"田中 雪");
    ASSERT_TRUE(members.GetUserGuidFromId(id, guid));
    ProjectMembers::MemberId found = 0;
    EXPECT_TRUE(members.GetUserIdFromGuid(guid, found));
    EXPECT_EQ(found, id);
    ASSERT_TRUE(members.GetUserAttributesFromId(id, attributes));
    EXPECT_EQ(attributes->roleName, u"Architect");
    EXPECT_FALSE(members.GetImageFromId(id).IsEmpty());
    EXPECT_TRUE(members.GetImageFromId(99).IsEmpty());
    EXPECT_FALSE(members.GetFullNameFromId(99, text));
    EXPECT_FALSE(members.GetUserIdFromGuid(OV::Guid(), found));
    EXPECT_FALSE(members.GetFullNameFromLoginName(u"Yuki.Tanaka", text));

    const auto table = Written([&](OV::OChannel& channel) { return members.Write(channel); });
    const auto photos =
        Written([&](OV::OChannel& channel) { return members.WritePhotos(channel); });
    const auto other = MakeHost("lena.fischer");
    const auto read = [&](OV::StringView bytes) {
        OV::MemoryIChannel channel(bytes);
        return other->members.Read(channel);
    };
    for (std::size_t length = 0; length < table.size(); length += 7)
        EXPECT_NE(read(OV::StringView(table).substr(0, length)), OV::ChannelOk);
    EXPECT_FALSE(other->members.IsKnown());
    ASSERT_EQ(read(table), OV::ChannelOk);
    OV::MemoryIChannel channel(photos);
    EXPECT_EQ(other->members.ReadPhotos(channel), OV::ChannelOk);
    EXPECT_EQ(other->members.GetLoginNameTable(), members.GetLoginNameTable());
    EXPECT_EQ(other->members.GetImageFromId(id), members.GetImageFromId(id));
    ASSERT_TRUE(other->members.GetUserAttributesFromId(id, attributes));
    EXPECT_TRUE(attributes->permissions.contains(u"Reserve"));
}

TEST_F(ProjectMembersTest, SessionsAndMembershipsAreFollowed)
{
    const auto anna = MakeHost("anna.novak");
    Changes changes;
    anna->members.Attach(changes);
    anna->manager.StartSignals(ProjectId());
    anna->members.Init();
    const auto isAtWork = [&](const OV::UniString& login) {
        ProjectMembers::MemberId id = 0;
        return anna->members.GetUserIdFromLoginName(login, id) &&
               anna->members.GetUserDataTable().at(id).HasNormalSession();
    };
    anna->Await([&] { return isAtWork(u"anna.novak"); }, "the members");
    EXPECT_FALSE(isAtWork(u"lena.fischer"));
    const auto lena = MakeHost("lena.fischer");
    anna->Await([&] { return isAtWork(u"lena.fischer"); }, "Lena's session");
    OV::UniString computer;
    SYC::GetClientComputerName(computer);
    anna->Await(
        [&] {
            ProjectMembers::MemberId id = 0;
            return anna->members.GetUserIdFromLoginName(u"lena.fischer", id) &&
                   anna->members.GetUserDataTable().at(id).GetComputer() == computer &&
                   anna->members.GetUserDataTable().at(id).GetWorkingSince() > 0;
        },
        "her computer");
    // Her session is ended, of which she is told once, and so is a host that begins to watch later.
    struct Ends final : SYC::SessionEndObserver {
        void _SessionEnded(const Syncra::Protocol::SessionEnd& end) override
        {
            told.push_back(end.endedBy + u": " + end.reason);
        }
        std::vector<OV::UniString> told;
    } ends;
    lena->manager.StartSignals(ProjectId());
    lena->Await([&] { return lena->manager.GetSignalClient().GetPresenceService().IsOnline(); },
                "her signals");
    SYC::SessionWatch watch(lena->manager.GetSignalClient(), lena->manager, lena->executor);
    const auto subscription = watch.Subscribe(ends);
    const auto own = Connect("lena.fischer")->GetSessions(ProjectId()).front().id;
    ASSERT_EQ(Manager("admin")
                  .Ask("POST", "/root/syncrav2/sessions/" + OV::ToUtf8(own) + "/end",
                       R"({"reason":"Go home."})")
                  .Code(),
              0);
    lena->Await([&] { return !ends.told.empty(); }, "the notice");
    EXPECT_EQ(ends.told, (std::vector<OV::UniString>{u"admin: Go home."}));
    Ends later;
    SYC::SessionWatch second(lena->manager.GetSignalClient(), lena->manager, lena->executor);
    const auto ofSecond = second.Subscribe(later);
    lena->Await([&] { return !later.told.empty(); }, "the notice of before");
    EXPECT_EQ(ends.told.size(), 1u);
    lena->manager.StopSignals();
    // A session that a service holds is nobody at work.
    auto client = Connect("omar.haddad");
    const auto session = client->StartSession(ProjectId());
    client->SetSessionAttribute(session.id, u"SessionType", "Backup");
    anna->members.Init();
    const int before = changes.count;
    anna->Await([&] { return changes.count > before; }, "a refresh");
    EXPECT_FALSE(isAtWork(u"omar.haddad"));
    ProjectMembers::MemberId lenaId = 0;
    ASSERT_TRUE(anna->members.GetUserIdFromLoginName(u"lena.fischer", lenaId));
    EXPECT_FALSE(anna->members.GetImageFromId(lenaId).IsEmpty());
    Manager("lena.fischer")
        .Ask("PUT", "/root/syncrav2/users/lena.fischer/photo", R"({"type":"","data":""})");
    anna->Await([&] { return anna->members.GetImageFromId(lenaId).IsEmpty(); }, "her photo to go");
    RemoveMember(u"lena.fischer");
    anna->Await([&] { return !anna->members.IsMember(u"lena.fischer"); }, "Lena to leave");
    anna->members.Clear();
    EXPECT_FALSE(anna->members.IsMember(u"anna.novak"));
    anna->members.Detach(changes);
}
