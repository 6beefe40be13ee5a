#include "SYClientProjectDiscovery.hpp"

#include "Flow/Detail/CacheOfProject.hpp"
#include "Flow/Detail/FlowText.hpp"
#include "Flow/Detail/PostedEnd.hpp"
#include "ManagementTool/ConnectionProfiles.hpp"
#include "ManagementTool/SyncraInfo.hpp"
#include "OVRoot/Ascii.hpp"
#include "SYClientBase/ConnectionValidator.hpp"
#include "SYCommunication/LocalServices.hpp"

#include <algorithm>
#include <optional>
#include <tuple>

namespace SYC {

namespace {

using Syncra::Server::ManagementTool::GUI::ConnectionProfiles;
using Syncra::Server::ManagementTool::GUI::SyncraInfo;
using Servers = OV::Array<DiscoveredServer>;

/// Collects what is told of servers from several sides.
class ServerTable {
public:
    /// The server of that place, new when nobody told of it yet.
    DiscoveredServer& At(const OV::UniString& host, std::uint16_t port)
    {
        const auto found =
            std::find_if(servers_.begin(), servers_.end(), [&](const DiscoveredServer& server) {
                return server.port == port && OV::EqualsIgnoreCase(server.host, host);
            });
        if (found != servers_.end())
            return *found;
        DiscoveredServer& added = servers_.emplace_back();
        added.host = host;
        added.port = port;
        added.isKnown = true;
        return added;
    }
    /// Every server of that host; one without a port when nobody told of any.
    template <class Change>
    void ForHost(const OV::UniString& host, Change change)
    {
        bool isThere = false;
        for (auto& server : servers_)
            if (OV::EqualsIgnoreCase(server.host, host)) {
                change(server);
                isThere = true;
            }
        if (!isThere)
            change(At(host, 0));
    }
    [[nodiscard]] Servers Take() { return std::move(servers_); }

private:
    Servers servers_;
};

void AddUser(DiscoveredServer& server, const OV::UniString& user)
{
    const auto place = std::lower_bound(server.users.begin(), server.users.end(), user);
    if (!user.empty() && (place == server.users.end() || *place != user))
        server.users.insert(place, user);
}

void TakeCaches(const IO::Location& folder, ServerTable& table)
{
    OV::Array<CacheInfoRecord> records;
    OV::Array<RegisteredProject> caches;
    registeredProjects().RefreshCaches(folder);
    registeredProjects().SearchCaches(folder, records);
    registeredProjects().FillProjects(caches, {}, {}, {}, records);
    for (const auto& cache : caches) {
        auto& server = table.At(cache.GetServerName(),
                                static_cast<std::uint16_t>(cache.GetCachedProjectInfo().GetPort()));
        ++server.cachedProjects;
        AddUser(server, cache.GetUserName());
    }
}

void TakeProfiles(ServerTable& table)
{
    const ConnectionProfiles profiles;
    for (const auto& profile : profiles.GetProfiles())
        if (!profile.serverName.empty())
            AddUser(table.At(profile.serverName, profile.port), profile.userName);
}

/// The list names servers without their ports.
void TakeServerList(ServerTable& table)
{
    const SyncraInfo info;
    for (const auto& user : info.GetUserList())
        for (const auto& host : info.GetServerList(user))
            table.ForHost(host, [&](DiscoveredServer& server) { AddUser(server, user); });
    if (!info.GetLastServerName().empty())
        table.ForHost(info.GetLastServerName(), [](auto& server) { server.isLast = true; });
}

Servers FindKnown(const IO::Location& folder)
{
    ServerTable table;
    TakeCaches(folder, table);
    TakeProfiles(table);
    for (const auto& working : SYCB::ConnectionValidator::GetInstance().GetWorkingConnections())
        if (auto& server = table.At(working.host, working.port); server.title.empty())
            server.title = working.title;
    TakeServerList(table);
    auto servers = table.Take();
    std::stable_sort(servers.begin(), servers.end(), [](const auto& left, const auto& right) {
        return std::tuple(!left.isLast, OV::Folded(left.host), left.port) <
               std::tuple(!right.isLast, OV::Folded(right.host), right.port);
    });
    return servers;
}

}  // namespace

/// What the network tells, on its way to the home executor.
class SYClientProjectDiscovery::Listening : public std::enable_shared_from_this<Listening> {
public:
    explicit Listening(SYClientProjectDiscovery& discovery) : discovery_(discovery) {}

    void Begin()
    {
        browser_.emplace([weak = weak_from_this(), &home = discovery_.GetExecutors().home](
                             const OV::Array<Communication::LocalServer>& servers) {
            PostHome(home, u"a look for servers", [weak, servers] {
                if (const auto self = weak.lock())
                    self->Take(servers);
            });
        });
    }

private:
    void Take(const OV::Array<Communication::LocalServer>& servers)
    {
        discovery_.found_.clear();
        for (const auto& each : servers) {
            DiscoveredServer& server = discovery_.found_.emplace_back();
            server.host = each.host;
            server.port = each.port;
            server.title = each.title;
            server.isFound = true;
        }
        discovery_.Combine();
        discovery_.NotifyChanged();
    }

    SYClientProjectDiscovery& discovery_;
    std::optional<Communication::LocalServerBrowser> browser_;
};

SYClientProjectDiscovery::SYClientProjectDiscovery(IO::Location dataFolder,
                                                   const FlowExecutors& executors)
    : Flow(executors), dataFolder_(std::move(dataFolder))
{}

SYClientProjectDiscovery::~SYClientProjectDiscovery() = default;

void SYClientProjectDiscovery::Refresh()
{
    if (!listening_) {
        listening_ = std::make_shared<Listening>(*this);
        listening_->Begin();
    }
    Start([this, dataFolder = dataFolder_](const Report& report) -> Result {
        report(GetText(FlowText::LookForServers));
        auto known = FindKnown(CacheFolderOr(dataFolder));
        return {[this, known = std::move(known)] {
                    known_ = known;
                    Combine();
                },
                {}};
    });
}

void SYClientProjectDiscovery::Combine()
{
    servers_ = known_;
    for (const auto& found : found_) {
        const auto same =
            std::find_if(servers_.begin(), servers_.end(), [&](const DiscoveredServer& server) {
                return server.port == found.port && OV::EqualsIgnoreCase(server.host, found.host);
            });
        if (same == servers_.end())
            servers_.push_back(found);
        else
            same->isFound = true;
    }
}

}  // namespace SYC
