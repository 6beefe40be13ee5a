#include "ServerTest.hpp"

namespace {

class HttpRobustnessTest : public ServerTest {
protected:
    /// The answer to bytes as they are.
    [[nodiscard]] RawHttp::Answer Throw(std::string_view bytes) const
    {
        RawHttp connection(server_.ModelPort());
        connection.Send(bytes);
        connection.HalfClose();
        return connection.Receive();
    }

    /// `Closed` or a refusal with its code and a message.
    static void ExpectRefused(const RawHttp::Answer& raw, int status, int code,
                              const std::string& what)
    {
        EXPECT_EQ(raw.status, status) << what << "\n" << raw.body;
        if (status == RawHttp::Closed)
            return;
        const Answer answer = ToAnswer(raw);
        EXPECT_EQ(answer.Code(), code) << what << "\n" << raw.body;
        EXPECT_GT(answer.body.value("message", "").size(), 10u) << what;
        EXPECT_NE(raw.head.find("Content-Type: application/json"), std::string::npos) << what;
    }
};

std::string Post(const std::string& headers, const std::string& body = {})
{
    return "POST /syncra/v1/sign-in HTTP/1.1\r\nHost: h\r\n" + headers + "\r\n" + body;
}

TEST_F(HttpRobustnessTest, RefusesWhatIsNoHttp)
{
    const std::string get = "GET /syncra/version HTTP/1.1\r\n";
    struct Case {
        const char* what;
        std::string bytes;
        int status = 400;
        int code = 1;
    };
    const Case cases[] = {
        {"garbage", "\x16\x03\x01\x02\xFC\x03\x03 nothing\r\n\r\n"},
        {"zeros", std::string(100, '\0') + "\r\n\r\n"},
        {"no version", "GET /syncra/version\r\n\r\n"},
        {"bad version", "GET /syncra/version HTTP/9.9\r\n\r\n"},
        {"bad method", "G<>T /syncra/version HTTP/1.1\r\n\r\n"},
        {"no path", "GET  HTTP/1.1\r\n\r\n"},
        {"relative path", "GET syncra/version HTTP/1.1\r\n\r\n"},
        {"half a percent code", "GET /syncra/version%4 HTTP/1.1\r\n\r\n"},
        {"bad percent code", "GET /syncra/%zz HTTP/1.1\r\n\r\n"},
        {"no UTF-8 in the path", "GET /syncra/%ff HTTP/1.1\r\n\r\n"},
        {"overlong UTF-8", "GET /syncra/v1/projects/exists?name=%c0%af HTTP/1.1\r\n\r\n"},
        {"empty component", "GET /syncra//version HTTP/1.1\r\n\r\n"},
        {"header without colon", get + "Nothing\r\n\r\n"},
        {"blank before the colon", get + "Host : h\r\n\r\n"},
        {"line feed in a header", get + "Host: a\nX: b\r\n\r\n"},
        {"length that is no number", Post("Content-Length: 1x\r\n", "{}")},
        {"negative length", Post("Content-Length: -1\r\n", "{}")},
        {"enormous length", Post("Content-Length: 99999999999999999999999\r\n", "{}")},
        {"two lengths", Post("Content-Length: 2\r\nContent-Length: 3\r\n", "{}x")},
        {"length and chunks",
         Post("Content-Length: 2\r\nTransfer-Encoding: chunked\r\n", "2\r\n{}\r\n0\r\n\r\n")},
        {"chunk size that is none", Post("Transfer-Encoding: chunked\r\n", "zz\r\n{}\r\n")},
        {"chunk without its end", Post("Transfer-Encoding: chunked\r\n", "2\r\n{}xx\r\n")},
        {"header over 16 KiB", get + "X: " + std::string(17'000, 'x') + "\r\n\r\n", 431, 4},
        {"target over 16 KiB", "GET /" + std::string(17'000, 'x') + " HTTP/1.1\r\n\r\n", 431, 4},
        {"many headers",
         get +
             [] {
                 std::string headers;
                 for (int i = 0; i < 5000; ++i)
                     headers += "A: b\r\n";
                 return headers;
             }() +
             "\r\n",
         431, 4},
        {"declared body over 16 MiB", Post("Content-Length: 16777217\r\n", "{}"), 413, 4},
        {"half a header", get + "Host:", RawHttp::Closed},
        {"half a body", Post("Content-Length: 50\r\n", "{\"userName\":"), RawHttp::Closed},
        {"nothing", "", RawHttp::Closed},
    };
    for (const Case& one : cases)
        ExpectRefused(Throw(one.bytes), one.status, one.code, one.what);
    EXPECT_TRUE(Works());
}

TEST_F(HttpRobustnessTest, RefusesBodiesThatAreNoObject)
{
    const std::string bodies[] = {
        "",
        "nothing",
        "[]",
        "null",
        "\"text\"",
        "{",
        "{} {}",
        "{\"userName\":\"\xFF\"}",
        "{\"userName\":1e999}",
        R"({"userName":"u","password":"p"})",
        R"({"userName":"u","password":"p","protocol":"1"})",
        R"({"userName":["u"],"password":"p","protocol":1})",
        std::string(100'000, '['),
        "{\"a\":" + std::string(64, '[') + std::string(64, ']') + "}",
    };
    for (const std::string& body : bodies) {
        const Answer answer = Ask("POST", "/sign-in", {}, body);
        EXPECT_EQ(answer.status, 400) << body.substr(0, 60);
        EXPECT_EQ(answer.Code(), 1) << answer.body;
    }
    EXPECT_TRUE(Works());
}

TEST_F(HttpRobustnessTest, TellsAClientThatSendsTooMuchWhatIsWrong)
{
    constexpr std::size_t limit = 16u << 20;
    RawHttp declared(server_.ModelPort());
    declared.SendRequest("POST", "/syncra/v1/sign-in", {}, std::string(limit + 1, ' '));
    ExpectRefused(declared.Receive(), 413, 4, "with a length");

    RawHttp chunked(server_.ModelPort());
    chunked.Send(Post("Transfer-Encoding: chunked\r\n"));
    const std::string chunk = "100000\r\n" + std::string(1u << 20, ' ') + "\r\n";
    for (int i = 0; i < 17; ++i)
        chunked.Send(chunk);
    ExpectRefused(chunked.Receive(), 413, 4, "in chunks");

    const Answer whole = Ask("POST", "/sign-in", {}, std::string(limit - 2, ' ') + "{}");
    EXPECT_EQ(whole.Code(), 1) << "a body of exactly 16 MiB is read";
    EXPECT_TRUE(Works());
}

TEST_F(HttpRobustnessTest, AnswersPipelinedRequestsInTheirOrderAndKeepsTheConnection)
{
    RawHttp connection(server_.ModelPort());
    std::string requests;
    for (const char* path : {"version", "none", "v1/projects", "version"})
        requests += "GET /syncra/" + std::string(path) + " HTTP/1.1\r\nHost: h\r\n\r\n";
    connection.Send(requests);
    for (const int status : {200, 404, 401, 200})
        EXPECT_EQ(connection.Receive().status, status);

    connection.Send("HEAD /syncra/version HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(connection.Receive().status, 404);
    const std::string request = "GET /syncra/version HTTP/1.1\r\nHost: h\r\n\r\n";
    for (const char& byte : request)
        connection.Send({&byte, 1});
    EXPECT_EQ(ToAnswer(connection.Receive()).body["protocol"], 1)
        << "the answer to HEAD must leave nothing behind";

    connection.Send("GET /syncra/version HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(connection.Receive().status, 200);
    EXPECT_EQ(connection.Receive().status, RawHttp::Closed);
}

TEST_F(HttpRobustnessTest, RefusesUnknownPathsMethodsAndTokens)
{
    const std::string token = SignIn("anna.novak");
    struct Case {
        const char* method;
        const char* path;
        std::string token;
        int status;
        int code;
    };
    const Case cases[] = {
        {"GET", "/projects", "", 401, 15},
        {"GET", "/projects", "unknown", 401, 15},
        {"GET", "/projects", token + "x", 401, 15},
        {"GET", "/projects", token.substr(1), 401, 15},
        {"GET", "/nothing", token, 404, 3},
        {"GET", "/projects/a/b/c", token, 404, 3},
        {"GET", "/projects/..%2F..%2Fversion", token, 404, 3},
        {"PUT", "/projects", token, 404, 3},
        {"DELETE", "/sign-in", "", 404, 3},
        {"BREW", "/projects", token, 404, 3},
    };
    for (const Case& one : cases) {
        const Answer answer = Ask(one.method, one.path, one.token);
        EXPECT_EQ(answer.status, one.status) << one.method << one.path;
        EXPECT_EQ(answer.Code(), one.code) << one.method << one.path;
    }
    EXPECT_EQ(Ask("POST", "/sign-out", token).status, 200);
    EXPECT_EQ(Ask("GET", "/projects", token).Code(), 15);
}

}  // namespace
