#include "SYCommunication/HttpClient.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/Eventually.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/Thrown.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

using namespace Communication;

namespace {

constexpr const char* ServerScript = R"(
import http.server, os, ssl, sys
class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Length", "2")
        self.end_headers()
        self.wfile.write(b"{}")
    def log_message(self, *arguments):
        pass
os.chdir(sys.argv[1])
server = http.server.HTTPServer(("127.0.0.1", 0), Handler)
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain("cert.pem", "key.pem")
server.handle_error = lambda *arguments: None
server.socket = context.wrap_socket(server.socket, server_side=True, do_handshake_on_connect=False)
with open("port.new", "w") as file:
    file.write(str(server.server_address[1]))
os.rename("port.new", "port")
server.serve_forever()
)";

/// A TLS server whose certificate is its own authority and names "localhost" only.
class HttpsTest : public testing::Test {
protected:
    void SetUp() override
    {
        const std::string folder = folder_.Path().string();
        const std::string make =
            "cd '" + folder +
            "' && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 "
            "-nodes -days 2 -subj /CN=localhost -addext "
            "subjectAltName=DNS:localhost -keyout key.pem -out cert.pem "
            "2>openssl.log";
        ASSERT_EQ(std::system(make.c_str()), 0);
        server_.emplace([&folder] {
            execlp("python3", "python3", "-c", ServerScript, folder.c_str(), nullptr);
            return 127;
        });
        ASSERT_TRUE(Eventually([this] {
            std::ifstream(folder_.Path() / "port") >> port_;
            return port_ != 0;
        }));
    }
    void TearDown() override { unsetenv("SYCLIENT_CA_FILE"); }

    [[nodiscard]] std::string Certificate() const { return (folder_.Path() / "cert.pem").string(); }

    /// "200", or the name of the exception.
    [[nodiscard]] std::string Outcome(OV::UniStringView serverName,
                                      OV::String authoritiesFile) const
    {
        HttpOptions options;
        options.authoritiesFile = std::move(authoritiesFile);
        HttpClient client(ServerAddress::FromServerName(serverName, port_), options);
        int status = 0;
        const Thrown thrown([&] {
            status = client.Perform({HttpMethod::Get, "/", {}, {}, 0}).status;
        });
        return status != 0 ? std::to_string(status) : thrown.name;
    }

private:
    TemporaryFolder folder_;
    std::optional<ChildProcess> server_;
    std::uint16_t port_ = 0;
};

}  // namespace

TEST_F(HttpsTest, OnlyATrustedServerOfThatNameIsTalkedTo)
{
    unsetenv("SYCLIENT_CA_FILE");
    EXPECT_EQ(Outcome(u"https://localhost", Certificate()), "200");
    EXPECT_EQ(Outcome(u"https://localhost", ""), "ConnectionException") << "unknown authority";
    EXPECT_EQ(Outcome(u"https://127.0.0.1", Certificate()), "ConnectionException") << "other name";
    EXPECT_EQ(Outcome(u"https://localhost", "/does/not/exist.pem"), "ConnectionException");

    setenv("SYCLIENT_CA_FILE", Certificate().c_str(), 1);
    EXPECT_EQ(Outcome(u"https://localhost", ""), "200");
    EXPECT_EQ(Outcome(u"https://localhost", "/does/not/exist.pem"), "ConnectionException")
        << "the option comes before the environment";
}
