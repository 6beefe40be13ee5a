#include "Messaging/MailFile.hpp"
#include "HostAction.hpp"
#include "MailTest.hpp"
#include "Support/TemporaryFolder.hpp"

#include "IO/File.hpp"
#include "IO/IOException.hpp"

using namespace MailTest;
using SYC::MailFile::MailList;
using SYC::MailFile::Outcome;

namespace {

MailList GoldenMails()
{
    const auto full = OV::MakeRef<ClientMail>(MakeFullMail());
    return {full, OV::MakeRef<ClientMail>(), full};
}

void ExpectMails(const MailList& mails, std::size_t count)
{
    const auto golden = GoldenMails();
    ASSERT_EQ(mails.size(), count);
    for (std::size_t i = 0; i < count; ++i)
        EXPECT_EQ(*mails[i], *golden[i]) << i;
}

}  // namespace

TEST(MailFileTest, ReadsAndWritesTheGoldenFiles)
{
    const auto mails = ReadGolden(OV::ToUtf8(SYC::MailFile::MailsName));
    const auto content = SYC::MailFile::Decode(mails);
    EXPECT_EQ(content.outcome, Outcome::Complete);
    ExpectMails(content.mails, 3);
    EXPECT_EQ(SYC::MailFile::Encode(GoldenMails()), mails);
    const auto outbox = ReadGolden(OV::ToUtf8(SYC::MailFile::OutboxName));
    EXPECT_EQ(SYC::MailFile::Decode(outbox).outcome, Outcome::Complete);
    EXPECT_EQ(SYC::MailFile::Encode({}), outbox);
}

TEST(MailFileTest, SavesWhatCanBeReadOfADamagedFile)
{
    const auto golden = ReadGolden("Mails.dat");
    const std::size_t ends[] = {4, 4 + 435, 4 + 435 + 69, golden.size()};
    for (std::size_t length = 0; length < golden.size(); ++length) {
        const auto content = SYC::MailFile::Decode(golden.substr(0, length));
        EXPECT_EQ(content.outcome, Outcome::Damaged) << length;
        EXPECT_EQ(content.status, OV::ChannelFailed) << length;
        const auto whole =
            std::count_if(ends + 1, std::end(ends), [&](auto end) { return length >= end; });
        ExpectMails(content.mails, static_cast<std::size_t>(whole));
    }
    // A frame cut off between its versions is damage, not the record of a newer program.
    auto newer = golden.substr(0, ends[2] + 15);
    newer[ends[2] + 12] = 2;
    EXPECT_EQ(SYC::MailFile::Decode(newer).outcome, Outcome::Damaged);
    const auto more = SYC::MailFile::Decode(golden + '\0');
    EXPECT_EQ(more.outcome, Outcome::LeftOver);
    ExpectMails(more.mails, 3);
}

TEST(MailFileTest, KeepsWhatThisProcessDoesNotKnowByteForByte)
{
    const auto mailWith = [](std::initializer_list<OV::Ref<SYC::MailAction>> actions) {
        auto mail = OV::MakeRef<ClientMail>(MakeFullMail());
        mail->SetActionList(MakeActions(actions));
        return mail;
    };
    const auto known = mailWith({MakeDummy(u"x")});
    const auto host = mailWith({OV::MakeRef<HostAction>("data")});
    // What stands inside of an action looks like the next mail.
    const auto forwarded =
        mailWith({OV::MakeRef<HostAction>(WriteDisk(*known) + WriteDisk(*host))});
    const auto both = mailWith({MakeDummy(u"y"), OV::MakeRef<HostAction>("")});
    const MailList files[] = {{host},
                              {known, host, known},
                              {host, known, host, both},
                              {forwarded, known, forwarded},
                              {known, both, forwarded, known}};
    for (const auto& file : files) {
        const auto bytes = SYC::MailFile::Encode(file);
        const auto content = SYC::MailFile::Decode(bytes);
        EXPECT_EQ(content.outcome, Outcome::Complete);
        ASSERT_EQ(content.mails.size(), file.size());
        for (std::size_t i = 0; i < file.size(); ++i) {
            EXPECT_EQ(content.mails[i]->GetBodyText(), known->GetBodyText());
            EXPECT_EQ(content.mails[i]->HasUnknownActions(), file[i] != known);
        }
        EXPECT_EQ(SYC::MailFile::Encode(content.mails, content.unknown), bytes);
        const SYC::MailActionDescriptor kind(&HostAction::Make, HostAction::Id);
        const auto again = SYC::MailFile::Decode(SYC::MailFile::Encode(content.mails));
        for (std::size_t i = 0; i < file.size(); ++i)
            EXPECT_EQ(*again.mails[i], *file[i]);
    }

    // A record of a newer version, then one whose end nobody can tell.
    auto newer = WriteDisk(*known);
    newer[12] = 2;
    const auto golden = SYC::MailFile::Encode({known, known, known});
    const auto bytes = golden.substr(0, 4 + newer.size()) + newer + WriteDisk(*known);
    const auto content = SYC::MailFile::Decode(bytes);
    EXPECT_EQ(content.mails.size(), 2u);
    EXPECT_EQ(content.unknown.bytes, newer);
    const auto cut = bytes.substr(0, bytes.size() - 1);
    const auto rest = SYC::MailFile::Decode(cut);
    EXPECT_EQ(rest.mails.size(), 1u);
    EXPECT_EQ(rest.unknown.count, 2u);
    EXPECT_EQ(SYC::MailFile::Encode(rest.mails, rest.unknown), cut);
}

TEST(MailFileTest, TellsAnAbsentFileFromOneThatCannotBeRead)
{
    const TemporaryFolder folder;
    const auto place = folder.GetLocation();
    EXPECT_EQ(SYC::MailFile::Read(place.Appended(u"Mails.dat")).outcome, Outcome::Absent);
    EXPECT_THROW(static_cast<void>(SYC::MailFile::Read(place)), IO::IOException);
    IO::File::Replace(place.Appended(u"Mails.dat"), "");
    EXPECT_EQ(SYC::MailFile::Read(place.Appended(u"Mails.dat")).outcome, Outcome::Damaged);
}

TEST(MailFileTest, LeavesTheFileAsItWasWhenAMailCannotBeWritten)
{
    const TemporaryFolder folder;
    const auto file = folder.GetLocation().Appended(u"Mails.dat");
    SYC::MailFile::Write(file, GoldenMails());
    auto broken = OV::MakeRef<ClientMail>();
    broken->SetActionList(MakeActions({nullptr}));
    EXPECT_THROW(SYC::MailFile::Write(file, {broken}), OV::NullReferenceException);
    EXPECT_THROW(SYC::MailFile::Write(file, {nullptr}), OV::NullReferenceException);
    const auto content = SYC::MailFile::Read(file);
    EXPECT_EQ(content.outcome, Outcome::Complete);
    ExpectMails(content.mails, 3);
}
