#include "ServerTest.hpp"

namespace {

using HttpRequestsTest = ServerTest;

const std::string VersionRequest = RequestText("GET", "/syncra/version");

std::string SignInWith(const std::string& body)
{
    return RequestText("POST", "/syncra/v1/sign-in", "", body);
}

std::string JsonTo(const std::string& path)
{
    return "POST " + path + " HTTP/1.1\r\nContent-Type: application/json\r\n";
}

}  // namespace

TEST_F(HttpRequestsTest, RefusesDamagedRequestsAndGoesOn)
{
    const std::string begin = JsonTo("/syncra/v1/sign-in");
    const struct {
        const char* name;
        std::string bytes;
        int status;
        int code;
    } cases[] = {
        {"no HTTP", "hello\r\n\r\n", 400, 1},
        {"no path", "GET syncra/version HTTP/1.1\r\n\r\n", 400, 1},
        {"empty component", RequestText("GET", "/syncra//version"), 400, 1},
        {"cut escape", RequestText("GET", "/syncra/versio%6"), 400, 1},
        {"bytes that are no UTF-8", RequestText("GET", "/syncra/%ff%fe"), 400, 1},
        {"damaged query", RequestText("GET", "/syncra/version?a=%"), 400, 1},
        {"escaped slash is no separator", RequestText("GET", "/syncra%2Fversion"), 404, 3},
        {"dots are no way up", RequestText("GET", "/syncra/v1/../version"), 404, 3},
        {"wrong method", RequestText("DELETE", "/syncra/version"), 405, 3},
        {"header over 16 KiB",
         "GET /syncra/version HTTP/1.1\r\nX: " + std::string(20'000, 'x') + "\r\n\r\n", 431, 4},
        {"body announced over 16 MiB", begin + "Content-Length: 16777217\r\n\r\n", 413, 4},
        {"length beyond 64 bits", begin + "Content-Length: 99999999999999999999\r\n\r\n", 400, 1},
        {"length and chunks",
         begin + "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 400, 1},
        {"chunks of something",
         begin + "Transfer-Encoding: gzip, chunked\r\n\r\n2c\r\n" +
             R"({"userName":"a","password":"b","protocol":1})" + "\r\n0\r\n\r\n",
         400, 1},
        {"chunk over 16 MiB", begin + "Transfer-Encoding: chunked\r\n\r\nfffffffff\r\n", 413, 4},
        {"no body", SignInWith(""), 400, 1},
        {"no JSON", SignInWith("user=a"), 400, 1},
        {"deep arrays", SignInWith(std::string(10'000, '[')), 400, 1},
        {"missing field", SignInWith("{\"userName\":\"a\",\"protocol\":1}"), 400, 1},
        {"name over 1024 units",
         SignInWith("{\"userName\":\"" + std::string(1025, 'x') +
                    "\",\"password\":\"b\",\"protocol\":1}"),
         413, 4},
        {"no token", RequestText("GET", "/syncra/v1/projects"), 401, 15},
        {"unknown token", RequestText("GET", "/syncra/v1/projects", "abc"), 401, 15},
        {"token of another scheme",
         "GET /syncra/v1/projects HTTP/1.1\r\nAuthorization: Basic YTpi\r\n\r\n", 401, 15},
    };
    for (const auto& [name, bytes, status, code] : cases) {
        RawHttp connection(server.ModelPort());
        (void)connection.Send(bytes);
        const auto answer = ReadAnswer(connection);
        EXPECT_EQ(answer.status, status) << name;
        EXPECT_EQ(answer.Code(), code) << name;
        EXPECT_FALSE(answer.json.value("message", "").empty()) << name;
    }
    EXPECT_EQ(Client(server.ModelPort()).Ask("GET", "/syncra/version").status, 200);
    EXPECT_EQ(server.Terminate(), 0);
}

TEST_F(HttpRequestsTest, SurvivesClientsThatLeaveInTheMiddle)
{
    const std::string whole =
        SignInWith("{\"userName\":\"anna.novak\",\"password\":\"x\",\"protocol\":1}");
    for (std::size_t length = 0; length <= whole.size(); length += 7) {
        RawHttp leaving(server.ModelPort());
        (void)leaving.Send(std::string_view(whole).substr(0, length));
    }
    for (const std::string& half : {std::string(), std::string("GET /syncra/ver"),
                                    JsonTo("/syncra/v1/sign-in") + "Content-Length: 9\r\n\r\nab"}) {
        RawHttp closing(server.ModelPort());
        (void)closing.Send(half);
        closing.HalfClose();
        EXPECT_TRUE(closing.IsClosedByServer()) << half;
    }
    EXPECT_EQ(Client(server.ModelPort()).Ask("GET", "/syncra/version").status, 200);
}

TEST_F(HttpRequestsTest, AnswersPipelinedRequestsInOrderHoweverTheBytesArrive)
{
    const std::string bytes = VersionRequest + RequestText("GET", "/nowhere") + SignInWith("{}") +
                              RequestText("GET", "/syncra/v1/projects", "abc") + VersionRequest;
    for (const std::size_t step : {bytes.size(), std::size_t{1}, std::size_t{11}}) {
        RawHttp connection(server.ModelPort());
        for (std::size_t at = 0; at < bytes.size(); at += step)
            ASSERT_TRUE(connection.Send(std::string_view(bytes).substr(at, step)));
        for (const int status : {200, 404, 400, 401, 200})
            EXPECT_EQ(connection.Read().status, status) << step;
    }
}

TEST_F(HttpRequestsTest, TakesChunkedBodiesAndSendsContinueForThem)
{
    RawHttp connection(server.ModelPort());
    ASSERT_TRUE(connection.Send(JsonTo("/syncra/v1/sign-in") +
                                "Transfer-Encoding: chunked\r\nExpect: 100-continue\r\n\r\n"));
    EXPECT_EQ(connection.Read().status, 100);
    const std::string body = R"({"userName":"anna.novak","password":"nexar-sample","protocol":1})";
    for (const char byte : body)
        ASSERT_TRUE(connection.Send(std::string("1\r\n") + byte + "\r\n"));
    ASSERT_TRUE(connection.Send("0\r\n\r\n"));
    EXPECT_EQ(connection.Read().status, 200);
}

TEST_F(HttpRequestsTest, ARefusedBodyIsAnsweredThoughTheClientIsStillSending)
{
    RawHttp connection(server.ModelPort());
    (void)connection.Send(JsonTo("/syncra/v1/sign-in") + "Content-Length: 20000000\r\n\r\n");
    // Libraries give up when sending fails, and never look for the answer.
    EXPECT_TRUE(connection.Send(std::string(20'000'000, ' ')));
    connection.HalfClose();
    EXPECT_EQ(connection.Read().status, 413);
    EXPECT_TRUE(connection.IsClosedByServer());
}

TEST_F(HttpRequestsTest, AnAnswerToHeadCarriesNoBody)
{
    RawHttp connection(server.ModelPort());
    ASSERT_TRUE(connection.Send(RequestText("HEAD", "/syncra/version")));
    const auto answer = connection.Read();
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(answer.body, "");
    EXPECT_TRUE(connection.IsClosedByServer());
}
