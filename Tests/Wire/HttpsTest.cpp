#include "SYCommunication/HttpClient.hpp"
#include "SYCommunication/ServerTrust.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/Eventually.hpp"
#include "Support/ScriptedServer.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/TestCertificates.hpp"
#include "Support/Thrown.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <mutex>

using namespace Communication;

namespace {

/// Answers with the name in the client's certificate.
constexpr const char* ServerScript = R"(
import http.server, os, ssl, sys
class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    def do_GET(self):
        certificate = self.connection.getpeercert()
        name = certificate["subject"][0][0][1] if certificate else "nobody"
        self.send_response(200)
        self.send_header("Content-Length", str(len(name)))
        self.end_headers()
        self.wfile.write(name.encode())
    def log_message(self, *arguments):
        pass
os.chdir(sys.argv[1])
server = http.server.HTTPServer(("127.0.0.1", 0), Handler)
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain("own.pem", "own.key")
context.load_verify_locations("ca.pem")
context.verify_mode = ssl.CERT_OPTIONAL
server.handle_error = lambda *arguments: None
server.socket = context.wrap_socket(server.socket, server_side=True, do_handshake_on_connect=False)
with open("port.new", "w") as file:
    file.write(str(server.server_address[1]))
os.rename("port.new", "port")
server.serve_forever()
)";

/// What a client gets: the body, or the name of the exception.
std::string Outcome(const ServerAddress& server, const HttpOptions& options)
{
    HttpClient client(server, options);
    std::string body;
    const Thrown thrown([&] { body = client.Perform({HttpMethod::Get, "/", {}, {}, 0}).body; });
    return body.empty() ? thrown.name : body;
}

/// A TLS server whose certificate names "localhost" only.
class HttpsTest : public testing::Test {
protected:
    HttpsTest()
    {
        certificates.Make("own", "DNS:localhost");
        server_.emplace([this] {
            execlp("python3", "python3", "-c", ServerScript, folder.Path().c_str(), nullptr);
            return 127;
        });
        EXPECT_TRUE(Eventually([this] {
            std::ifstream(folder.Path() / "port") >> port;
            return port != 0;
        }));
        unsetenv("SYCLIENT_CA_FILE");
    }
    ~HttpsTest() override { unsetenv("SYCLIENT_CA_FILE"); }

    [[nodiscard]] std::string Get(OV::UniStringView serverName, OV::String authoritiesFile,
                                  const std::string& shows = {}) const
    {
        HttpOptions options;
        options.authoritiesFile = std::move(authoritiesFile);
        if (!shows.empty()) {
            options.certificateFile = certificates.Certificate(shows);
            options.keyFile = certificates.Key(shows);
        }
        return Outcome(ServerAddress::FromServerName(serverName, port), options);
    }

    TemporaryFolder folder;
    TestCertificates certificates{folder.Path()};
    std::uint16_t port = 0;

private:
    std::optional<ChildProcess> server_;
};

}  // namespace

TEST_F(HttpsTest, OnlyATrustedServerOfThatNameIsTalkedTo)
{
    constexpr const char* refused = "UntrustedServerException";
    const OV::String authority = certificates.Authority();
    EXPECT_EQ(Get(u"https://localhost", authority), "nobody");
    EXPECT_EQ(Get(u"https://localhost", ""), refused) << "unknown authority";
    EXPECT_EQ(Get(u"https://127.0.0.1", authority), refused) << "other name";
    EXPECT_EQ(Get(u"https://localhost", "/does/not/exist.pem"), "ConnectionException");
    certificates.Make("studio-07", "DNS:studio-07");
    EXPECT_EQ(Get(u"https://localhost", authority, "studio-07"), "studio-07");

    setenv("SYCLIENT_CA_FILE", authority.c_str(), 1);
    EXPECT_EQ(Get(u"https://localhost", ""), "nobody");
    EXPECT_EQ(Get(u"https://localhost", "/does/not/exist.pem"), "ConnectionException")
        << "the option comes before the environment";
}

TEST_F(HttpsTest, ADamagedFileOfTrustHarmsNoOther)
{
    auto& trust = ServerTrust::GetInstance();
    const auto fingerprint = OV::FromUtf8(certificates.Fingerprint("own"));
    trust.Trust({u"LocalHost", port, fingerprint}, true);
    trust.Trust({u"127.0.0.1", port, fingerprint}, true);
    EXPECT_EQ(Get(u"https://localhost", ""), "nobody");
    EXPECT_EQ(Get(u"https://127.0.0.1", ""), "nobody");
    const auto files = folder.Path() / "config/Orvant/TrustedServers";
    const auto fileOf = [&](const std::string& host) {
        return files / (host + "%3A" + std::to_string(port) + ".xml");
    };
    EXPECT_EQ(std::filesystem::status(fileOf("localhost")).permissions() &
                  std::filesystem::perms(077),
              std::filesystem::perms::none);
    // What was written for one place trusts nobody at another one.
    std::filesystem::copy_file(fileOf("127.0.0.1"), fileOf("localhost"),
                               std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(Get(u"https://localhost", ""), "UntrustedServerException");
    for (const char* bytes : {"", "<TrustedServer>", "\xFF\xFE"}) {
        std::ofstream(fileOf("localhost")) << bytes;
        EXPECT_EQ(Get(u"https://localhost", ""), "UntrustedServerException");
        EXPECT_EQ(Get(u"https://127.0.0.1", ""), "nobody");
        EXPECT_EQ(trust.List().size(), 1U);
    }
}

TEST(PlainHttpTest, GoesToThisComputerAloneUnlessItIsAllowedAndAroundNoProxyThere)
{
    std::mutex lock;
    std::vector<std::string> heard;
    const auto note = [&](auto& peer, const auto& request) {
        const std::lock_guard guard(lock);
        heard.push_back(request.method + " " + request.target);
        peer.Answer(200, "proxy");
    };
    const ScriptedServer proxy(note);
    const ScriptedServer server([](auto& peer, const auto&) { peer.Answer(200, "server"); });
    HttpOptions options;
    options.proxy = "http://127.0.0.1:" + std::to_string(proxy.Port());
    for (const char* name : {"http_proxy", "all_proxy"})
        setenv(name, options.proxy.c_str(), 1);
    for (const char16_t* host :
         {u"127.0.0.1", u"localhost", u"LOCALHOST", u"127.1", u"0x7f000001"}) {
        EXPECT_EQ(Outcome({host, server.Port(), false}, options), "server") << OV::ToUtf8(host);
        EXPECT_EQ(Outcome({host, server.Port(), false}, {}), "server") << OV::ToUtf8(host);
    }
    for (const char16_t* host : {u"::1", u"::ffff:127.0.0.1", u"127.255.0.2"})
        EXPECT_TRUE(ServerAddress({host, 1, false}).IsLoopback()) << OV::ToUtf8(host);
    EXPECT_TRUE(heard.empty());
    // Nothing leaves this computer: what is allowed goes to the proxy, which is told the names.
    for (const char16_t* host : {u"nexar.example", u"localhost.example", u"127.0.0.1.example",
                                 u"192.0.2.1", u"126.0.0.1", u"::2", u"::ffff:192.0.2.1"}) {
        EXPECT_EQ(Outcome({host, 80, false}, options), "UntrustedServerException")
            << OV::ToUtf8(host);
        EXPECT_TRUE(heard.empty());
    }
    options.allowPlainHttp = true;
    EXPECT_EQ(Outcome({u"nexar.example", 80, false}, options), "proxy");
    EXPECT_NE(Outcome({u"nexar.example", 443, true}, options), "proxy");
    options.proxy.replace(0, 4, "HTTPS");
    EXPECT_EQ(Outcome({u"nexar.example", 443, true}, options), "ConnectionException");
    setenv("all_proxy", options.proxy.c_str(), 1);
    options.proxy.clear();
    EXPECT_EQ(Outcome({u"nexar.example", 443, true}, options), "ConnectionException");
    for (const char* name : {"http_proxy", "all_proxy"})
        unsetenv(name);
    EXPECT_EQ(heard,
              (std::vector<std::string>{"GET http://nexar.example/", "CONNECT nexar.example:443"}));
}
