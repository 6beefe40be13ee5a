#include "SYCommunication/HttpClient.hpp"
#include "OVRoot/Thread.hpp"
#include "SYCommunication/Detail/TransferDeadline.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/Thrown.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <future>
#include <sched.h>
#include <sys/mount.h>

using namespace Communication;

namespace {

using Clock = std::chrono::steady_clock;
/// For everything that must end "at once"; generous, since the machine may be busy.
constexpr std::chrono::seconds Soon(10);

HttpOptions ShortOptions()
{
    HttpOptions options;
    options.requestTimeoutMilliseconds = 400;
    options.maximumAnswerBytes = 100'000;
    return options;
}

HttpClient ClientOf(const ScriptedServer& server, HttpOptions options = {})
{
    return HttpClient(ServerAddress{u"127.0.0.1", server.Port(), false}, std::move(options));
}

HttpRequest Request(HttpMethod method, OV::String body = {})
{
    return {method, "/x", std::move(body), {}, 0};
}

/// The name of the exception that ends a GET, or the status of its answer.
std::string Outcome(HttpClient& client, HttpMethod method = HttpMethod::Get, OV::String body = {})
{
    int status = 0;
    const Thrown thrown([&] { status = client.Perform(Request(method, std::move(body))).status; });
    return status != 0 ? std::to_string(status) : thrown.name;
}

void StreamForEver(const ScriptedServer::Peer& peer, std::string_view head, std::string_view piece)
{
    std::string block;
    while (block.size() < 64 * 1024)
        block += piece;
    for (bool there = peer.Send(head); there && !peer.IsEnding();)
        there = peer.Send(block);
}

}  // namespace

TEST(HttpClientTest, EveryMisbehaviourHasItsException)
{
    struct Case {
        const char* name;
        const char* expected;
        ScriptedServer::Script script;
    };
    using Peer = ScriptedServer::Peer;
    using Asked = ScriptedServer::Request;
    const auto sending = [](std::string text) {
        return [text](Peer& peer, const Asked&) {
            peer.Send(text);
            peer.Close();
        };
    };
    const Case cases[] = {
        {"a whole answer", "200", [](Peer& p, const Asked&) { p.Answer(200, "{}"); }},
        {"a redirect is not followed", "302",
         [](Peer& p, const Asked&) { p.Answer(302, "", "Location: http://127.0.0.1:1/\r\n"); }},
        {"a body up to the limit", "200",
         [](Peer& p, const Asked&) { p.Answer(200, std::string(100'000, 'x')); }},
        {"closed before a byte", "ConnectionException", sending("")},
        {"closed in the headers", "ConnectionException", sending("HTTP/1.1 200 OK\r\nA: b\r\n")},
        {"closed in the body", "ConnectionException",
         sending("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n{\"a\"")},
        {"chunks that are none", "ConnectionException",
         sending("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nabc")},
        {"something other than HTTP", "MalformedResponseException", sending("SSH-2.0-x\r\n\r\n")},
        {"a declared body over the limit", "MalformedResponseException",
         sending("HTTP/1.1 200 OK\r\nContent-Length: 99999999999\r\n\r\n")},
        {"a body one byte over the limit", "MalformedResponseException",
         [](Peer& p, const Asked&) { p.Answer(200, std::string(100'001, 'x')); }},
        {"an endless body", "MalformedResponseException",
         [](Peer& p, const Asked&) { StreamForEver(p, "HTTP/1.1 200 OK\r\n\r\n", "x"); }},
        {"endless header lines", "MalformedResponseException",
         [](Peer& p, const Asked&) { StreamForEver(p, "HTTP/1.1 200 OK\r\n", "A: b\r\n"); }},
        {"endless interim answers", "MalformedResponseException",
         [](Peer& p, const Asked&) { StreamForEver(p, "", "HTTP/1.1 100 Continue\r\n\r\n"); }},
        {"never an answer", "TimeoutException", [](Peer& p, const Asked&) { p.HoldUntilGone(); }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        const ScriptedServer server(one.script);
        HttpClient client = ClientOf(server, ShortOptions());
        const auto begin = Clock::now();
        EXPECT_EQ(Outcome(client), one.expected);
        EXPECT_LT(Clock::now() - begin, Soon);
    }
}

TEST(HttpClientTest, AnAnswerWithoutEndIsCutWhenNobodySetALimit)
{
    const ScriptedServer server(
        [](auto& peer, const auto&) { StreamForEver(peer, "HTTP/1.1 200 OK\r\n\r\n", "x"); });
    HttpClient client = ClientOf(server);
    EXPECT_EQ(Outcome(client), "MalformedResponseException");
}

TEST(HttpClientTest, ARequestThatABusyServerWantsLaterIsSentAgain)
{
    const struct {
        int status;
        const char* headers;
        const char* expected;
        int requests;
    } cases[] = {{429, "Retry-After: 1\r\n", "200", 2},
                 {503, "Retry-After: 1\r\n", "200", 2},
                 {429, "Retry-After: 99999999999\r\n", "429", 1},
                 {429, "Retry-After: soon\r\n", "429", 1},
                 {503, "", "503", 1},
                 {500, "Retry-After: 1\r\n", "500", 1}};
    for (const auto& one : cases) {
        SCOPED_TRACE(std::to_string(one.status) + one.headers);
        const ScriptedServer server([&](auto& peer, const auto& request) {
            if (request.number == 1)
                peer.Answer(one.status, "{}", one.headers);
            else
                peer.Answer(200, "{}");
        });
        HttpClient client = ClientOf(server, {});
        EXPECT_EQ(Outcome(client), one.expected);
        EXPECT_EQ(server.Requests(), one.requests);
    }
}

TEST(HttpClientTest, AnUnreachableServerIsNamedWithItsPort)
{
    std::uint16_t freePort = 0;
    {
        const ScriptedServer gone([](auto&, const auto&) {});
        freePort = gone.Port();
    }
    HttpClient client(ServerAddress{u"127.0.0.1", freePort, false}, {});
    HttpRequest request = Request(HttpMethod::Get);
    request.target = "/path?name=geheim";
    request.token = "TOKEN";
    const Thrown thrown([&] { (void)client.Perform(request); });
    EXPECT_EQ(thrown.name, "ConnectionException");
    for (const auto& told : {"127.0.0.1:" + std::to_string(freePort), std::string("GET /path")})
        EXPECT_TRUE(thrown.Tells(told)) << thrown.message;
    EXPECT_FALSE(thrown.Tells("geheim") || thrown.Tells("TOKEN")) << thrown.message;
}

TEST(HttpClientTest, OfANameWithSeveralAddressesTheNextIsTakenWhenOneIsDead)
{
    // The system names the first of the two first.
    const ScriptedServer server([](auto& peer, const auto&) { peer.Answer(200, "{}"); },
                                INADDR_LOOPBACK + 1);
    const TemporaryFolder folder;
    const auto hosts = folder.Path() / "hosts";
    std::ofstream(hosts) << "127.0.0.1 two\n127.0.0.2 two\n";
    const auto ask = [&] {
        HttpOptions options;
        options.connectTimeoutMilliseconds = 2'000;
        options.allowPlainHttp = true;
        HttpClient client(ServerAddress{u"two", server.Port(), false}, options);
        return Outcome(client);
    };
    std::string whenRefused, whenSilent;
    // The names of a thread of its own: nobody else sees them.
    std::thread([&] {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount(hosts.c_str(), "/etc/hosts", nullptr, MS_BIND, nullptr) != 0)
            return;
        whenRefused = ask();
        // With the queue of who knocks full, nothing answers there, as at a dead machine.
        const int silent = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int first = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const HttpSocket ends[] = {HttpSocket(silent), HttpSocket(first)};
        const sockaddr_in there = HttpSocket::Loopback(server.Port());
        const auto* place = reinterpret_cast<const sockaddr*>(&there);
        EXPECT_EQ(bind(silent, place, sizeof there), 0);
        EXPECT_EQ(listen(silent, 0), 0);
        EXPECT_EQ(connect(first, place, sizeof there), 0);
        whenSilent = ask();
    }).join();
    if (whenRefused.empty())
        GTEST_SKIP() << "this system gives nobody names of his own";
    EXPECT_EQ(whenRefused, "200");
    EXPECT_EQ(whenSilent, "200");
}

TEST(HttpClientTest, AHostThatWouldBecomeAnotherPartOfTheUrlIsRefused)
{
    const ScriptedServer server([](auto& peer, const auto&) { peer.Answer(200, "{}"); });
    for (const char16_t* host :
         {u"", u"user@127.0.0.1", u"127.0.0.1/x", u"127.0.0.1?x", u"127.0.0.1#",
          u"127.0.0.1\r\nA: b", u"12%37.0.0.1", u"a b", u"n\u00E9xar.example"}) {
        HttpClient client(ServerAddress{host, server.Port(), false}, {});
        EXPECT_EQ(Outcome(client), "ConnectionException") << OV::ToUtf8(host);
    }
    EXPECT_EQ(server.Connections(), 0);
}

TEST(HttpClientTest, AConnectionIsKeptAndReplacedWhenTheServerDroppedIt)
{
    std::atomic<int> closed = 0;
    ScriptedServer server([&](auto& peer, const auto& request) {
        peer.Answer(200, "{}");
        if (request.number % 50 == 0) {
            request.number == 50 ? peer.Close() : peer.HalfClose();
            ++closed;
        }
    });
    HttpClient client = ClientOf(server);
    for (int request = 1; request <= 150; ++request) {
        ASSERT_EQ(Outcome(client, request % 2 ? HttpMethod::Get : HttpMethod::Post, "{}"), "200");
        while (closed < request / 50)
            std::this_thread::yield();
    }
    EXPECT_EQ(Outcome(client, HttpMethod::Post, "{}"), "200");
    EXPECT_EQ(server.Connections(), 4);
    EXPECT_EQ(server.Requests(), 151);
}

TEST(HttpClientTest, OnlyARequestThatChangesNothingIsSentAgainOnANewConnection)
{
    // The server takes the second request of each connection in full and closes without an answer:
    // it may have acted on it.
    const struct {
        HttpMethod method;
        const char* body;
        const char* expected;
        int requests;
    } cases[] = {
        {HttpMethod::Get, "", "200", 3},
        {HttpMethod::Post, "{}", "ConnectionException", 2},
        {HttpMethod::Post, "", "ConnectionException", 2},
        {HttpMethod::Put, "{}", "ConnectionException", 2},
        {HttpMethod::Delete, "", "ConnectionException", 2},
    };
    for (const auto& one : cases) {
        const ScriptedServer server([](auto& peer, const auto& request) {
            if (request.number == 2)
                peer.Close();
            else
                peer.Answer(200, "{}");
        });
        HttpClient client = ClientOf(server);
        ASSERT_EQ(Outcome(client), "200");
        EXPECT_EQ(Outcome(client, one.method, one.body), one.expected)
            << static_cast<int>(one.method);
        EXPECT_EQ(server.Requests(), one.requests) << static_cast<int>(one.method);
        EXPECT_EQ(Outcome(client, HttpMethod::Post, "{}"), "200") << "usable afterwards";
    }
}

TEST(HttpClientTest, AHeldRequestEndsWhenItsThreadIsInterruptedOrItsClientCancelled)
{
    for (const bool isCancelled : {false, true}) {
        std::atomic<bool> arrived = false;
        // The second request is held: a new connection has timers of curl's own, which would wake
        // it.
        const ScriptedServer server([&](auto& peer, const auto& request) {
            arrived = request.number == 2;
            request.number == 2 ? peer.HoldUntilGone() : void(peer.Answer(200, "{}"));
        });
        HttpClient client = ClientOf(server);
        EXPECT_EQ(Outcome(client), "200");
        std::promise<std::string> outcome;
        OV::Thread thread("Held", [&] { outcome.set_value(Outcome(client)); });
        while (!arrived)
            std::this_thread::yield();
        const auto begin = Clock::now();
        isCancelled ? client.Cancel() : thread.Interrupt();
        EXPECT_EQ(outcome.get_future().get(), "InterruptedException");
        EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
        thread.Join();
        // The client outlives an interruption, and stays cancelled.
        EXPECT_EQ(Outcome(client), isCancelled ? "InterruptedException" : "200");
        EXPECT_EQ(server.Requests(), isCancelled ? 2 : 3);
    }
}

TEST(TransferDeadlineTest, AStalledOrDrippingTransferEndsAndALargeOneHasItsTime)
{
    using namespace std::chrono_literals;
    constexpr std::uint64_t second = Detail::TransferDeadline::SlowestBytesPerSecond;
    struct Step {
        std::chrono::milliseconds at;
        std::uint64_t moved;
        std::chrono::milliseconds end;
    };
    const std::vector<Step> transfers[] = {
        {{0s, 0, 30s}, {29s, 0, 30s}},
        {{1s, 1, 30s}, {29s, 8, 30s}},                        // in drops
        {{1s, 100 * second, 31s}, {30s, 100 * second, 31s}},  // fast, then nothing
        {{20s, 20 * second, 50s}, {49s, 60 * second, 79s}},   // slow, and alive
        {{59s, 100 * second, 89s}, {60s, 50 * second, 89s}},  // sent again
    };
    for (const auto& steps : transfers) {
        const Detail::TransferDeadline::Time begin{1h};
        Detail::TransferDeadline deadline(30s, begin);
        for (const Step& step : steps) {
            deadline.Note(step.moved, begin + step.at);
            EXPECT_EQ((deadline.End() - begin) / 1ms, step.end / 1ms) << step.at / 1ms;
        }
    }
}

TEST(ServerAddressTest, ServerNamesAsUsersWriteThem)
{
    const struct {
        const char16_t* name;
        const char* url;
    } cases[] = {
        {u"nexar", "http://nexar:80"},          {u" HTTP://Nexar/ ", "http://Nexar:80"},
        {u"HttpS://nexar", "https://nexar:80"}, {u"[::1]", "http://[::1]:80"},
        {u"https://::1", "https://[::1]:80"},   {u"fe80::1%eth0", "http://[fe80::1%25eth0]:80"},
        {u"https", "http://https:80"},          {u"server-\u00FC", "http://server-\xC3\xBC:80"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(ServerAddress::FromServerName(one.name, 80).BaseUrl(), one.url);
}
