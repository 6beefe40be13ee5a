#include "MailTest.hpp"

#include "OVRoot/Base64.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <nlohmann/json.hpp>

using namespace MailTest;
using namespace Syncra::Protocol;
using namespace std::string_literals;

TEST(MessageJsonTest, CarriesAnyTextAndBodiesUpToTheirLimit)
{
    Message message;
    message.header[u"\xD800 key\r"] = u"\0 \\u0041 \xDC00"s;
    message.header[u""] = u"";
    message.bodyData.assign(Message::MaximumBodySize, '\xFF');
    const auto text = WriteJson(message);
    EXPECT_EQ(ReadAnswer<Message>(text), message);
    auto record = nlohmann::json::parse(text);
    record["timeStamp"] = std::int64_t(1) << 40;
    EXPECT_EQ(ReadAnswer<Message>(record.dump()).timeStamp, INT32_MAX) << "late, but readable";
    record["header"][""] = 1;
    EXPECT_THROW((void)ReadAnswer<Message>(record.dump()), MalformedRecordException);
    message.bodyData += 'x';
    EXPECT_THROW((void)ReadAnswer<Message>(WriteJson(message)), TooLargeFieldException);
}

TEST(Base64Test, CodesTheExamplesOfItsStandard)
{
    const std::pair<const char*, const char*> cases[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"},
                                                         {"\xFB\xFF\xBF", "+/+/"}};
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(OV::EncodeBase64(bytes), text);
        EXPECT_EQ(OV::DecodeBase64(text), bytes);
    }
    for (const char* text : {"Z", "Zg", "Zg=", "Zg==\n", "Zh==", "Zm9=", "=",
                             "====", "Zg==Zg==", "Z===", "Zm9-", "Zm 9", "Zm\xC3\xA4=", "=m9v"})
        EXPECT_EQ(OV::DecodeBase64(text), std::nullopt) << text;
}
