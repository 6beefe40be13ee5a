#include "Messaging/MailBox.hpp"

#include "Mail/MailTest.hpp"
#include "Support/TemporaryFolder.hpp"

#include <deque>
#include <fstream>
#include <random>

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

/// A box on a file that is large enough to be changed where it stands.
class LargeMailBoxTest : public testing::Test {
protected:
    LargeMailBoxTest()
    {
        for (int i = 0; i < 300; ++i)
            Add(*ours);
        ours->SetKnownChange(1);
        ours->Write();
    }

    void Add(MailBox& box)
    {
        ++made;
        const auto mail = MakeMail(OV::ToText(made), made);
        mail->SetBodyText(OV::UniString(400 + random() % 200, u'x'));
        if (random() % 5 == 0)
            mail->SetActionList(MailTest::MakeActions({MailTest::MakeDummy(OV::ToText(made))}));
        mail->SetParentMailId(OV::UniString(random() % 3, u'p'));
        box.Add(mail);
    }
    void Mark(MailBox& box)
    {
        const auto& mail = box.GetMails()[random() % box.GetMails().size()];
        switch (random() % 4) {
        case 0:
            return mail->SetRead();
        case 1:
            return mail->SetHistorical();
        default:
            return mail->SetModify(random() % 2 == 0);
        }
    }
    [[nodiscard]] std::uint64_t Identity() const
    {
        return IO::File::GetChangeStamp(file)->identity;
    }
    [[nodiscard]] std::unique_ptr<MailBox> Open() const
    {
        return std::make_unique<MailBox>(folder.GetLocation());
    }
    [[nodiscard]] bool IsDamageKept() const
    {
        return std::filesystem::exists(folder.Path() / "Mails.dat.damaged-1");
    }

    const TemporaryFolder folder;
    const IO::Location file = folder.GetLocation().Appended(SYC::MailFile::MailsName);
    std::mt19937 random{7};
    int made = 0;
    std::unique_ptr<MailBox> ours = Open();
};

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

// However it came about, the file is what writing all of it would make.
TEST_F(LargeMailBoxTest, ItsFileIsChangedWhereItStandsAndTheSameAsIfItWereReplaced)
{
    auto theirs = Open();
    std::size_t inPlace = 0;
    constexpr int rounds = 200;
    for (int round = 0; round < rounds; ++round) {
        MailBox& box = round % 3 == 0 ? *theirs : *ours;
        box.FollowOthers();
        const auto before = Identity();
        const int what = static_cast<int>(random() % 10);
        for (auto count = what == 0 ? 0 : random() % 8; count > 0; --count)
            what < 5 ? Mark(box) : Add(box);
        if (what == 8)
            (void)box.Remove({box.GetMails()[random() % box.GetMails().size()]->GetId()});
        if (what == 9)
            for (const auto& mail : box.GetMails())
                mail->SetModify(round % 2 == 0);
        box.SetKnownChange(static_cast<std::uint64_t>(2 + round));
        box.Write();
        inPlace += Identity() == before ? 1 : 0;
        ASSERT_EQ(IO::File::ReadAll(file), SYC::MailFile::Encode(box.GetMails())) << round;
        if (round % 20 == 0)
            (round % 40 == 0 ? ours : theirs) = Open();
    }
    EXPECT_GT(inPlace, rounds * 7 / 10);
    EXPECT_LT(inPlace, rounds * 9 / 10) << "what was deleted is not in the middle of a file";
    EXPECT_EQ(Open()->GetKnownChange(), static_cast<std::uint64_t>(1 + rounds));

    // Each state is told from the one before, also when nothing but a mark has changed within one
    // tick of the clock.
    for (int i = 0; i < 20; ++i) {
        ours->FollowOthers();
        theirs->FollowOthers();
        const auto& mail = ours->GetMails()[static_cast<std::size_t>(i)];
        mail->SetModify(!mail->IsModify());
        const auto stamp = IO::File::GetChangeStamp(file);
        ours->Write();
        EXPECT_NE(IO::File::GetChangeStamp(file), stamp);
    }

    // The same mails in records of another length, with which a mark would stand elsewhere.
    theirs->FollowOthers();
    theirs->Clear();
    for (const auto& mail : ours->GetMails()) {
        const auto longer = OV::MakeRef<ClientMail>(*mail);
        longer->SetParentMailId(mail->GetParentMailId() + u"longer");
        theirs->Add(longer);
    }
    theirs->SetKnownChange(1000);
    theirs->Write();
    ours->FollowOthers();
    for (std::size_t i = 0; i < 20; ++i)
        ours->GetMails()[i]->SetModify(!ours->GetMails()[i]->IsModify());
    ours->Write();
    EXPECT_EQ(IO::File::ReadAll(file), SYC::MailFile::Encode(ours->GetMails()));
}

TEST_F(LargeMailBoxTest, WhatACrashKeptFromBeingCountedIsNoDamage)
{
    const auto before = IO::File::ReadAll(file);
    const auto change = IO::File::ReadAll(folder.GetLocation().Appended(u"Mails.dat.change"));
    Add(*ours);
    Add(*ours);
    ours->Write();
    const auto after = IO::File::ReadAll(file);
    ours->Remove({OV::ToText(made)});
    ours->Write();  // under another identity, so that what follows is nobody's state
    for (const auto added : {std::size_t{1}, after.size() - before.size()}) {
        // Where it stands, as the crashed one did it.
        std::fstream(folder.Path() / "Mails.dat", std::ios::in | std::ios::out)
            << before + after.substr(before.size(), added);
        std::filesystem::resize_file(folder.Path() / "Mails.dat", before.size() + added);
        const auto stamp = IO::File::GetChangeStamp(file);
        std::ofstream(folder.Path() / "Mails.dat.change")
            << change.substr(0, change.find(' ')) << " 1 " << before.size() << ' '
            << stamp->identity << '\n';
        const auto box = Open();
        EXPECT_EQ(SYC::MailFile::Encode(box->GetMails()), before);
        EXPECT_EQ(box->GetKnownChange(), 0U);
        EXPECT_FALSE(IsDamageKept());
        Add(*box);
        box->Write();
        EXPECT_EQ(IO::File::ReadAll(file), SYC::MailFile::Encode(box->GetMails()));
    }
    // Without a word of it beside the file, it is anything.
    std::filesystem::remove(folder.Path() / "Mails.dat.change");
    std::ofstream(folder.Path() / "Mails.dat", std::ios::app) << "x";
    (void)Open();
    EXPECT_TRUE(IsDamageKept());
}
