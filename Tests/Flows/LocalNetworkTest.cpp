#include "Flows/FlowTest.hpp"
#include "ManagementTool/ConnectionProfiles.hpp"
#include "ManagementTool/SyncraInfo.hpp"
#include "RegisteredProjects.hpp"
#include "SYClientProjectDiscovery.hpp"

#include <fstream>

namespace GUI = Syncra::Server::ManagementTool::GUI;

namespace {

class LocalNetworkTest : public FlowTest {};

TEST_F(LocalNetworkTest, KnowsEachServerOfThisComputerOnce)
{
    (void)SYC::registeredProjects().CreateCachedProjectInfo(Url("anna.novak", u"Quay", 7001),
                                                            DataFolder());
    GUI::ConnectionProfiles().Update([](GUI::ConnectionProfiles& profiles) {
        profiles.Set({u"a", u"127.0.0.1", 7001, u"lena.fischer", {}});
        profiles.Set({u"b", u"Alpha", 7002, u"omar.haddad", {}});
    });
    GUI::SyncraInfo().Update([](GUI::SyncraInfo& info) {
        info.AddUser(u"anna.novak", u"ALPHA", OV::Secret(u"p"));
        info.AddUser(u"anna.novak", u"beta", OV::Secret(u"p"));
        info.SetLastServerName(u"beta");
    });
    SYC::SYClientProjectDiscovery discovery(DataFolder(), executors);
    discovery.Refresh();
    ASSERT_EQ(Await(discovery), SYC::FlowState::Succeeded);
    std::vector<std::string> lines;
    for (const auto& each : discovery.GetServers()) {
        std::string line = OV::ToUtf8(each.host) + ":" + std::to_string(each.port);
        for (const auto& user : each.users)
            line += " " + OV::ToUtf8(user);
        // Other tests of the process may have worked with servers as well.
        if (each.isKnown && !each.users.empty())
            lines.push_back(line + " " + std::to_string(each.cachedProjects));
    }
    EXPECT_EQ(lines, (std::vector<std::string>{"beta:0 anna.novak 0",
                                               "127.0.0.1:7001 anna.novak lena.fischer 1",
                                               "Alpha:7002 anna.novak omar.haddad 0"}));
}

/// Two computers of the test's own, joined by a wire of its own: on one a server announces itself,
/// on the other a client listens. $1 is a folder, $2 the server, $3 the client.
constexpr const char* Network = R"(set -e
mount -t tmpfs none /run
ip link set lo up
ip link add wire0 type veth peer name wire1
ip addr add 10.77.0.1/24 dev wire0
ip link set wire0 up multicast on
ip link set wire1 up
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$1/bus XDG_CONFIG_HOME=$1/config XDG_DATA_HOME=$1/data HOME=$1
cat > $1/bus.conf <<END
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path=$1/bus</listen><auth>EXTERNAL</auth>
<policy context="default"><allow own="*"/><allow send_destination="*"/><allow receive_sender="*"/>
<allow user="*"/></policy></busconfig>
END
dbus-daemon --config-file=$1/bus.conf --fork
printf '[server]\nallow-interfaces=wire0\nuse-ipv6=no\n[publish]\n' > $1/avahi.conf
avahi-daemon -f $1/avahi.conf --no-drop-root --no-chroot --no-rlimits 2> $1/avahi.log &
$2 --data $1/store.db --port 7100 --hash minimum --sample --sample-lines 0 $4 > $1/server.log 2>&1 &
for i in $(seq 20); do
    $3 --json server find --wait 1 > $1/found
    if grep -q 7100 $1/found; then break; fi
    if [ -z "$4" ] && [ $i -gt 2 ]; then break; fi
done
cat $1/found
)";

std::string RunInNetwork(const std::filesystem::path& place, const std::string& option)
{
    std::filesystem::create_directories(place);
    std::ofstream(place / "network") << Network;
    // Ended with the first process of the namespace, whatever is left in it.
    const std::string command =
        "unshare --net --mount --pid --fork --kill-child sh '" + (place / "network").string() +
        "' '" + place.string() + "' '" + SYCLIENT_TEST_SERVER + "' '" + SYCLIENT_TEST_CLI + "' " +
        option + " > '" + (place / "out").string() + "' 2> '" + (place / "err").string() + "'";
    EXPECT_EQ(std::system(command.c_str()), 0) << ReadBytes(place / "err");
    return ReadBytes(place / "out");
}

TEST_F(LocalNetworkTest, HearsServersThatAnnounceThemselvesAndNoOthers)
{
    if (std::system("command -v avahi-daemon dbus-daemon unshare ip >/dev/null 2>&1 && "
                    "unshare --net --mount --pid --fork true 2>/dev/null") != 0)
        GTEST_SKIP() << "takes avahi-daemon, dbus-daemon, and the right to make namespaces";
    // Paths of sockets are short.
    const std::filesystem::path place = "/tmp/syclient-network-" + std::to_string(getpid());
    const auto found = nlohmann::json::parse(RunInNetwork(place / "a", "--announce"))["servers"];
    const auto silent = nlohmann::json::parse(RunInNetwork(place / "b", ""))["servers"];
    EXPECT_EQ(found.size(), 1u) << found << ReadBytes(place / "a" / "avahi.log");
    if (!found.empty()) {
        EXPECT_EQ(found[0]["server"], "10.77.0.1");
        EXPECT_EQ(found[0]["port"], 7100);
        EXPECT_TRUE(found[0]["found"]);
        EXPECT_FALSE(found[0]["known"]);
    }
    EXPECT_TRUE(silent.empty()) << silent;
    std::filesystem::remove_all(place);
}

}  // namespace
