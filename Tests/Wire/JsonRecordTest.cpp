#include "Support/Pieces.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"

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
    session.permissions = {u"Write", u"Read"};
    session.startTime = -1;
    return session;
}

/// The message of the refusal, or "" when there is none.
std::string RefusalOf(const std::function<void()>& read)
{
    try {
        read();
        return {};
    } catch (const MalformedRecordException& error) {
        return error.what();
    }
}

/// The same for a body of whatever value, looked at to its end.
std::string RefusalOf(const std::string& body)
{
    return RefusalOf([&] { (void)ReadAnswer<Empty>("{\"any\":" + body + '}'); });
}

template <class Number>
auto NumberIn(const std::string& text)
{
    return ReadAnswer<Single<"n", Number>>("{\"n\":" + text + '}').value;
}

template <class Record>
json Written(const Record& record)
{
    return json::parse(WriteJson(record));
}

}  // namespace

TEST(JsonRecordTest, RefusesBodiesThatAreNotOneShallowValue)
{
    auto values =
        Pieces("|{|{}x|nul|{'a':1}|{\"a\":01}|[1,]|NaN|1e999|1.7976931348623159e308|/**/1|"
               "\"\xff\"|\"\xc0\x80\"|\"\xed\xa0\x80\"|\"\\ud800\"|\"a\nb\"|{}\0{}");
    values.insert(values.end(),
                  {Nested(64), std::string(2'000'000, '['), std::string(2'000'000, '{'),
                   "[0" + Repeated(",0", 4'000'000) + "]", "[[]" + Repeated(",[]", 2'000'000) + "]",
                   "\"" + std::string(100, '[')});
    for (const auto& value : values)
        EXPECT_NE(RefusalOf(value), "") << value.substr(0, 40);
    for (const auto& body : {std::string("{}\0", 3), std::string("\xEF\xBB\xBF{}"), std::string(),
                             "{}" + std::string(100'000, ' ') + "x"})
        EXPECT_THROW((void)ReadAnswer<Empty>(body), MalformedRecordException) << body.substr(0, 9);
    // One level is the body's own.
    EXPECT_EQ(RefusalOf(Nested(63)), "");
    // Brackets in a text are no nesting.
    EXPECT_EQ(RefusalOf("\"" + std::string(100, '[') + "\\\"" + std::string(100, '{') + "\""), "");
    EXPECT_EQ(RefusalOf("[1e-999,1.7976931348623157e308," + std::string(100, '9') + "]"), "");
}

TEST(JsonRecordTest, TheMessageOfABadBodyDoesNotRepeatIt)
{
    for (const char* body :
         {R"({"password":"hunter2)", R"({"password":"hunter2" x})",
          "{\"password\":\"hunter2\xff\"}", R"({"password":"hunter2","n":1e999})",
          R"({"password":["hunter2"]})", R"({"password":{"hunter2":999}})"}) {
        const std::string message =
            RefusalOf([&] { (void)ReadAnswer<Single<"password", OV::UniString>>(body); });
        EXPECT_NE(message, "") << body;
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
    // The reader takes a body in pieces: each text also stands where one ends.
    for (const std::size_t before : {0, 16'370, 16'380, 40'000})
        for (const auto& text : texts) {
            const OV::Array<OV::UniString> list{OV::UniString(before, u'x'), text, text};
            const auto line = WriteJson(list);
            EXPECT_TRUE(OV::IsWellFormedUtf8(line));
            EXPECT_EQ(line.find('\n'), std::string::npos);
            EXPECT_EQ(ReadAnswer<OV::Array<OV::UniString>>(line), list) << line.substr(before);
        }
    EXPECT_EQ(WriteJson(std::u16string{0xD800, u'\r'}), R"("\\uD800\\u000D")");
    // Bytes that are no text of the wire.
    EXPECT_EQ(WriteJson(std::string("a\xff\xed\xa0\x80z")), "\"a\xEF\xBF\xBD\xEF\xBF\xBDz\"");
}

TEST(JsonRecordTest, RecordsHaveTheDocumentedFields)
{
    EXPECT_EQ(WriteJson(ExampleSession()),
              "{\"id\":\"s\",\"projectId\":\"p\",\"userId\":\"u\",\"loginName\":\"anna\","
              "\"userName\":\"Anna Nov\xc3\xa1k\",\"logonId\":32767,\"roleName\":\"Architect\","
              "\"permissions\":[\"Read\",\"Write\"],\"startTime\":-1}");
    EXPECT_EQ(ReadAnswer<Session>(WriteJson(ExampleSession())), ExampleSession());
    const Project project{u"p", u"n", u"l", u"c", ProjectState::Maintenance, u"14", -5};
    EXPECT_EQ(Written(project), json::parse(R"({"id":"p","name":"n","location":"l","category":"c",
                                                "state":2,"version":"14","build":-5})"));
    EXPECT_EQ(ReadAnswer<Project>(WriteJson(project)), project);
    EXPECT_EQ(Written(SignInRequest{u"a", u"b", 1}),
              json::parse(R"({"userName":"a","password":"b","protocol":1})"));
    EXPECT_EQ(Written(ServicePort{u"s", 65535}), json::parse(R"({"service":"s","port":65535})"));
    const SignalBatch batch{{{~std::uint64_t{0}, SignalId::NewMail, u"p"}}, ~std::uint64_t{0}};
    const auto read = ReadAnswer<SignalBatch>(WriteJson(batch));
    EXPECT_EQ(read.events, batch.events);
    EXPECT_EQ(read.next, batch.next);
    const FlagPageOf<OV::UniString> flags{{{u"m", true}}, 7};
    EXPECT_EQ(WriteJson(flags), R"({"entries":[["m",true]],"change":7})");
    EXPECT_EQ(ReadAnswer<FlagPageOf<OV::UniString>>(WriteJson(flags)).entries, flags.entries);
    for (const char* pair : {"[]", R"(["m"])", R"(["m",true,1])", R"(["m",1])", R"({"m":true})"})
        EXPECT_NE(RefusalOf([&] {
                      (void)ReadAnswer<FlagUpdateOf<OV::UniString>>(R"({"entries":[)" +
                                                                    std::string(pair) + "]}");
                  }),
                  "")
            << pair;
}

TEST(JsonRecordTest, EveryMissingOrMistypedFieldIsNamed)
{
    using Read = void (*)(const std::string&);
    const std::pair<json, Read> records[] = {
        {Written(ExampleSession()), [](const std::string& j) { (void)ReadAnswer<Session>(j); }},
        {Written(Project{}), [](const std::string& j) { (void)ReadAnswer<Project>(j); }},
        {Written(ServicePort{}), [](const std::string& j) { (void)ReadAnswer<ServicePort>(j); }},
        {Written(Signal{}), [](const std::string& j) { (void)ReadAnswer<Signal>(j); }},
        {Written(SignalBatch{}), [](const std::string& j) { (void)ReadAnswer<SignalBatch>(j); }},
        {Written(SignInRequest{}),
         [](const std::string& j) { (void)ReadAnswer<SignInRequest>(j); }},
        {Written(SignInAnswer{}), [](const std::string& j) { (void)ReadAnswer<SignInAnswer>(j); }},
        {Written(Message{}), [](const std::string& j) { (void)ReadAnswer<Message>(j); }},
    };
    const json wrong[] = {nullptr, true, -1.5, json::object(), json::array({json::object()})};
    for (const auto& [record, read] : records) {
        const auto refusal = [read = read](const json& value) {
            return RefusalOf([&] { read(value.dump()); });
        };
        EXPECT_EQ(refusal(record), "") << record;
        EXPECT_NE(refusal(json::array()), "");
        for (const auto& [key, value] : record.items()) {
            std::vector<json> broken(1, record);
            broken[0].erase(key);
            for (const json& other : wrong)
                if (other.type() != value.type() || other.is_array())
                    broken.emplace_back(record)[key] = other;
            for (const auto& damaged : broken) {
                const std::string message = refusal(damaged);
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
        EXPECT_EQ(refusal(extended), "");
    }
    // Of several the last one counts.
    EXPECT_EQ(ReadAnswer<MailIds>(R"({"ids":["a","b"],"ids":["c"]})").value,
              OV::Array<OV::UniString>{u"c"});
}

TEST(JsonRecordTest, ItemsReadIntoOneRecordHaveNothingOfEachOther)
{
    Single<"list", Each<PageCursor>> body;
    std::vector<std::optional<OV::UniString>> taken;
    body.value.take = [&](const PageCursor& item) { taken.push_back(item.value); };
    ReadAnswer(R"({"list":[{"cursor":"a long text"},{"cursor":"b"},{}]})", body);
    EXPECT_EQ(taken, (std::vector<std::optional<OV::UniString>>{u"a long text", u"b", {}}));
    EXPECT_EQ(body.value.count, 3u);

    body.value.count.reset();
    EXPECT_EQ(RefusalOf([&] { ReadAnswer(R"({"list":[],"list":[]})", body); }),
              "Field \"list\": one list is expected.");
}

TEST(JsonRecordTest, NumbersOutOfRangeAreRefused)
{
    using Limits = std::numeric_limits<std::int64_t>;
    EXPECT_EQ(NumberIn<std::int64_t>("-9223372036854775808"), Limits::min());
    EXPECT_EQ(NumberIn<std::int64_t>("9223372036854775807"), Limits::max());
    EXPECT_EQ(NumberIn<std::uint64_t>("18446744073709551615"), ~std::uint64_t{0});
    for (const char* text : {"9223372036854775808", "18446744073709551615", "18446744073709551616",
                             "-9223372036854775809", "1.0", "1e3", "\"1\"", "true"})
        EXPECT_THROW((void)NumberIn<std::int64_t>(text), MalformedRecordException) << text;
    for (const char* text : {"-1", "-0", "18446744073709551616", "1.0"})
        EXPECT_THROW((void)NumberIn<std::uint64_t>(text), MalformedRecordException) << text;

    const auto with = [](json record, const char* key, json value) {
        record[key] = std::move(value);
        return record.dump();
    };
    for (const auto& state : {json(0), json(4), json(std::int64_t{1} << 32 | 1)})
        EXPECT_THROW((void)ReadAnswer<Project>(with(Written(Project{}), "state", state)),
                     MalformedRecordException)
            << state;
    for (const auto& logon : {json(0), json(32768), json(-1)})
        EXPECT_THROW((void)ReadAnswer<Session>(with(Written(ExampleSession()), "logonId", logon)),
                     MalformedRecordException)
            << logon;
    EXPECT_THROW((void)ReadAnswer<ServicePort>(with(Written(ServicePort{}), "port", 65536)),
                 MalformedRecordException);
}
