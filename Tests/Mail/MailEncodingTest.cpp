#include "AllocationMeter.hpp"
#include "MailTest.hpp"
#include "Messaging/MailFile.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <functional>
#include <optional>

using namespace MailTest;

namespace {

/// One way to keep a mail, decoding what may be anything: nothing when it is refused.
struct Encoding {
    const char* ending;
    std::function<std::optional<ClientMail>(const std::string&)> decode;
    std::function<std::string(ClientMail)> encode;
};

std::optional<ClientMail> DecodeDisk(const std::string& bytes)
{
    ClientMail mail;
    return ReadDisk(bytes, mail) == OV::ChannelOk ? std::optional(mail) : std::nullopt;
}

std::optional<ClientMail> DecodeCompact(const std::string& bytes)
{
    try {
        return ReadCompact(bytes);
    } catch (const OV::ChannelException&) {
        return std::nullopt;
    }
}

std::optional<ClientMail> DecodeMessage(const std::string& bytes)
{
    using namespace Syncra::Protocol;
    try {
        ClientMail mail;
        const auto status = mail.SyncraMessageConvertTo(ReadAnswer<Message>(bytes));
        return status == OV::ChannelOk ? std::optional(mail) : std::nullopt;
    } catch (const OV::Exception&) {
        return std::nullopt;
    }
}

std::string EncodeMessage(ClientMail mail)
{
    return Syncra::Protocol::WriteJson(mail.ConvertToSyncraMessage());
}

const Encoding Encodings[] = {
    {"disk", DecodeDisk, WriteDisk},
    {"compact", DecodeCompact, WriteCompact},
    {"message.json", DecodeMessage, EncodeMessage},
};

/// The marks of this machine do not travel with a message.
ClientMail AsCarried(ClientMail mail, const Encoding& encoding)
{
    if (encoding.ending == std::string("message.json")) {
        mail.SetOut(false);
        mail.SetModify(false);
    }
    return mail;
}

constexpr std::size_t Step = 64 * 1024 + 64;

}  // namespace

TEST(MailEncodingTest, ReadsAndWritesTheBytesOfTheGoldenFiles)
{
    for (const auto& encoding : Encodings)
        for (const auto& [name, mail] :
             {std::pair<std::string, ClientMail>("full.", MakeFullMail()), {"empty.", {}}}) {
            SCOPED_TRACE(name + encoding.ending);
            const auto golden = ReadGolden(name + encoding.ending);
            const auto read = encoding.decode(golden);
            ASSERT_TRUE(read.has_value());
            EXPECT_EQ(*read, AsCarried(mail, encoding));
            EXPECT_EQ(encoding.encode(mail), golden);
            EXPECT_EQ(encoding.encode(*read), golden);
        }
}

TEST(MailEncodingTest, RefusesEveryTruncationWithoutAskingForMuchMemory)
{
    for (const auto& encoding : Encodings) {
        const auto golden = ReadGolden(std::string("full.") + encoding.ending);
        // The compact form may leave out its last flag: before it the record is whole.
        const auto whole = encoding.ending == std::string("compact")
                               ? golden.rfind(std::string("\x01\x26\0\0\0", 5))
                               : golden.size();
        for (std::size_t length = 0; length < golden.size(); ++length) {
            const AllocationMeter meter;
            const auto mail = encoding.decode(golden.substr(0, length));
            EXPECT_EQ(mail.has_value(), length == whole) << encoding.ending << " at " << length;
            EXPECT_LE(meter.Largest(), Step) << encoding.ending << " at " << length;
        }
    }
}

TEST(MailEncodingTest, ReplacesUnknownImportancesAndTypesWhenReading)
{
    for (const std::int32_t number : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 9, 0x7FFFFFFF}) {
        ClientMail mail;
        mail.SetImportance(static_cast<SYC::Importance>(number));
        mail.SetType(static_cast<SYC::MailType>(number));
        for (const auto& encoding : Encodings) {
            const auto read = encoding.decode(encoding.encode(mail));
            ASSERT_TRUE(read.has_value());
            EXPECT_EQ(static_cast<int>(read->GetImportance()),
                      number >= 1 && number <= 3 ? number : 1);
            EXPECT_EQ(static_cast<int>(read->GetType()), number >= 1 && number <= 5 ? number : 0);
        }
    }
}

TEST(MailEncodingTest, MarksTheCopyOfAnythingButARequestHistorical)
{
    for (const bool copy : {false, true})
        for (int type = 0; type <= 5; ++type) {
            SCOPED_TRACE(type);
            ClientMail mail = MakeMail(copy);
            mail.SetType(static_cast<SYC::MailType>(type));
            const bool expected = copy && type != 2;
            WriteDisk(mail);
            EXPECT_FALSE(mail.IsHistorical()) << "the form of the files changes nothing";
            ClientMail compact = mail;
            OV::MemoryOChannelX channel;
            compact.Serialize(channel);
            const Message message = mail.ConvertToSyncraMessage();
            EXPECT_EQ(message.historical, expected);
            ClientMail received;
            ASSERT_EQ(received.SyncraMessageConvertTo(message), 0);
            for (const ClientMail* each : {&compact, &mail, &received})
                EXPECT_EQ(each->IsHistorical(), expected);
            EXPECT_FALSE(compact.IsModify() || mail.IsModify());
            EXPECT_EQ(received.IsModify(), expected);
        }
}

TEST(MailEncodingTest, KeepsTheFieldsBeforeAnErrorAndLeavesSharedActionsAlone)
{
    ClientMail mail = MakeFullMail();
    const ClientMail copy = mail;
    const auto golden = ReadGolden("full.disk");
    ASSERT_EQ(ReadDisk(golden.substr(0, golden.size() - 1), mail), OV::ChannelFailed);
    EXPECT_EQ(mail.GetBodyText(), copy.GetBodyText());
    EXPECT_EQ(mail.GetActionList()->size(), 2u);
    EXPECT_EQ(copy.GetActionList()->size(), 2u) << "a copy shares its list";
    ASSERT_EQ(ReadDisk(golden.substr(0, 300), mail), OV::ChannelFailed);
    EXPECT_EQ(copy.GetActionList()->size(), 2u);
}

TEST(MailEncodingTest, ALongTextHasNoSeamWhereItIsReadInSteps)
{
    ClientMail mail;
    OV::UniString text(100'001, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char16_t>('a' + i % 7);
    mail.SetBodyText(text);
    for (const auto& encoding : Encodings)
        EXPECT_EQ(encoding.decode(encoding.encode(mail))->GetBodyText(), text) << encoding.ending;
}

TEST(MailEncodingTest, RefusesOtherClassesAndVersions)
{
    const auto golden = ReadGolden("full.disk");
    const std::pair<std::size_t, char> changes[] = {
        {4, 'N'}, {12, 2}, {12, 0}, {golden.rfind(std::string("A\0c\0t\0i\0o\0n\0", 12)) + 12, 2}};
    for (const auto& [at, byte] : changes) {
        auto bytes = golden;
        bytes[at] = byte;
        ClientMail mail;
        EXPECT_EQ(ReadDisk(bytes, mail), OV::ChannelFailed) << at;
    }
    auto newer = golden;
    newer[14] = 9;  // the sub version alone
    ClientMail mail;
    EXPECT_EQ(ReadDisk(newer, mail), OV::ChannelOk);
}

TEST(MailEncodingTest, DoesNotTrustCounts)
{
    // Texts of zero bytes, recipients and actions without end.
    const std::string frame("\x08\0\0\0M\0a\0i\0l\0\x01\0\0\0", 16);
    const std::string huge = "\xFF\xFF\xFF\xFF";
    const std::string upToRecipients = frame + std::string(4 + 4 + 4 + 4, '\0');
    const std::string upToActions = upToRecipients + std::string(4 + 4 + 16 + 4, '\0');
    for (const auto& bytes : {huge, frame + huge, upToRecipients + huge,
                              upToRecipients + huge + std::string(4000, '\0'), upToActions + huge,
                              upToActions + huge + std::string(4000, '\0')}) {
        const AllocationMeter meter;
        ClientMail mail;
        EXPECT_EQ(ReadDisk(bytes, mail), OV::ChannelFailed);
        EXPECT_LE(meter.Largest(), Step + 64 * bytes.size());
    }
    const AllocationMeter meter;
    EXPECT_EQ(SYC::MailFile::Decode(huge).outcome, SYC::MailFile::Outcome::Damaged);
    EXPECT_LE(meter.Largest(), Step);
}

TEST(MailEncodingTest, ActionsAreComparedByWhatTheyHold)
{
    const std::vector<OV::Ref<SYC::MailAction>> lists[] = {
        {}, {nullptr}, {MakeDummy(u"")}, {MakeDummy(u"x")}, {MakeDummy(u"x"), MakeDummy(u"x")}};
    for (const auto& left : lists)
        for (const auto& right : lists) {
            ClientMail first, second;
            first.SetActionList(OV::MakeRef<ClientMail::ActionList>(left.begin(), left.end()));
            second.SetActionList(OV::MakeRef<ClientMail::ActionList>(right.begin(), right.end()));
            EXPECT_EQ(first == second, &left == &right) << left.size() << ", " << right.size();
            EXPECT_EQ(first == ClientMail(), left.empty());
        }
    EXPECT_EQ(MakeFullMail(), MakeFullMail());
}
