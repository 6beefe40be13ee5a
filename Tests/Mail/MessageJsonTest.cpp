#include "MailTest.hpp"

#include "OVRoot/Base64.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

#include <nlohmann/json.hpp>

using namespace MailTest;
using namespace Syncra::Protocol;
using namespace std::string_literals;

TEST(MessageJsonTest, CarriesAnyText)
{
    Message message;
    message.header[u"\xD800 key\r"] = u"\0 \\u0041 \xDC00"s;
    message.header[u""] = u"";
    message.bodyData = std::string("\0\xFF\x80", 3);
    EXPECT_EQ(ReadAnswer<Message>(WriteJson(message)), message);
}

TEST(MessageJsonTest, RefusesDamagedRecords)
{
    const auto golden = nlohmann::json::parse(ReadGolden("full.message.json"));
    const auto expectRefused = [](const nlohmann::json& record) {
        EXPECT_THROW(static_cast<void>(ReadAnswer<Message>(record.dump())),
                     MalformedRecordException)
            << record.dump().substr(0, 400);
    };
    for (const auto& [key, value] : golden.items()) {
        auto record = golden;
        record.erase(key);
        expectRefused(record);
        for (const auto& other :
             {nlohmann::json(nullptr), nlohmann::json(1.5), nlohmann::json::array(),
              nlohmann::json(std::uint64_t(1) << 63)}) {
            record[key] = other;
            expectRefused(record);
        }
    }
    auto record = golden;
    record["timeStamp"] = std::int64_t(1) << 40;
    EXPECT_EQ(ReadAnswer<Message>(record.dump()).timeStamp, INT32_MAX) << "late, but readable";
    record["header"]["Sender"] = 1;
    expectRefused(record);
    expectRefused(nlohmann::json::array());
    expectRefused("text");
}

TEST(MessageJsonTest, LimitsTheBody)
{
    Message message;
    message.bodyData.assign(Message::MaximumBodySize, 'x');
    EXPECT_EQ(ReadAnswer<Message>(WriteJson(message)).bodyData.size(), Message::MaximumBodySize);
    message.bodyData += 'x';
    EXPECT_THROW(static_cast<void>(ReadAnswer<Message>(WriteJson(message))),
                 TooLargeFieldException);
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
