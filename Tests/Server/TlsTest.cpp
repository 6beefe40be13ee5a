#include "ServerTest.hpp"

#include "OVRoot/Exception.hpp"
#include "SYCommunication/HttpClient.hpp"

#include <cstdlib>
#include <thread>

namespace {

namespace fs = std::filesystem;

/// A server whose certificate the program itself made.
class TlsTest : public testing::Test {
protected:
    TlsTest() { Make("first"); }

    void Make(const std::string& name)
    {
        ASSERT_EQ(Run({"--make-certificate", "127.0.0.1", "--certificate", Path(name), "--key",
                       Path(name + ".key")}),
                  0);
    }
    [[nodiscard]] int Run(const std::vector<std::string>& arguments) const
    {
        return ServerProcess::Run(arguments, "/dev/null", Path("run.log"));
    }
    [[nodiscard]] std::string Path(const std::string& name) const { return folder.Path() / name; }
    /// The status of a request, or the name of the failure.
    static std::string Outcome(Communication::HttpClient& client)
    {
        try {
            Communication::HttpRequest request;
            request.target = "/syncra/version";
            return std::to_string(client.Perform(request).status);
        } catch (const OV::Exception& failure) {
            return std::string(failure.GetName());
        }
    }
    [[nodiscard]] Communication::HttpClient Trusting(const std::string& name,
                                                     std::uint16_t port) const
    {
        Communication::HttpOptions options;
        options.authoritiesFile = Path(name);
        return {{u"127.0.0.1", port, true}, options};
    }

    TemporaryFolder folder;
};

}  // namespace

TEST_F(TlsTest, AllPortsAreProtectedAndTheCertificateIsRenewedWhileItServes)
{
    ServerProcess server(folder.Path(), {"--certificate", Path("first"), "--key", Path("first.key"),
                                         "--sample", "--sample-lines", "0"});
    for (const auto port : {server.ModelPort(), server.ManagementPort(), server.MessagingPort()}) {
        auto client = Trusting("first", port);
        EXPECT_EQ(Outcome(client), "200");
    }
    Communication::HttpClient plain({u"127.0.0.1", server.ModelPort(), false});
    EXPECT_NE(Outcome(plain), "200");
    const std::string ask =
        "openssl s_client -connect 127.0.0.1:" + std::to_string(server.ModelPort()) +
        " -cipher DEFAULT@SECLEVEL=0 ";
    EXPECT_NE(std::system((ask + "-tls1_1 < /dev/null > /dev/null 2>&1").c_str()), 0);
    EXPECT_EQ(std::system((ask + "-tls1_2 -alpn h2,http/1.1 < /dev/null 2>&1 | "
                                 "grep -q 'ALPN protocol: http/1.1'")
                              .c_str()),
              0);

    auto kept = Trusting("first", server.ModelPort());
    EXPECT_EQ(Outcome(kept), "200");
    Make("second");
    for (const char* file : {"", ".key"})
        fs::rename(Path("second") + file, Path("first") + file);
    fs::copy_file(Path("first"), Path("second"));
    server.Ask(SIGHUP);
    while (server.Log().find("certificate again") == std::string::npos)
        std::this_thread::yield();
    auto renewed = Trusting("second", server.ModelPort());
    EXPECT_EQ(Outcome(renewed), "200");
    EXPECT_EQ(Outcome(kept), "200");
    // What cannot be used is told, and the former one stays.
    std::ofstream(Path("first")) << "nonsense";
    server.Ask(SIGHUP);
    while (server.Log().find("Cannot use the certificate") == std::string::npos)
        std::this_thread::yield();
    auto later = Trusting("second", server.ModelPort());
    EXPECT_EQ(Outcome(later), "200");
    EXPECT_EQ(server.Terminate(), 0);
}

TEST_F(TlsTest, BeyondThisMachineNothingIsServedInClearTextByAccident)
{
    const auto listen = [&](std::vector<std::string> options) {
        options.insert(options.end(),
                       {"--listen", "192.0.2.1", "--port", "0", "--data", Path("none.db")});
        return Run(options);
    };
    EXPECT_EQ(listen({}), 1);
    EXPECT_EQ(listen({"--sample", "--behind-tls"}), 1);
    EXPECT_EQ(listen({"--sample", "--certificate", Path("first"), "--key", Path("first.key")}), 1);
    EXPECT_FALSE(fs::exists(Path("none.db"))) << "refused before anything was made";
    EXPECT_NE(Run({"--certificate", Path("first")}), 0) << "without its key";
    EXPECT_NE(Run({"--make-certificate", "x", "--certificate", Path("first"), "--key", Path("k")}),
              0)
        << "what is there stays";
}
