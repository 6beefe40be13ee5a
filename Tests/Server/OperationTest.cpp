#include "ServerTest.hpp"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

std::string TextOf(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// What an administrator does with a server and its store.
class OperationTest : public ServerTest {
protected:
    OperationTest()
        : ServerTest(
              {"--sample", "--sample-lines", "0", "--operation-port", "0", "--log-format", "json"})
    {}
    RawHttp::Response Operation(const std::string& path) const
    {
        const auto& line = server.ReadyLine();
        RawHttp connection(static_cast<std::uint16_t>(std::stoi(line.substr(line.rfind(':') + 1))));
        (void)connection.Send(RequestText("GET", path));
        return connection.Read();
    }
    int Run(std::vector<std::string> arguments, const fs::path& store)
    {
        arguments.insert(arguments.end(), {"--data", store});
        return ServerProcess::Run(arguments, "/dev/null", folder.Path() / "run.log");
    }
};

}  // namespace

TEST_F(OperationTest, ABackupIsTakenWhileItServesAndRestoredWhenItDoesNot)
{
    FOR_A_STORE_IN_A_FILE();
    auto anna = SignedIn("anna.novak");
    const auto sessions = Bridge("sessions");
    const auto session = anna.Ask("POST", sessions, "{}").json.value("id", "");
    const fs::path backup = folder.Path() / "backup.db";
    ASSERT_EQ(Run({"backup", backup}, server.StorePath()), 0) << TextOf(folder.Path() / "run.log");
    EXPECT_EQ(fs::status(backup).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(Run({"check"}, backup), 0);
    EXPECT_EQ(Run({"backup", backup}, server.StorePath()), 1) << "what is there stays";
    EXPECT_EQ(Run({"restore", backup}, server.StorePath()), 1) << "the server runs";
    ASSERT_EQ(anna.Ask("DELETE", "/syncra/v1/sessions/" + session).status, 200);
    EXPECT_EQ(Run({"compact"}, server.StorePath()), 0);
    ASSERT_EQ(server.Terminate(), 0);

    const fs::path damaged = folder.Path() / "damaged.db";
    auto bytes = TextOf(backup);
    bytes.replace(bytes.size() / 2, 4096, 4096, 'x');
    std::ofstream(damaged, std::ios::binary) << bytes;
    EXPECT_EQ(Run({"check"}, damaged), 1);
    EXPECT_EQ(Run({"restore", damaged}, server.StorePath()), 1);
    ASSERT_EQ(Run({"restore", backup}, server.StorePath()), 0) << TextOf(folder.Path() / "run.log");
    ASSERT_EQ(Run({"restore", backup}, server.StorePath()), 0);
    for (const char* former : {".before-restore", ".before-restore-2"})
        EXPECT_EQ(Run({"check"}, server.StorePath().string() + former), 0) << former;
    server.Start();
    EXPECT_EQ(SignedIn("anna.novak").Ask("GET", sessions).json.at("sessions").at(0).at("id"),
              session);
}

TEST_F(OperationTest, HealthAndMetricsTellWhatIsTheCase)
{
    auto anna = SignedIn("anna.novak");
    EXPECT_EQ(anna.SignIn("anna.novak", "wrong").Code(), 10);
    ASSERT_EQ(anna.Ask("GET", "/syncra/v1/projects").status, 200);
    EXPECT_EQ(Operation("/health").status, 200);
    {
        const StoreLock lock(server.StorePath());
        EXPECT_EQ(Operation("/health").status, 503);
    }
    const auto metrics = Operation("/metrics");
    EXPECT_NE(metrics.head.find("text/plain"), std::string::npos);
    for (const char* line :
         {"nexar_requests_total{route=\"GET /syncra/v1/projects\",status=\"200\"} 1\n",
          "nexar_request_seconds_count{route=\"POST /syncra/v1/sign-in\"} 2\n",
          "nexar_sign_ins_refused_total 1\n", "nexar_waiting_writes 0\n"})
        EXPECT_NE(metrics.body.find(line), std::string::npos) << line << metrics.body;
    EXPECT_EQ(Operation("/syncra/v1/projects").status, 404);
    ASSERT_EQ(server.Terminate(), 0);
    std::istringstream log(server.Log());
    int records = 0;
    for (std::string line; std::getline(log, line);)
        records += json::parse(line, nullptr, false).contains("level") ? 1 : 0;
    EXPECT_GE(records, 3) << server.Log();
}

TEST_F(OperationTest, TheAuditLogTellsWhoDidWhatAndNoSecret)
{
    ASSERT_EQ(server.Terminate(), 0);
    const fs::path file = folder.Path() / "audit.log";
    ServerProcess audited(folder.Path(), {"--audit-log", file, "--audit-bytes", "3000"});
    Client jonas(audited.ModelPort(), "jonas.berg", ServerProcess::Password);
    EXPECT_EQ(jonas.SignIn("jonas.berg", "no secret").Code(), 10);
    Client manager(audited.ManagementPort(), jonas.Token());
    EXPECT_EQ(manager.Ask("DELETE", "/root/syncrav2/users/anna.novak").Code(), 13);
    EXPECT_EQ(jonas.Ask("GET", "/syncra/v1/projects").status, 200);
    // Refused by their heads, with a body to come and without.
    Client stranger(audited.ManagementPort());
    EXPECT_EQ(stranger.Ask("DELETE", "/root/syncrav2/users/anna.novak").Code(), 15);
    EXPECT_EQ(stranger.Ask("PUT", "/root/syncrav2/configuration", "{}").Code(), 15);
    for (int i = 0; i < 40; ++i)
        (void)manager.Ask("PUT", "/root/syncrav2/configuration", "{}");
    ASSERT_EQ(audited.Terminate(), 0);
    ASSERT_TRUE(fs::exists(file.string() + ".1"));
    std::string all;
    for (const char* ending : {".5", ".4", ".3", ".2", ".1", ""})
        all += TextOf(file.string() + ending);
    std::istringstream lines(all);
    std::vector<std::string> told;
    for (std::string line; std::getline(lines, line);) {
        const auto entry = json::parse(line);
        told.push_back(entry.at("user").get<std::string>() + ' ' +
                       entry.at("path").get<std::string>() + ' ' + entry.at("status").dump());
        EXPECT_EQ(entry.at("address"), "127.0.0.1");
    }
    ASSERT_EQ(told.size(), 45u) << all;
    told.resize(5);
    EXPECT_EQ(told, (std::vector<std::string>{"jonas.berg /syncra/v1/sign-in 200",
                                              "jonas.berg /syncra/v1/sign-in 401",
                                              "jonas.berg /root/syncrav2/users/anna.novak 403",
                                              " /root/syncrav2/users/anna.novak 401",
                                              " /root/syncrav2/configuration 401"}));
    for (const std::string& secret :
         {std::string(ServerProcess::Password), std::string("no secret"), jonas.Token()})
        EXPECT_EQ(all.find(secret), std::string::npos) << secret;
}

TEST_F(OperationTest, OptionsComeFromTheCommandLineTheEnvironmentAndAFileInThisOrder)
{
    const fs::path file = folder.Path() / "options";
    std::ofstream(file) << "port = 1111\nmanagement-port = 2222\nmessaging-port = 3333\n";
    setenv("NEXAR_MANAGEMENT_PORT", "4444", 1);
    setenv("NEXAR_MESSAGING_PORT", "5555", 1);
    const int code =
        ServerProcess::Run({"--config", file, "--messaging-port", "6666", "--print-config"},
                           "/dev/null", folder.Path() / "printed");
    unsetenv("NEXAR_MANAGEMENT_PORT");
    unsetenv("NEXAR_MESSAGING_PORT");
    EXPECT_EQ(code, 0);
    const auto printed = TextOf(folder.Path() / "printed");
    for (const char* line :
         {"\nport=1111\n", "\nmanagement-port=4444\n", "\nmessaging-port=6666\n"})
        EXPECT_NE(printed.find(line), std::string::npos) << line << printed;
}

TEST_F(OperationTest, AProxyNamesItsClientsAndNobodyElseDoes)
{
    ASSERT_EQ(server.Terminate(), 0);
    using namespace std::string_literals;
    const std::string signature = "\r\n\r\n\0\r\nQUIT\n"s;
    const std::string ours = "127.0.0.2,127.0.0.1", another = "127.0.0.2", http = "--behind-tls",
                      header = "--proxy-protocol";
    const struct {
        std::string option, proxies, sent, told;  ///< nothing: the connection just ends
    } cases[] = {
        {http, ours, "", "192.0.2.7"},
        {http, another, "", "127.0.0.1"},
        {header, ours, "PROXY TCP4 192.0.2.8 192.0.2.1 4000 9001\r\n", "192.0.2.8"},
        {header, ours, "PROXY TCP6 2001:db8::8 2001:db8::1 4000 9001\r\n", "2001:db8::8"},
        {header, ours, signature + "\x21\x11\0\x0d\xc0\0\2\x09\x7f\0\0\1\x10\0\x20\0+"s,
         "192.0.2.9"},
        {header, ours, signature + "\x20\0\0\0"s, "127.0.0.1"},
        {header, ours, signature + "\x21\x11\0\2\xc0\0"s, ""},
        {header, ours, "PROXY TCP4 2001:db8::8 192.0.2.1 4000 9001\r\n", ""},
        {header, ours, "PROXY " + std::string(200, 'x') + "\r\n", ""},
        {header, ours, "", ""},
        {header, another, "", "127.0.0.1"},
    };
    for (const auto& [option, proxies, sent, told] : cases) {
        const fs::path file = folder.Path() / "audit";
        fs::remove(file);
        ServerProcess behind(folder.Path(), {option, "--proxy", proxies, "--audit-log", file});
        RawHttp connection(behind.ModelPort());
        (void)connection.Send(sent + "POST /syncra/v1/sign-out HTTP/1.1\r\nHost: h\r\n"
                                     "X-Forwarded-For: 198.51.100.1, 192.0.2.7\r\n"
                                     "Content-Length: 0\r\n\r\n");
        if (told.empty()) {
            EXPECT_TRUE(connection.IsClosedByServer()) << sent;
        } else {
            EXPECT_EQ(connection.Read().status, 401) << sent;
        }
        ASSERT_EQ(behind.Terminate(), 0);
        if (!told.empty()) {
            EXPECT_EQ(json::parse(TextOf(file)).at("address"), told) << sent;
        }
    }
}

TEST_F(OperationTest, AServiceHearsWhenItServesAndWhatIsTooOldGoes)
{
    ASSERT_EQ(server.Terminate(), 0);
    for (const char* time : {"0", "unixepoch()"})
        Sql("INSERT INTO events (project_id, time, \"user\", action) VALUES ('" +
            Sample::HarbourBridge + "', " + time + ", 'u', 'Send'); " +
            "INSERT INTO mail_keys (project_id, sender_id, key, mail_id, time) SELECT '" +
            Sample::HarbourBridge + "', id, '" + time + "', 'x', " + time +
            " FROM users WHERE login = 'anna.novak'");
    sockaddr_un address{AF_UNIX, {}};
    std::strcpy(address.sun_path, (folder.Path() / "notify").c_str());
    const int manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(manager, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const timeval longest{30, 0};
    setsockopt(manager, SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    const auto hear = [manager] {
        char text[64];
        const auto size = recv(manager, text, sizeof text, 0);
        return std::string(text, size > 0 ? static_cast<std::size_t>(size) : 0);
    };
    setenv("NOTIFY_SOCKET", address.sun_path, 1);
    ServerProcess kept(folder.Path(), {"--keep-log-days", "1", "--keep-mail-keys-days", "1"});
    unsetenv("NOTIFY_SOCKET");
    EXPECT_EQ(hear(), "READY=1");
    const auto count = [&](const std::string& table, const std::string& old) {
        return EditStore(kept.StorePath(), "SELECT count(*) FROM " + table + " WHERE time " + old);
    };
    while (count("events", "= 0") != "0\n" || count("mail_keys", "= 0") != "0\n")
        std::this_thread::yield();
    EXPECT_NE(count("events", "> 0"), "0\n");
    EXPECT_EQ(count("mail_keys", "> 0"), "1\n");
    EXPECT_EQ(kept.Terminate(), 0);
    EXPECT_EQ(hear(), "STOPPING=1");
    close(manager);
}
