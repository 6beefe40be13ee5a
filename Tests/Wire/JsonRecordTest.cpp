#include "Support/Pieces.hpp"
#include "Support/Thrown.hpp"
#include "SyncraProtocol/Detail/Json.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

using namespace Syncra::Protocol;
using nlohmann::json;

namespace {

std::string Nested(int levels)
{
    return std::string(static_cast<std::size_t>(levels), '[') +
           std::string(static_cast<std::size_t>(levels), ']');
}

std::string Repeated(std::string_view piece, std::size_t count)
{
    std::string text;
    for (text.reserve(piece.size() * count); count > 0; --count)
        text += piece;
    return text;
}

Session ExampleSession()
{
    Session session;
    session.id = u"s";
    session.projectId = u"p";
    session.userId = u"u";
    session.loginName = u"anna";
    session.userName = u"Anna Nov\u00e1k";
    session.logonId = 32767;
    session.roleName = u"Architect";
    session.permissions = {u"Read"};
    session.startTime = -1;
    return session;
}

}  // namespace

TEST(JsonRecordTest, RefusesBodiesThatAreNotOneShallowValue)
{
    auto bodies =
        Pieces("|{|{}x|{} {}|nul|{'a':1}|{\"a\":01}|[1,]|NaN|1e999|[-1e999]|/**/1|\"\xff\"|"
               "\"\xc0\x80\"|\"\xed\xa0\x80\"|\"\\ud800\"|\"a\nb\"|{}\0{}");
    bodies.insert(bodies.end(),
                  {Nested(65), std::string(2'000'000, '['), std::string(2'000'000, '{'),
                   "[0" + Repeated(",0", 4'000'000) + "]", "[[]" + Repeated(",[]", 2'000'000) + "]",
                   "\"" + std::string(100, '[')});
    for (const auto& body : bodies)
        EXPECT_THROW((void)ParseJson(body), MalformedRecordException) << body.substr(0, 40);
    // Brackets in a text are no nesting.
    EXPECT_NO_THROW((void)ParseJson(Nested(64)));
    EXPECT_NO_THROW(
        (void)ParseJson("[\"" + std::string(100, '[') + "\\\"" + std::string(100, '{') + "\"]"));
}

TEST(JsonRecordTest, TheMessageOfABadBodyDoesNotRepeatIt)
{
    for (const char* body :
         {R"({"password":"hunter2)", R"({"password":"hunter2" x})",
          "{\"password\":\"hunter2\xff\"}", R"({"password":"hunter2","n":1e999})"}) {
        const std::string message = Thrown([&] { (void)ParseJson(body); }).message;
        EXPECT_NE(message, "-") << body;
        EXPECT_EQ(message.find("hunter2"), std::string::npos) << message;
        EXPECT_EQ(message.find("999"), std::string::npos) << message;
    }
}

TEST(JsonRecordTest, AnyTextSurvivesTheWire)
{
    const std::u16string texts[] = {u"",
                                    u"Anna \u4e2d \U0001F600",
                                    std::u16string(u"\0\x01\t\n\r\x1f\x7f", 7),
                                    {0xD800},
                                    {0xDC00, 0xD800, u'u'},
                                    {0xFFFE, 0xFFFF, 0xFEFF},
                                    u"\\u0041 \\\\u0041 \\ \\u",
                                    u"\"\\/"};
    for (const auto& text : texts) {
        const auto line = DumpJson(TextToJson(text));
        EXPECT_TRUE(OV::IsWellFormedUtf8(line));
        EXPECT_EQ(line.find('\n'), std::string::npos);
        EXPECT_EQ(TextFromJson(ParseJson(line)), text) << line;
    }
    EXPECT_EQ(DumpJson(TextToJson(std::u16string{0xD800, u'\r'})), R"("\\uD800\\u000D")");
}

TEST(JsonRecordTest, RecordsHaveTheDocumentedFields)
{
    EXPECT_EQ(DumpJson(ToJson(ExampleSession())),
              "{\"id\":\"s\",\"loginName\":\"anna\",\"logonId\":32767,\"permissions\":[\"Read\"],"
              "\"projectId\":\"p\",\"roleName\":\"Architect\",\"startTime\":-1,\"userId\":\"u\","
              "\"userName\":\"Anna Nov\xc3\xa1k\"}");
    EXPECT_EQ(FromJson<Session>(ToJson(ExampleSession())), ExampleSession());
    const Project project{u"p", u"n", u"l", u"c", ProjectState::Maintenance, u"14", -5};
    EXPECT_EQ(ToJson(project), json::parse(R"({"id":"p","name":"n","location":"l","category":"c",
                                              "state":2,"version":"14","build":-5})"));
    EXPECT_EQ(FromJson<Project>(ToJson(project)), project);
    EXPECT_EQ(ToJson(SignInRequest{u"a", u"b", 1}),
              json::parse(R"({"userName":"a","password":"b","protocol":1})"));
    EXPECT_EQ(ToJson(ServicePort{u"s", 65535}), json::parse(R"({"service":"s","port":65535})"));
    const SignalBatch batch{{{~std::uint64_t{0}, SignalId::NewMail, u"p"}}, ~std::uint64_t{0}};
    const auto read = FromJson<SignalBatch>(ParseJson(DumpJson(ToJson(batch))));
    EXPECT_EQ(read.events, batch.events);
    EXPECT_EQ(read.next, batch.next);
}

TEST(JsonRecordTest, EveryMissingOrMistypedFieldIsNamed)
{
    const std::pair<json, std::function<void(const json&)>> records[] = {
        {ToJson(ExampleSession()), [](const json& j) { (void)FromJson<Session>(j); }},
        {ToJson(Project{}), [](const json& j) { (void)FromJson<Project>(j); }},
        {ToJson(ServicePort{}), [](const json& j) { (void)FromJson<ServicePort>(j); }},
        {ToJson(Signal{}), [](const json& j) { (void)FromJson<Signal>(j); }},
        {ToJson(SignalBatch{}), [](const json& j) { (void)FromJson<SignalBatch>(j); }},
        {ToJson(SignInRequest{}), [](const json& j) { (void)FromJson<SignInRequest>(j); }},
        {ToJson(SignInAnswer{}), [](const json& j) { (void)FromJson<SignInAnswer>(j); }},
    };
    const json wrong[] = {nullptr, true, -1.5, json::object(), json::array({json::object()})};
    for (const auto& [record, read] : records) {
        EXPECT_NO_THROW(read(record)) << record;
        EXPECT_THROW(read(json::array()), MalformedRecordException);
        for (const auto& [key, value] : record.items()) {
            std::vector<json> broken(std::size(wrong) + 1, record);
            broken[0].erase(key);
            for (std::size_t i = 0; i < std::size(wrong); ++i)
                broken[i + 1][key] = wrong[i];
            for (const auto& damaged : broken) {
                const std::string message = Thrown([&] { read(damaged); }).message;
                // A damaged signal in a batch is told by the field of the signal.
                const bool inside =
                    key == "signals" && damaged.contains(key) && damaged[key].is_array();
                EXPECT_NE(message.find(inside ? "\"sequence\"" : '"' + key + '"'),
                          std::string::npos)
                    << damaged << ": " << message;
            }
        }
        json extended = record;
        extended["unknown"] = {{"of", "a later version"}};
        EXPECT_NO_THROW(read(extended));
    }
}

TEST(JsonRecordTest, NumbersOutOfRangeAreRefused)
{
    const auto integer = [](const char* text, std::int64_t low, std::int64_t high) {
        return ReadInteger(json{{"n", ParseJson(text)}}, "n", low, high);
    };
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
    constexpr auto highest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(integer("-9223372036854775808", lowest, highest), lowest);
    EXPECT_EQ(integer("9223372036854775807", lowest, highest), highest);
    for (const char* text : {"9223372036854775808", "18446744073709551615", "18446744073709551616",
                             "-9223372036854775809", "1.0", "1e3", "\"1\"", "true"})
        EXPECT_THROW((void)integer(text, lowest, highest), MalformedRecordException) << text;
    for (const char* text : {"0", "4", "-1"})
        EXPECT_THROW((void)integer(text, 1, 3), MalformedRecordException) << text;

    const auto with = [](json record, const char* key, json value) {
        record[key] = std::move(value);
        return record;
    };
    for (const auto& state : {json(0), json(4), json(std::int64_t{1} << 32 | 1)})
        EXPECT_THROW((void)FromJson<Project>(with(ToJson(Project{}), "state", state)),
                     MalformedRecordException)
            << state;
    for (const auto& logon : {json(0), json(32768), json(-1)})
        EXPECT_THROW((void)FromJson<Session>(with(ToJson(ExampleSession()), "logonId", logon)),
                     MalformedRecordException)
            << logon;
    EXPECT_THROW((void)FromJson<ServicePort>(with(ToJson(ServicePort{}), "port", 65536)),
                 MalformedRecordException);
    EXPECT_THROW((void)FromJson<Signal>(with(ToJson(Signal{}), "sequence", -1)),
                 MalformedRecordException);
}
