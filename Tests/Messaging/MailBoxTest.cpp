#include "Messaging/MailBox.hpp"

#include "Mail/MailTest.hpp"
#include "Support/TemporaryFolder.hpp"

#include <deque>

using SYC::ClientMail;
using SYC::MailBox;

namespace {

OV::Ref<ClientMail> MakeMail(const OV::UniString& id, std::int32_t time)
{
    auto mail = OV::MakeRef<ClientMail>(MailTest::MakeMail(false, time));
    mail->SetId(id);
    return mail;
}

std::string IdsOf(const MailBox::MailList& mails)
{
    std::string ids;
    for (const auto& mail : mails)
        ids += OV::ToUtf8(mail->GetId());
    return ids;
}

}  // namespace

// Two boxes on one folder are two processes: they share nothing but the file.
TEST(MailBoxTest, NoProcessUndoesWhatAnotherOneDid)
{
    const TemporaryFolder folder;
    const auto place = folder.GetLocation();
    const auto inFile = [&] { return IdsOf(MailBox(place).GetMails()); };
    MailBox ours(place);
    for (const auto* id : {u"1", u"2", u"3"})
        ours.Add(MakeMail(id, 10));
    ours.Write();
    MailBox theirs(place);

    ours.Remove({u"2"});
    ours.Write();
    theirs.Find(u"1")->SetRead();
    theirs.Write();
    EXPECT_TRUE(theirs.TakeNews());
    EXPECT_EQ(inFile(), "13") << "a deletion stays one";
    ours.FollowOthers();
    EXPECT_TRUE(ours.TakeNews());
    EXPECT_TRUE(ours.Find(u"1")->IsRead());

    theirs.Add(MakeMail(u"4", 20));
    theirs.Write();
    ours.Add(MakeMail(u"5", 30));
    ours.Write();
    EXPECT_EQ(inFile(), "1345");
    EXPECT_EQ(ours.LastRepositoryTime(), 30);
    EXPECT_EQ(IdsOf(ours.TakeArrivals()), "4") << "it is new to this process";

    // A refresh that was under way brings back what either of them deletes, or clears.
    ours.BeginRefresh();
    theirs.Remove({u"3"});
    theirs.Write();
    ours.Remove({u"1"});
    ours.Write();
    EXPECT_FALSE(ours.Add(MakeMail(u"3", 10)));
    EXPECT_FALSE(ours.Add(MakeMail(u"1", 10)));
    ours.BeginRefresh();
    EXPECT_TRUE(ours.Add(MakeMail(u"3", 10))) << "the server has it after all";
    theirs.Add(MakeMail(u"6", 40));
    theirs.Write();
    ours.Clear();
    ours.Write();
    EXPECT_EQ(inFile(), "6") << "it came after what was cleared";
}

TEST(MailBoxTest, AWriteThatIsHeldBackHoldsNobodyAndIsNeverOvertaken)
{
    const TemporaryFolder folder;
    const auto place = folder.GetLocation();
    const auto inFile = [&] { return IdsOf(MailBox(place).GetMails()); };
    std::deque<std::function<void()>> held;
    int failures = 0;
    MailBox ours(place);
    ours.SetBackground(
        [&](const std::function<void()>& work, const std::function<void()>& end) {
            held.emplace_back([=] { work(), end(); });
            return true;
        },
        [&](const std::exception_ptr& failure) { failures += failure ? 1 : 0; });
    const auto letGo = [&] {
        const auto next = std::move(held.front());
        held.pop_front();
        next();
    };
    ours.Add(MakeMail(u"1", 10));
    ours.StartWriting();
    ours.Add(MakeMail(u"2", 20));
    ours.StartWriting();
    EXPECT_EQ(inFile() + std::to_string(held.size()), "1") << "one at a time, and none yet";
    letGo();
    EXPECT_EQ(inFile(), "1") << "as it was when it was asked for";
    EXPECT_TRUE(ours.IsFileBehind());
    letGo();
    EXPECT_EQ(inFile(), "12");
    EXPECT_FALSE(ours.IsFileBehind());

    // Another process comes first: it is taken over before anything is written.
    ours.StartWriting();
    MailBox theirs(place);
    theirs.Add(MakeMail(u"3", 30));
    theirs.Remove({u"1"});
    theirs.Write();
    letGo();
    EXPECT_EQ(inFile() + IdsOf(ours.GetMails()), "2323");
    EXPECT_TRUE(ours.TakeNews());
    letGo();
    EXPECT_FALSE(ours.IsFileBehind());

    // Who cannot wait does what is held back himself; it is not done again.
    ours.Remove({u"2"});
    ours.StartWriting();
    ours.Add(MakeMail(u"4", 40));
    ours.Write();
    EXPECT_EQ(inFile(), "34");
    theirs.Write();
    letGo();
    EXPECT_EQ(inFile(), "34");

    // What fails is told, and stays to be written.
    std::filesystem::remove(folder.Path() / "Mails.dat");
    std::filesystem::create_directory(folder.Path() / "Mails.dat");
    ours.StartWriting();
    letGo();
    EXPECT_EQ(failures, 1);
    EXPECT_TRUE(ours.IsFileBehind() && held.empty());
    std::filesystem::remove(folder.Path() / "Mails.dat");
    ours.WriteRest();
    EXPECT_EQ(inFile(), "34");
}

TEST(MailBoxTest, KeepsEveryMailOfItsFileAndWhatIsNoneYet)
{
    const TemporaryFolder folder;
    const auto place = folder.GetLocation();
    auto newer = MailTest::WriteDisk(*MakeMail(u"x", 0));
    newer[12] = 2;
    // Of three mails, two have one id and one has none.
    IO::File::Replace(
        place.Appended(SYC::MailFile::MailsName),
        SYC::MailFile::Encode(SYC::MailFile::Decode(MailTest::ReadGolden("Mails.dat")).mails,
                              {1, newer}));
    MailBox box(place);
    EXPECT_EQ(box.GetMails().size(), 3u);
    box.Add(MakeMail(u"4", 1));
    box.Write();
    const auto content = SYC::MailFile::Read(place.Appended(SYC::MailFile::MailsName));
    EXPECT_EQ(content.mails.size(), 4u);
    EXPECT_EQ(content.unknown.bytes, newer);
}
