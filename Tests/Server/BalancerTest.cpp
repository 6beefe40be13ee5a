#include "ServerTest.hpp"

#include <atomic>
#include <fstream>
#include <map>
#include <regex>
#include <thread>

namespace {

using nlohmann::json;

/// Below those that the system gives whoever asks for any: nobody takes it before its use.
std::uint16_t FreePort()
{
    static std::uint16_t last = static_cast<std::uint16_t>(20'000 + getpid() % 10'000);
    for (bool isFree = false; !isFree;) {
        const int made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in address = HttpSocket::Loopback(++last);
        isFree = bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        close(made);
    }
    return last;
}

/// Two servers on one store behind HAProxy, as Docs/haproxy.cfg sets it up, but for its addresses.
class BalancerTest : public testing::Test {
protected:
    static constexpr const char* Program = "/usr/sbin/haproxy";

    void SetUp() override
    {
        if (!PostgresCluster::IsWanted() || !std::filesystem::exists(Program))
            GTEST_SKIP() << "is about HAProxy before several servers on one store";
        for (const char* name : {"a", "b"}) {
            health_.push_back(FreePort());
            servers.push_back(std::make_unique<ServerProcess>(
                folder.Path(), std::vector<std::string>{
                                   "--sample", "--sample-lines", "0", "--behind-tls", "--drain",
                                   "3", "--operation-port", std::to_string(health_.back()),
                                   "--audit-log", folder.Path() / (std::string(name) + ".audit")}));
        }
        std::ofstream(folder.Path() / "haproxy.cfg") << Configuration();
        balancer.emplace([path = (folder.Path() / "haproxy.cfg").string()] {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            return execl(Program, Program, "-db", "-f", path.c_str(), nullptr);
        });
        AwaitBoth();
    }
    /// Waits until the balancer knows both to be well.
    void AwaitBoth() const
    {
        for (bool isWell = false; !isWell;) {
            if (!balancer->IsRunning())
                throw std::logic_error("the balancer has ended");
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            try {
                isWell = RawStatus("/both") == 200;
            } catch (const std::runtime_error&) {
                // It does not listen yet.
            }
        }
    }
    [[nodiscard]] int RawStatus(const std::string& path) const
    {
        RawHttp connection(port);
        (void)connection.Send("GET " + path + " HTTP/1.0\r\n\r\n");
        return connection.Read().status;
    }
    std::string Configuration()
    {
        std::ifstream file(SYCLIENT_TEST_SOURCE_DIR "/Docs/haproxy.cfg");
        std::string text{std::istreambuf_iterator<char>(file), {}};
        const auto replace = [&](const std::string& pattern, const std::string& with) {
            const auto replaced = std::regex_replace(text, std::regex(pattern), with);
            EXPECT_NE(replaced, text) << pattern;
            text = replaced;
        };
        replace("maxconn 40000", "maxconn 1000");
        replace(" check port 19009", " check");
        for (const auto& [address, which] : {std::pair("192.0.2.11", 0), {"192.0.2.12", 1}}) {
            const auto& server = *servers.at(which);
            for (const auto& [documented, actual] :
                 std::map<int, int>{{19001, server.ModelPort()},
                                    {19002, server.ManagementPort()},
                                    {19003, server.MessagingPort()}})
                replace(std::string(address) + ':' + std::to_string(documented),
                        "127.0.0.1:" + std::to_string(actual) + " port " +
                            std::to_string(health_.at(which)));
        }
        replace("default_backend model",
                "monitor-uri /both\n    monitor fail if { nbsrv(model) lt 2 }\n    $&");
        replace("192.0.2.10:19001", "127.0.0.1:" + std::to_string(port));
        for (const char* other : {"192.0.2.10:19002", "192.0.2.10:19003"})
            replace(other, "127.0.0.1:" + std::to_string(FreePort()));
        // To no other address, whatever the file says.
        return std::regex_replace(text, std::regex("(server|bind) (. )?192[^ ]*"), "");
    }
    TemporaryFolder folder;
    std::uint16_t port = FreePort();
    std::vector<std::unique_ptr<ServerProcess>> servers;
    std::optional<ChildProcess> balancer;

private:
    std::vector<std::uint16_t> health_;
};

}  // namespace

TEST_F(BalancerTest, ServersAreRenewedOneByOneAndOneMayDieWithoutALostRequest)
{
    std::atomic<bool> ends = false;
    std::atomic<int> asked = 0, heldAnswers = 0;
    std::mutex lock;
    std::map<std::string, int> refused;
    std::vector<std::string> sent;
    const auto note = [&](const char* what, const Answer& answer) {
        ++asked;
        if (answer.status == 200)
            return true;
        const std::lock_guard guard(lock);
        ++refused[what + std::to_string(answer.status)];
        return false;
    };
    const std::string mails = "/syncra/v1/projects/" + Sample::HarbourBridge + "/mails";
    {
        std::vector<std::jthread> clients;
        for (const char* user : {"anna.novak", "lena.fischer", "marco.rossi", "jonas.berg"})
            clients.emplace_back([&, user = std::string(user)] {
                Client client(port, user, ServerProcess::Password);
                for (int i = 0; !ends; ++i) {
                    (void)note("list ", client.Ask("GET", "/syncra/v1/projects"));
                    const auto key = user + std::to_string(i);
                    const auto answer = client.Ask("POST", mails, Mail(key, {"anna.novak"}).dump());
                    if (note("mail ", answer)) {
                        const std::lock_guard guard(lock);
                        sent.push_back(answer.json.at("id"));
                    }
                }
            });
        clients.emplace_back([&] {
            Client client(port, "omar.haddad", ServerProcess::Password);
            const std::string signals = "/syncra/v1/signals?project=" + Sample::HarbourBridge;
            while (!ends && note("signals ", client.Ask("GET", signals + "&after=0&wait=5000")))
                ++heldAnswers;
        });
        for (const auto& server : servers) {
            EXPECT_EQ(server->Terminate(), 0);
            server->Start();
            AwaitBoth();
        }
        EXPECT_EQ(refused, (std::map<std::string, int>{}));
        const int before = asked;
        servers[0]->Kill();
        while (asked < before + 200)
            std::this_thread::yield();
        ends = true;
    }
    // Those that it had under way, each client one, are to be asked again.
    for (const auto& [what, count] : refused)
        EXPECT_TRUE(what.ends_with(" 502") && count <= 4) << what << ": " << count;
    EXPECT_GT(heldAnswers, 0);
    // What was answered is there, once.
    std::sort(sent.begin(), sent.end());
    std::string rows =
        EditStore(servers[0]->StorePath(),
                  "SELECT m.id FROM mail_entries e JOIN mails m ON m.number = e.mail JOIN users u "
                  "ON u.id = e.user_id WHERE u.login = 'anna.novak'");
    for (const auto& id : sent) {
        const auto at = rows.find(id + '\n');
        EXPECT_NE(at, std::string::npos) << "lost";
        EXPECT_EQ(rows.find(id + '\n', at + 1), std::string::npos) << "twice";
    }
}
