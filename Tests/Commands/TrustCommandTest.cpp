#include "SYCommunication/ServerTrust.hpp"
#include "Support/DoubtfulServers.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/TerminalRun.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace {

using Strings = std::vector<std::string>;

/// Servers with TLS, as a person at a terminal meets them.
class TrustCommandTest : public testing::Test {
protected:
    TrustCommandTest()
    {
        MakeDoubtful(certificates);
        std::ofstream(folder.Path() / "password") << ServerProcess::Password << "\n";
    }

    static TerminalRun Run(Strings arguments, const Strings& answers = {})
    {
        arguments.insert(arguments.begin(), SYCLIENT_TEST_CLI);
        return {arguments, "Trust it? [y/N] ", answers};
    }
    /// Signs in at the model service, and at the management service.
    TerminalRun Connect(std::uint16_t port, Strings more = {}) const
    {
        more.insert(more.begin(),
                    {"server", "connect", "-s", "https://127.0.0.1", "-p", std::to_string(port),
                     "-u", "anna.novak", "--password-file", folder.Path() / "password"});
        return Run(more);
    }
    static TerminalRun Trust(std::uint16_t port, Strings more, const Strings& answers = {})
    {
        more.insert(more.begin(), {"server", "trust", PlaceOf(port)});
        return Run(more, answers);
    }
    static std::string PlaceOf(std::uint16_t port) { return "127.0.0.1:" + std::to_string(port); }
    [[nodiscard]] std::string Audit() const { return folder.Path() / "audit"; }

    TemporaryFolder folder;
    TestCertificates certificates{folder.Path()};
};

TEST_F(TrustCommandTest, NothingIsSentToAServerThatIsNotTheOneThatWasMeant)
{
    for (const auto& each : DoubtfulCases) {
        SCOPED_TRACE(each.name);
        const DoubtfulServer server(each, folder.Path(), certificates, {"--audit-log", Audit()});
        const auto port = server.Port();
        const TerminalRun run = Connect(port, {"--ca-file", certificates.Authority()});
        EXPECT_EQ(run.code, 11);
        EXPECT_NE(run.output.find(each.problem), std::string::npos) << run.output;
        for (const char* shown : {each.shows, each.shows ? each.trusted : nullptr}) {
            EXPECT_TRUE(!shown ||
                        run.output.find(certificates.Fingerprint(shown)) != std::string::npos)
                << run.output;
        }
        EXPECT_EQ(ReadBytes(Audit()), "") << "signed in";
        EXPECT_EQ(server.Heard(), "");
        if (!each.isImpostor)
            continue;
        // Who trusts an impostor tells him the password: he would have heard it.
        (void)Run({"server", "distrust", PlaceOf(port)});
        EXPECT_EQ(Trust(port, {"--yes"}).code, 0);
        (void)Connect(port);
        EXPECT_NE(server.Heard().find(ServerProcess::Password), std::string::npos);
    }
}

TEST_F(TrustCommandTest, AServerIsTrustedByItsFingerprintUntilItsCertificateChanges)
{
    ServerProcess server(folder.Path(), OptionsShowing(certificates, "stranger"));
    const auto port = server.ModelPort();
    const std::string fingerprint = certificates.Fingerprint("stranger");
    const struct {
        const char* name;
        Strings options, answers;
        int code;
    } refused[] = {
        {"answered with Return", {}, {""}, 12},
        {"end of input", {}, {}, 12},
        {"another fingerprint", {"--fingerprint", certificates.Fingerprint("own")}, {}, 12},
        {"part of it", {"--fingerprint", fingerprint.substr(0, 40)}, {}, 12},
        {"nobody to ask", {"--json"}, {}, 2},
    };
    for (const auto& each : refused) {
        EXPECT_EQ(Trust(port, each.options, each.answers).code, each.code) << each.name;
        EXPECT_EQ(Connect(port).code, 11) << each.name;
    }
    const TerminalRun asked = Trust(port, {}, {"y"});
    EXPECT_EQ(asked.code, 0);
    for (const std::string& shown :
         {fingerprint, std::string("CN = stranger"), std::string("127.0.0.1")})
        EXPECT_NE(asked.output.find(shown), std::string::npos) << asked.output;
    EXPECT_EQ(Connect(port).code, 0) << "the other services of the server count as trusted";
    EXPECT_EQ(Trust(server.ManagementPort(), {"--json"}).code, 2) << "another port alone does not";
    const auto listed =
        nlohmann::json::parse(Run({"server", "trusted", "--json"}).output).at("servers");
    EXPECT_EQ(listed.size(), 1U);
    EXPECT_EQ(listed.at(0).at("fingerprint"), fingerprint);

    server.Kill();
    for (const char* end : {".pem", ".key"})
        std::filesystem::copy_file(folder.Path() / (std::string("own") + end),
                                   folder.Path() / (std::string("stranger") + end),
                                   std::filesystem::copy_options::overwrite_existing);
    server.Start();
    EXPECT_EQ(Connect(port, {"--ca-file", certificates.Authority()}).code, 11)
        << "whoever vouches for the new one";
    EXPECT_EQ(Trust(port, {"--yes"}).code, 12);
    EXPECT_EQ(Run({"server", "distrust", PlaceOf(port)}).code, 0);
    EXPECT_EQ(Run({"server", "distrust", PlaceOf(port)}).code, 3);
    EXPECT_EQ(Connect(port, {"--ca-file", certificates.Authority()}).code, 0);
}

}  // namespace
