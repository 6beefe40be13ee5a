#include "SyncraClient/SyncraClient.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "SYCommunication/PagedReading.hpp"
#include "Support/Eventually.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/Thrown.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using Syncra::Client::Connect;
using Syncra::Client::SyncraClient;

namespace {

using Asked = ScriptedServer::Request;
using Peer = ScriptedServer::Peer;

constexpr const char* Token = ScriptedServer::SignedIn;

std::unique_ptr<SyncraClient> SignedIn(const ScriptedServer& server)
{
    Communication::HttpOptions options;
    options.requestTimeoutMilliseconds = 20'000;
    return Connect({u"127.0.0.1", server.Port(), u"anna", u"geheim"}, options);
}

/// Answers the sign-in with `signIn` and every other request with `answer`.
struct Answers {
    std::string signIn = Token;
    int status = 200;
    std::string answer = "{}";

    void operator()(Peer& peer, const Asked& request) const
    {
        if (request.target == "/syncra/v1/sign-in")
            peer.Answer(200, signIn);
        else
            peer.Answer(status, answer);
    }
};

/// The name of the exception that `action` ends with, and its code for a refusal; "-" for none.
template <class Action>
std::string Outcome(Action action)
{
    try {
        action();
        return "-";
    } catch (const Communication::ResponseContentException& refusal) {
        return "refused " + std::to_string(refusal.GetErrorCode());
    } catch (const OV::Exception& failure) {
        EXPECT_EQ(std::string(failure.what()).find("geheim"), std::string::npos) << failure.what();
        return std::string(failure.GetName());
    }
}

}  // namespace

TEST(SyncraClientTest, EveryTextGoesIntoItsRequestAsDocumented)
{
    const struct {
        std::function<void(SyncraClient&)> operation;
        const char* method;
        const char* target;
        const char* body;
        const char* answer;
    } cases[] = {
        {[](SyncraClient& c) { EXPECT_TRUE(c.IsMember(u"..")); }, "GET", "/projects/../membership",
         "", R"({"member":true})"},
        {[](SyncraClient& c) { EXPECT_FALSE(c.ProjectExists(u"a&b=\u00FC/\xD800\\u")); }, "GET",
         "/projects/exists?name=a%26b%3D%C3%BC%2F%5CuD800%5Cu005Cu", "", R"({"exists":false})"},
        {[](SyncraClient& c) { c.CloseSession(u"p/q"); }, "DELETE", "/sessions/p%2Fq", "", "{}"},
        {[](SyncraClient& c) { EXPECT_EQ(c.GetSessionAttribute(u"s", u"A b"), u"\xD800"); }, "GET",
         "/sessions/s/attributes/A%20b", "", R"({"value":"\\uD800"})"},
        {[](SyncraClient& c) { c.SetSessionAttribute(u"s", u"A", "M\xC3\xBC\r"); }, "PUT",
         "/sessions/s/attributes/A", "{\"value\":\"M\xC3\xBC\\\\u000D\"}", "{}"},
        {[](SyncraClient& c) { EXPECT_EQ(c.WaitForSignals(u"p", 3, 25'000).next, 4u); }, "GET",
         "/signals?project=p&after=3&wait=25000", "", R"({"signals":[],"next":4})"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.target);
        Asked last;
        const ScriptedServer server([&](Peer& peer, const Asked& request) {
            last = request;
            peer.Answer(200, request.number == 1 ? Token : one.answer);
        });
        const auto client = SignedIn(server);
        EXPECT_EQ(last.body, R"({"userName":"anna","password":"geheim","protocol":1})");
        one.operation(*client);
        EXPECT_EQ(last.method, one.method);
        EXPECT_EQ(last.target, std::string("/syncra/v1") + one.target);
        EXPECT_EQ(last.body, one.body);
        EXPECT_NE(last.head.find("\r\nAuthorization: Bearer T\r\n"), std::string::npos);
        EXPECT_EQ(server.Connections(), 1);
    }
}

TEST(SyncraClientTest, WhatIsTooMuchForOneRequestIsSentInParts)
{
    std::vector<std::size_t> parts;
    const ScriptedServer server([&](Peer& peer, const Asked& request) {
        const auto body = nlohmann::json::parse(request.body);
        for (const char* list : {"ids", "entries"})
            if (body.contains(list))
                parts.push_back(body[list].size());
        peer.Answer(200, request.number == 1 ? Token : "{}");
    });
    const auto client = SignedIn(server);
    const auto id = [](int number) { return OV::FromUtf8(std::to_string(number)); };
    OV::Array<OV::UniString> ids;
    SyncraClient::FlagTable flags;
    for (int i = 0; i < 2001; ++i) {
        ids.push_back(id(i));
        flags[id(i)] = true;
    }
    client->DeleteMails(u"p", ids);
    client->SetMailStatus(u"p", flags);
    EXPECT_EQ(parts, (std::vector<std::size_t>{1000, 1000, 1, 1000, 1000, 1}));
}

TEST(SyncraClientTest, AnAnswerThatIsNoneAndARefusalAreToldApart)
{
    const struct {
        int status;
        std::string body;
        const char* expected;
    } cases[] = {
        {204, "", "MalformedResponseException"},
        {200, "[]", "MalformedResponseException"},
        {200, R"({"projects":[7]})", "MalformedResponseException"},
        {200, "{\"projects\":[],\"a\":\"\xFF\"}", "MalformedResponseException"},
        {302, "", "MalformedResponseException"},
        {500, "<html>busy</html>", "MalformedResponseException"},
        {500, R"({"code":"2","message":"m"})", "MalformedResponseException"},
        {500, R"({"code":99999999999,"message":"m"})", "MalformedResponseException"},
        {500, R"({"code":2,"message":"m"})", "refused 2"},
        {423, R"({"code":24,"message":"m","more":[]})", "refused 24"},
        {418, R"({"code":777,"message":"m"})", "refused 777"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(std::to_string(one.status) + " " + one.body.substr(0, 60));
        const ScriptedServer server(Answers{Token, one.status, one.body});
        const auto client = SignedIn(server);
        EXPECT_EQ(Outcome([&] { (void)client->GetProjects(); }), one.expected);
    }
}

TEST(SyncraClientTest, TheStatusAndTheServerAreNamedWhenAnAnswerIsNone)
{
    const ScriptedServer server(Answers{Token, 502, "<html>"});
    const auto client = SignedIn(server);
    const Thrown thrown([&] { (void)client->ProjectExists(u"geheim"); });
    EXPECT_EQ(thrown.name, "MalformedResponseException");
    EXPECT_TRUE(thrown.Tells("502")) << thrown.message;
    EXPECT_TRUE(thrown.Tells("127.0.0.1:" + std::to_string(server.Port()))) << thrown.message;
    EXPECT_FALSE(thrown.Tells("geheim")) << thrown.message;
}

TEST(SyncraClientTest, ASignInThatCannotBeUsedIsRefused)
{
    struct Case {
        int status;
        std::string body;
        const char* expected;
    };
    const auto withToken = [](const std::string& token) {
        return R"({"token":")" + token +
               R"(","userId":"u","userName":"U","protocol":1,"serverVersion":1400})";
    };
    const Case cases[] = {
        {401, R"({"code":10,"message":"m"})", "refused 10"},
        {401, R"({"code":15,"message":"m"})", "refused 15"},
        {426, R"({"code":30,"message":"m"})", "IncopatibleServerVersionException"},
        {200, R"({"protocol":2})", "IncopatibleServerVersionException"},
        {200, R"({"token":"T"})", "MalformedResponseException"},
        {200, withToken(""), "MalformedResponseException"},
        {200, withToken("a b"), "MalformedResponseException"},
        {200, withToken(R"(a\r\nHost: evil)"), "MalformedResponseException"},
        {200, withToken(R"(a\\u000D\nHost:evil)"), "MalformedResponseException"},
        {200, withToken(std::string(5000, 'a')), "MalformedResponseException"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.body.substr(0, 60));
        const ScriptedServer server(
            [&](Peer& peer, const Asked&) { peer.Answer(one.status, one.body); });
        EXPECT_EQ(
            Outcome([&] {
                (void)SYCB::CreateSyncraClient({u"127.0.0.1", server.Port(), u"u", u"geheim"});
            }),
            one.expected);
        EXPECT_EQ(server.Requests(), 1);
    }
}

TEST(SyncraClientTest, AnExpiredTokenIsRenewedOnceARequest)
{
    // Tokens are "1", "2", ...; the server knows those from `oldest` on.
    std::atomic<int> signIns = 0;
    std::atomic<int> oldest = 1;
    std::atomic<int> sessions = 0;
    std::atomic<int> left = 0;
    const ScriptedServer server([&](Peer& peer, const Asked& request) {
        if (request.target == "/syncra/v1/sign-in") {
            peer.Answer(200,
                        R"({"token":")" + std::to_string(++signIns) +
                            R"(","userId":"u","userName":"U","protocol":1,"serverVersion":1400})");
            return;
        }
        const std::size_t at = request.head.find("Bearer ");
        if (request.target == "/syncra/v1/sign-out") {
            left = std::stoi(request.head.substr(at + 7));
            peer.Answer(200, "{}");
        } else if (std::stoi(request.head.substr(at + 7)) < oldest)
            peer.Answer(401, R"({"code":15,"message":"too old"})");
        else if (++sessions)
            peer.Answer(200, "{}");
    });
    auto client = SignedIn(server);
    client->CloseSession(u"s");
    EXPECT_EQ(signIns, 1);
    oldest = 2;
    client->CloseSession(u"s");
    client->CloseSession(u"s");
    EXPECT_EQ(signIns, 2);
    EXPECT_EQ(sessions, 3);
    oldest = 1000;
    EXPECT_EQ(Outcome([&] { client->CloseSession(u"s"); }), "refused 15");
    EXPECT_EQ(signIns, 3) << "not again and again";
    client.reset();
    EXPECT_TRUE(Eventually([&] { return left == 3; })) << "whoever goes takes his token back";
}

/// The first page takes longer to read than the others together, and older servers tell the cursor
/// last.
TEST(SyncraClientTest, PagesOfMailsComeInTheirOrder)
{
    constexpr int last = 6;
    std::atomic<int> damaged = 0;
    const ScriptedServer server([&](Peer& peer, const Asked& request) {
        const auto place = request.target.find("cursor=");
        const int page =
            place == std::string::npos ? 1 : std::stoi(request.target.substr(place + 7));
        const std::string cursor = page == last ? "" : std::to_string(page + 1);
        // Keys that come again, and one that another mail had; the last of two of one name counts.
        const auto mail = [](int number) {
            const std::string key = '"' + std::to_string(number % 3) + R"(":")";
            return R"({"id":"m","read":false,"copy":false,"historical":false,"timeStamp":0,)"
                   R"("header":{)" +
                   key + R"(a",)" + key + std::to_string(number) + R"("},"body":""})";
        };
        std::string mails = mail(0);
        const int size = page == 1 ? 5000 : page;
        for (int number = 1; number < size; ++number)
            mails += ',' + mail(number);
        const std::string head =
            R"("change":)" + std::to_string(page + 4) + R"(,"cursor":")" + cursor + '"';
        mails = R"("mails":[)" + mails + (page == damaged ? "" : "]");
        peer.Answer(200, request.target == "/syncra/v1/sign-in" ? Token
                         : page % 2 == 0                        ? '{' + head + ',' + mails + '}'
                                                                : '{' + mails + ',' + head + '}');
    });
    std::string pages;
    bool isTooMuch = false;
    const auto begin = [&] {
        const auto size = std::make_shared<int>();
        return Syncra::Client::SyncraClient::MailPage{
            [size](const auto& mail) {
                EXPECT_EQ(mail.header, (OV::HashTable<OV::UniString, OV::UniString>{
                                           {OV::ToText(*size % 3), OV::ToText(*size)}}));
                ++*size;
            },
            [size, &pages, &isTooMuch](bool isLast) {
                pages += std::to_string(*size) + (isLast ? '.' : ' ');
                if (*size == 2 && isTooMuch)
                    throw OV::IllegalArgumentException(OV::StringView("full"));
            }};
    };
    EXPECT_EQ(SignedIn(server)->GetMails(u"p", 0, 0, begin).change, 5u);
    EXPECT_EQ(pages, "5000 2 3 4 5 6.");
    pages.clear();
    damaged = 4;
    EXPECT_EQ(Outcome([&] { SignedIn(server)->GetMails(u"p", 0, 0, begin); }),
              "MalformedResponseException");
    EXPECT_EQ(pages, "5000 2 3 ");
    damaged = 0;
    isTooMuch = true;
    EXPECT_EQ(Outcome([&] { SignedIn(server)->GetMails(u"p", 0, 0, begin); }),
              "IllegalArgumentException");
}

TEST(SyncraClientTest, PagesThatBringNothingOrNeverEndAreRefused)
{
    int number = 0;
    const ScriptedServer server([&](Peer& peer, const Asked& request) {
        peer.Answer(200, request.number == 1 ? Token
                                             : R"({"mails":[],"change":0,"cursor":")" +
                                                   std::to_string(++number) + R"("})");
    });
    const auto begin = [] {
        return Syncra::Client::SyncraClient::MailPage{[](const auto&) {}, [](bool) {}};
    };
    EXPECT_EQ(Outcome([&] { SignedIn(server)->GetMails(u"p", 0, 0, begin); }),
              "MalformedResponseException");

    const std::pair<std::uint64_t, std::uint64_t> beyond[] = {
        {41, 1}, {1, 4}, {~0ull, 0}, {0, ~0ull}};
    for (const auto& [bytes, entries] : beyond) {
        Communication::PagedReading reading(u"the log", {100, 10});
        reading.TakePage(60, 7, true);
        EXPECT_EQ(Outcome([&, b = bytes, e = entries] { reading.TakePage(b, e, false); }),
                  "MalformedResponseException");
        EXPECT_EQ(Outcome([&] { reading.TakePage(40, 3, true); }), "-");
    }
}
