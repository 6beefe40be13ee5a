#include "SyncraProtocol/Detail/Json.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>

using namespace Syncra::Protocol;

namespace {

/// Everything that one carrier or another is known to damage.
const OV::UniString NastyTexts[] = {
    u"",
    u" blank at both ends ",
    u"\"quoted\" \\ / \b\f",
    u"\r\n\t",
    OV::UniString(u"\0null", 5),
    u"\xD800 alone",
    u"\xDC00\xD800 the wrong way round",
    u"\xD83D\xDE00",
    u"\xFFFE\xFFFF\xFEFF",
    u"\\u0041 is no A",
    u"\\\\u0041\\",
    u"\x7530\x4E2D \x96EA \x0301\x202E",
    OV::UniString(70'000, u'\x00E4'),
};

/// Through the bytes that really travel.
nlohmann::json Travel(const nlohmann::json& value)
{
    return ParseJson(DumpJson(value));
}

TEST(JsonRecordTest, AnyTextSurvivesInEveryField)
{
    for (const OV::UniString& text : NastyTexts) {
        const std::string shown = OV::ToUtf8(text.substr(0, 40));
        const Project project{text, text, text, text, ProjectState::Maintenance, text, -1};
        EXPECT_EQ(FromJson<Project>(Travel(ToJson(project))), project) << shown;
        const Session session{text, text, text, text, text, 32767, text, {text, u"Read"}, 1};
        EXPECT_EQ(FromJson<Session>(Travel(ToJson(session))), session) << shown;
        const ServicePort port{text, 65535};
        EXPECT_EQ(FromJson<ServicePort>(Travel(ToJson(port))), port) << shown;
        const Signal signal{std::numeric_limits<std::uint64_t>::max(), SignalId::NewMail, text};
        const auto batch = FromJson<SignalBatch>(Travel(ToJson(SignalBatch{{signal, signal}, 7})));
        EXPECT_EQ(batch.signals, (OV::Array<Signal>{signal, signal})) << shown;
        EXPECT_EQ(batch.next, 7u);
        const auto request = FromJson<SignInRequest>(Travel(ToJson(SignInRequest{text, text, 9})));
        EXPECT_TRUE(request.userName == text && request.password == text && request.protocol == 9)
            << shown;
        const auto answer =
            FromJson<SignInAnswer>(Travel(ToJson(SignInAnswer{"t-_", text, text, 1, 1400})));
        EXPECT_TRUE(answer.token == "t-_" && answer.userId == text && answer.userName == text &&
                    answer.protocol == 1 && answer.serverVersion == 1400)
            << shown;
    }
}

TEST(JsonRecordTest, WritesTheBytesThatOtherServersExpect)
{
    const Project project{u"p1", u"a\\u\x4E2D\r", u"/x", u"", ProjectState::Locked, u"14.0", 2113};
    EXPECT_EQ(DumpJson(ToJson(project)),
              "{\"build\":2113,\"category\":\"\",\"id\":\"p1\",\"location\":\"/x\","
              "\"name\":\"a\\\\u005Cu\xE4\xB8\xAD\\\\u000D\",\"state\":1,\"version\":\"14.0\"}");
    EXPECT_EQ(DumpJson(ToJson(SignalBatch{{{3, SignalId::SessionsChanged, u"p1"}}, 3})),
              R"({"next":3,"signals":[{"id":2,"projectId":"p1","sequence":3}]})");
    const auto known =
        FromJson<Signal>(ParseJson(R"({"sequence":1,"id":77,"projectId":"p","added later":[{}]})"));
    EXPECT_EQ(static_cast<int>(known.id), 77) << "a later kind of signal must not break the batch";
}

/// The message of the refusal, or "" when the body was taken.
template <class Record>
std::string Refusal(const std::string& body)
{
    try {
        (void)FromJson<Record>(ParseJson(body));
        return {};
    } catch (const MalformedRecordException& error) {
        return error.what();
    }
}

TEST(JsonRecordTest, RefusesBodiesThatAreNoJsonWithoutQuotingThem)
{
    const std::string secret = "S3cret";
    const std::string head = R"({"userName":"u","protocol":1,"password":"S3cret)";
    const std::string bodies[] = {
        "",
        secret,
        head,
        head + "\"",
        head + "\"}}",
        head + "\"} x",
        head + "\"}{}",
        head + "\x01\"}",
        head + "\n\"}",
        head + "\xFF\"}",
        head + "\xC0\xAF\"}",
        head + "\xED\xA0\x80\"}",
        head + "\xF4\x90\x80\x80\"}",
        head + "\\uD800\"}",
        head + "\\x\"}",
        head + "\\",
        head + "\",\"n\":1e999}",
        head + "\",\"n\":-1e999}",
        head + "\",\"n\":01}",
        head + "\",\"n\":NaN}",
        head + "\",\"n\":" + std::string(64, '[') + std::string(64, ']') + "}",
        head + "\",\"n\":" + std::string(200'000, '['),
    };
    for (const std::string& body : bodies) {
        const std::string message = Refusal<SignInRequest>(body);
        EXPECT_NE(message, "") << body.substr(0, 80);
        EXPECT_EQ(message.find(secret), std::string::npos) << message;
    }
    EXPECT_EQ(Refusal<SignInRequest>(head + "\",\"n\":" + std::string(63, '[') +
                                     std::string(63, ']') + "}"),
              "")
        << "64 levels are allowed, and unknown fields may use them";
    EXPECT_EQ(Refusal<SignInRequest>(head + std::string(100, '[') + "\\\"{{\"}"), "")
        << "brackets in a text are no levels";
}

struct BadField {
    const char* key;
    const char* value;  ///< null removes the field
};

/// `record` is good; each change alone must make it bad, with the key named and the value not.
template <class Record>
void ExpectRefused(const nlohmann::json& record, const std::vector<BadField>& changes)
{
    ASSERT_EQ(Refusal<Record>(record.dump()), "");
    for (const BadField& change : changes) {
        nlohmann::json bad = record;
        if (change.value != nullptr)
            bad[change.key] = nlohmann::json::parse(change.value);
        else
            bad.erase(change.key);
        const std::string message = Refusal<Record>(bad.dump());
        EXPECT_NE(message.find(change.key), std::string::npos) << bad << ": " << message;
        EXPECT_EQ(message.find("S3cret"), std::string::npos) << message;
    }
}

TEST(JsonRecordTest, RefusesMissingWrongAndUnreasonableFieldsByName)
{
    ExpectRefused<SignInRequest>(ToJson(SignInRequest{u"u", u"p", 1}),
                                 {{"password", nullptr},
                                  {"password", "[\"S3cret\"]"},
                                  {"userName", "null"},
                                  {"protocol", "\"1\""},
                                  {"protocol", "1.0"},
                                  {"protocol", "-1"},
                                  {"protocol", "4294967296"},
                                  {"protocol", "18446744073709551615"},
                                  {"protocol", "18446744073709551616"}});
    ExpectRefused<Project>(ToJson(Project{}), {{"id", "7"},
                                               {"name", nullptr},
                                               {"state", "0"},
                                               {"state", "4"},
                                               {"state", "true"},
                                               {"build", "2147483648"},
                                               {"build", "-2147483649"},
                                               {"version", "{}"}});
    Session session;
    session.logonId = 1;
    ExpectRefused<Session>(ToJson(session), {{"logonId", "0"},
                                             {"logonId", "32768"},
                                             {"permissions", nullptr},
                                             {"permissions", "\"Read\""},
                                             {"permissions", "{\"0\":\"Read\"}"},
                                             {"permissions", "[\"Read\",1]"},
                                             {"startTime", "1e3"}});
    ExpectRefused<ServicePort>(ToJson(ServicePort{u"s", 1}),
                               {{"port", "-1"}, {"port", "65536"}, {"service", "[]"}});
    ExpectRefused<SignalBatch>(
        ToJson(SignalBatch{}),
        {{"next", "-1"}, {"next", "0.5"}, {"next", nullptr}, {"signals", "{}"}});
    ExpectRefused<Signal>(ToJson(Signal{1, SignalId::NewMail, u"p"}),
                          {{"sequence", "-1"}, {"id", "2147483648"}, {"projectId", nullptr}});
    for (const char* body : {"[]", "null", "1", "\"text\"", "[{}]"})
        EXPECT_NE(Refusal<SignInAnswer>(body), "") << body;
    for (const char* body : {R"({"signals":[{}],"next":1})", R"({"signals":[1],"next":1})"})
        EXPECT_NE(Refusal<SignalBatch>(body), "") << body;
}

}  // namespace
