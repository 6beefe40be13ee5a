#include "MailTest.hpp"

using namespace MailTest;

namespace {

Message FullMessage()
{
    return MakeFullMail().ConvertToSyncraMessage();
}

/// The mail of a message with one header field changed.
ClientMail ConvertWith(const OV::UniString& key, const OV::UniString& value)
{
    Message message = FullMessage();
    message.header[key] = value;
    ClientMail mail;
    EXPECT_EQ(mail.SyncraMessageConvertTo(message), OV::ChannelOk);
    return mail;
}

}  // namespace

TEST(MailConversionTest, RequiresSomeHeaderFieldsAndDoesWithoutOthers)
{
    const std::pair<const char16_t*, bool> keys[] = {
        {u"Sender", true},      {u"SenderFullName", true},
        {u"Recipient", true},   {u"RecipientsFullName", true},
        {u"SendingTime", true}, {u"Importance", true},
        {u"TextBody", true},    {u"ParentMailGuid", false},
        {u"Version", false},    {u"Type", false},
        {u"ActionList", false}};
    for (const auto& [key, isRequired] : keys) {
        Message message = FullMessage();
        ASSERT_EQ(message.header.erase(key), 1u) << OV::ToUtf8(key);
        ClientMail mail;
        if (isRequired)
            EXPECT_THROW(static_cast<void>(mail.SyncraMessageConvertTo(message)),
                         OV::IllegalReferenceException)
                << OV::ToUtf8(key);
        else
            EXPECT_EQ(mail.SyncraMessageConvertTo(message), OV::ChannelOk) << OV::ToUtf8(key);
    }
}

TEST(MailConversionTest, MapsTheWordsOfTheWire)
{
    const std::pair<const char16_t*, int> types[] = {
        {u"NULL", 0},          {u"EMPTY", 0},          {u"", 0},        {u"normal", 0},
        {u"NORMAL ", 0},       {u"NORMAL", 1},         {u"REQUEST", 2}, {u"REQUESTACCEPTED", 3},
        {u"REQUESTDENIED", 4}, {u"REQUESTREVOKED", 5}, {u"2", 0}};
    for (const auto& [word, type] : types)
        EXPECT_EQ(static_cast<int>(ConvertWith(u"Type", word).GetType()), type);
    const std::pair<const char16_t*, int> importances[] = {
        {u"LOW", 1}, {u"MEDIUM", 2}, {u"HIGH", 3}, {u"", 1}, {u"high", 1}, {u"3", 1}};
    for (const auto& [word, importance] : importances)
        EXPECT_EQ(static_cast<int>(ConvertWith(u"Importance", word).GetImportance()), importance);
}

TEST(MailConversionTest, TakesOnlyRecipientsThatAreFollowedByAComma)
{
    const std::pair<const char16_t*, ClientMail::NameList> cases[] = {
        {u"", {}},
        {u"amir", {}},
        {u"amir,zoe", {u"amir"}},
        {u"amir,zoe,", {u"amir", u"zoe"}},
        {u",,a ,", {u"", u"", u"a "}}};
    for (const auto& [text, names] : cases)
        EXPECT_EQ(ConvertWith(u"Recipient", text).GetRecipientsLoginName(), names);
}

TEST(MailConversionTest, TakesSendingTimesAndActionCountsInDecimalOnly)
{
    EXPECT_EQ(ConvertWith(u"SendingTime", u"-2147483648").GetSendingTime(), INT32_MIN);
    EXPECT_EQ(ConvertWith(u"SendingTime", u"2147483648").GetSendingTime(), INT32_MAX);
    EXPECT_EQ(ConvertWith(u"SendingTime", u"-99999999999999999999").GetSendingTime(), INT32_MIN);
    const char16_t* bad[] = {u"",    u" 1",    u"1 ",     u"0x1",    u"1.0",
                             u"1e9", u"EMPTY", u"\u0661", u"\u0131", u"--1"};
    for (const auto* text : bad)
        EXPECT_THROW(ConvertWith(u"SendingTime", text), SYC::MailConversionException)
            << OV::ToUtf8(text);
    for (const auto* text : {u"", u"-1", u"two"})
        EXPECT_THROW(ConvertWith(u"ActionList", text), SYC::MailConversionException)
            << OV::ToUtf8(text);
}

TEST(MailConversionTest, ReadsAsManyActionsAsTheHeaderSays)
{
    EXPECT_FALSE(ConvertWith(u"ActionList", u"EMPTY").GetActionList());
    EXPECT_FALSE(ConvertWith(u"ActionList", u"0").GetActionList());
    EXPECT_EQ(ConvertWith(u"ActionList", u"1").GetActionList()->size(), 1u);
    Message message = FullMessage();
    message.header[u"ActionList"] = u"4294967295";
    ClientMail mail;
    EXPECT_EQ(mail.SyncraMessageConvertTo(message), OV::ChannelFailed);
    message = FullMessage();
    message.bodyData[4] = 'X';  // another kind
    EXPECT_EQ(mail.SyncraMessageConvertTo(message), OV::ChannelFailed);
}

TEST(MailConversionTest, ForgetsWhatTheMailOrTheMessageHeldBefore)
{
    ClientMail mail = MakeFullMail();
    ASSERT_EQ(mail.SyncraMessageConvertTo(ClientMail().ConvertToSyncraMessage()), OV::ChannelOk);
    EXPECT_EQ(mail, ClientMail());
    Message message = FullMessage();
    ASSERT_EQ(mail.SyncraMessageConvertFrom(message), OV::ChannelOk);
    EXPECT_EQ(message, ClientMail().ConvertToSyncraMessage());
}

TEST(MailConversionTest, TakesOverMessagesOfTheOlderFormat)
{
    Message message;
    message.mailId = u"7";
    message.read = message.copy = true;
    message.timeStamp = 1000;
    const ClientMail bare(message);
    EXPECT_EQ(bare.GetSendingTime(), 1000);
    EXPECT_TRUE(bare.IsHistorical() && bare.IsModify()) << "a copy of what is no request";

    message.copy = false;
    message.header = {{u"Sender", u"zoe"},
                      {u"Recipient", u"amir,ben"},
                      {u"SendingTime", u"later"},
                      {u"Type", u"REQUEST"},
                      {u"Importance", u"MEDIUM"}};
    message.bodyData = "Gr\xC3\xBC\xC3\x9F"
                       "e \xFF";
    const ClientMail mail(message);
    EXPECT_EQ(mail.GetId(), u"7");
    EXPECT_EQ(mail.GetSenderFullName(), u"zoe");
    EXPECT_EQ(mail.GetRecipientsLoginName(), (ClientMail::NameList{u"amir", u"ben"}));
    EXPECT_EQ(mail.GetRecipientsFullName(), u"amir,ben");
    EXPECT_EQ(mail.GetSendingTime(), 1000);
    EXPECT_EQ(mail.GetType(), SYC::MailType::Request);
    EXPECT_EQ(mail.GetImportance(), SYC::Importance::Medium);
    EXPECT_EQ(mail.GetBodyText(), u"Gr\u00FC\u00DFe \uFFFD");
    EXPECT_FALSE(mail.IsHistorical() || mail.IsModify() || mail.IsCopy());
    EXPECT_TRUE(mail.IsRead());

    message.header[u"TextBody"] = u"EMPTY";
    EXPECT_EQ(ClientMail(message).GetBodyText(), u"");
}
