#include "SYCommunication/PagedReading.hpp"
#include "SYCommunication/ServerTrust.hpp"
#include "SyncraClient/Detail/JsonRequests.hpp"
#include "SyncraClient/Detail/PageReading.hpp"
#include "SyncraProtocol/Detail/ModelRecords.hpp"
#include "SyncraProtocol/ErrorCode.hpp"

#include <algorithm>
#include <iterator>
#include <optional>

namespace Syncra::Client {

namespace {

using Detail::JsonRequests;
using Detail::MakePath;

void ThrowMalformed(OV::UniStringView what)
{
    throw Communication::MalformedResponseException(u"The server's " + OV::UniString(what) +
                                                    u" do not advance.");
}

/// A mail takes several times its bytes of the wire, so there are fewer than of other entries.
constexpr Communication::ReadingLimits MailBoxLimits{512u << 20, 1'000'000};

constexpr const char* StatusPath = "/projects/{}/mails/status";
constexpr const char* HistoricalPath = "/projects/{}/mails/historical";

/// Calls `send` with the entries, at most as many at once as a request may name.
template <class Entry, class Entries, class Send>
void SendInParts(const Entries& entries, Send&& send)
{
    constexpr std::ptrdiff_t most = 1000;
    auto begin = entries.begin();
    do {
        const auto left = std::distance(begin, entries.end());
        const auto end = std::next(begin, std::min(left, most));
        send(std::vector<Entry>(begin, end));
        begin = end;
    } while (begin != entries.end());
}

/// The client that talks the documented protocol. Each operation is one line of the table that
/// Docs/Protocol.md holds.
class HttpSyncraClient final : public SyncraClient {
public:
    HttpSyncraClient(const SignInData& data, const Communication::HttpOptions& options)
        : requests_(data, options)
    {}

    OV::Array<Protocol::Project> GetProjects() override
    {
        return requests_.Get<Protocol::ProjectList>("/projects").value;
    }

    OV::Array<Protocol::ProjectOverview> GetProjectOverviews() override
    {
        return requests_.Get<Protocol::ProjectOverviewList>("/projects/overview").value;
    }

    bool IsMember(const OV::UniString& projectId) override
    {
        return requests_
            .Get<Protocol::ProjectMembership>(MakePath("/projects/{}/membership", {projectId}))
            .value;
    }

    bool ProjectExists(const OV::UniString& projectName) override
    {
        return requests_
            .Get<Protocol::ProjectExistence>(MakePath("/projects/exists?name={}", {projectName}))
            .value;
    }

    Protocol::ProjectState GetProjectState(const OV::UniString& projectId) override
    {
        return requests_.Get<Protocol::StateOfProject>(MakePath("/projects/{}/state", {projectId}))
            .state;
    }

    OV::Array<Protocol::Session> GetSessions(const OV::UniString& projectId) override
    {
        return requests_.Get<Protocol::SessionList>(MakePath("/projects/{}/sessions", {projectId}))
            .value;
    }

    Protocol::Session StartSession(const OV::UniString& projectId) override
    {
        return requests_.Post<Protocol::Session>(MakePath("/projects/{}/sessions", {projectId}),
                                                 Protocol::Empty());
    }

    void CloseSession(const OV::UniString& sessionId) override
    {
        requests_.Delete(MakePath("/sessions/{}", {sessionId}));
    }

    std::optional<Protocol::SessionEnd> GetSessionEnd(const OV::UniString& sessionId) override
    {
        try {
            return requests_.Get<Protocol::SessionEnd>(MakePath("/sessions/{}/end", {sessionId}));
        } catch (const Communication::ResponseContentException& refusal) {
            if (refusal.GetErrorCode() != static_cast<int>(Protocol::ErrorCode::NotFound))
                throw;
            return std::nullopt;
        }
    }

    OV::UniString GetSessionAttribute(const OV::UniString& sessionId,
                                      OV::UniStringView name) override
    {
        return requests_
            .Get<Protocol::AttributeValue>(
                MakePath("/sessions/{}/attributes/{}", {sessionId, name}))
            .value;
    }

    void SetSessionAttribute(const OV::UniString& sessionId, OV::UniStringView name,
                             const OV::String& value) override
    {
        requests_.Put(MakePath("/sessions/{}/attributes/{}", {sessionId, name}),
                      Protocol::AttributeValue{OV::FromUtf8(value)});
    }

    OV::Array<Protocol::ServicePort> GetServicePortList() override
    {
        auto ports = requests_.Get<Protocol::PortList>("/ports").value;
        // The server that may hear the password says so itself.
        const Communication::ServerAddress& server = requests_.GetAddress();
        for (const auto& service : ports)
            Communication::ServerTrust::GetInstance().AddService(server.host, server.port,
                                                                 service.port);
        return ports;
    }

    Protocol::MemberChanges GetProjectMembersEx(const OV::UniString& projectId,
                                                const OV::UniString& after) override
    {
        auto body = requests_.Get<Protocol::MemberChangesBody>(
            MakePath("/projects/{}/members/changes?after={}", {projectId, after}));
        OV::HashTable<OV::UniString, OV::HashSet<OV::UniString>> rights;
        for (auto& role : body.roles)
            rights.insert_or_assign(std::move(role.name), std::move(role.permissions));
        for (auto& member : body.changes.members)
            member.permissions = rights[member.roleName];
        return std::move(body.changes);
    }

    OV::Array<Protocol::Session> GetAllSessions(const OV::UniString& projectId) override
    {
        return requests_
            .Get<Protocol::SessionList>(MakePath("/projects/{}/sessions?scope=all", {projectId}))
            .value;
    }

    MailBoxState GetMails(const OV::UniString& projectId, std::int32_t sinceTime,
                          std::uint64_t after, const BeginMailPage& begin) override
    {
        Communication::PagedReading reading(u"the mails", MailBoxLimits);
        std::optional<MailBoxState> state;
        struct Page : Protocol::MailPage {
            std::function<void(bool isLast)> end;
        };
        Detail::ReadPages<Page>(
            [&](const OV::UniString& cursor) {
                return requests_.GetUnread(
                    cursor.empty() ? MakePath("/projects/{}/mails?since={}&after={}",
                                              {projectId, sinceTime, after})
                                   : MakePath("/projects/{}/mails?since={}&after={}&cursor={}",
                                              {projectId, sinceTime, after, cursor}));
            },
            [&](Page page, std::size_t bytes, bool isLast) {
                reading.TakePage(bytes, page.mails.count.value(), !isLast);
                // Later pages show later changes as well.
                if (!state)
                    state = {page.change, page.count, {}};
                if (isLast && page.flags)
                    state->flags = {std::move(page.flags->read), std::move(page.flags->historical)};
                page.end(isLast);
            },
            [&] {
                auto [take, end] = begin();
                Page page;
                page.mails.take = std::move(take);
                page.end = std::move(end);
                return page;
            });
        return *std::move(state);
    }

    OV::UniString SendMail(const OV::UniString& projectId,
                           const OV::Array<OV::UniString>& recipients,
                           const Protocol::Message& message, const OV::UniString& key) override
    {
        return requests_
            .Post<Protocol::MailReceipt>(
                MakePath("/projects/{}/mails", {projectId}),
                Protocol::MailDelivery<Protocol::Message>{key, recipients, message})
            .id;
    }

    void DeleteMails(const OV::UniString& projectId, const OV::Array<OV::UniString>& ids) override
    {
        SendInParts<OV::UniString>(ids, [&](std::vector<OV::UniString> part) {
            requests_.Post(MakePath("/projects/{}/mails/delete", {projectId}),
                           Protocol::MailIds{{part.begin(), part.end()}});
        });
    }
    OV::Array<OV::UniString> GetDeletedMails(const OV::UniString& projectId,
                                             const OV::Array<OV::UniString>& ids) override
    {
        OV::Array<OV::UniString> deleted;
        SendInParts<OV::UniString>(ids, [&](std::vector<OV::UniString> part) {
            auto found =
                requests_
                    .Post<Protocol::MailIds>(MakePath("/projects/{}/mails/deleted", {projectId}),
                                             Protocol::MailIds{{part.begin(), part.end()}})
                    .value;
            std::move(found.begin(), found.end(), std::back_inserter(deleted));
        });
        return deleted;
    }

    FlagTable GetMailStatus(const OV::UniString& projectId, std::uint64_t& after) override
    {
        return GetFlags(StatusPath, projectId, after);
    }
    FlagTable GetMailHistorical(const OV::UniString& projectId, std::uint64_t& after) override
    {
        return GetFlags(HistoricalPath, projectId, after);
    }
    void SetMailStatus(const OV::UniString& projectId, const FlagTable& flags) override
    {
        SetFlags(StatusPath, projectId, flags);
    }
    void SetMailHistorical(const OV::UniString& projectId, const FlagTable& flags) override
    {
        SetFlags(HistoricalPath, projectId, flags);
    }

    Protocol::SignalBatch WaitForSignals(const OV::UniString& projectId, std::uint64_t after,
                                         std::uint32_t waitMilliseconds) override
    {
        return requests_.GetHeld<Protocol::SignalBatch>(
            MakePath("/signals?project={}&after={}&wait={}", {projectId, after, waitMilliseconds}),
            waitMilliseconds);
    }

    Protocol::EventLogPage GetEvents(const OV::UniString& projectId, std::int32_t from,
                                     std::int32_t to, std::uint64_t after) override
    {
        return GetLogPage(
            MakePath("/projects/{}/events?from={}&to={}&after={}", {projectId, from, to, after}),
            after);
    }

    Protocol::EventLogPage GetPerformanceEvents(std::int32_t from, std::int32_t to,
                                                std::uint64_t after) override
    {
        return GetLogPage(MakePath("/performance?from={}&to={}&after={}", {from, to, after}),
                          after);
    }

    void AddEvent(const OV::UniString& projectId, const Protocol::LoggedEvent& event) override
    {
        requests_.Post(MakePath("/projects/{}/events", {projectId}), event);
    }

    void Cancel() override { requests_.Cancel(); }

private:
    FlagTable GetFlags(const char* path, const OV::UniString& projectId, std::uint64_t& after)
    {
        auto page = requests_.Get<Protocol::FlagPageOf<OV::UniString>>(
            MakePath(path, {projectId}) + "?after=" + std::to_string(after));
        FlagTable flags;
        flags.reserve(page.entries.size());
        for (auto& [id, flag] : page.entries)
            flags.insert_or_assign(std::move(id), flag);
        after = page.change;
        return flags;
    }
    void SetFlags(const char* path, const OV::UniString& projectId, const FlagTable& flags)
    {
        using Entry = std::pair<OV::UniString, bool>;
        SendInParts<Entry>(flags, [&](std::vector<Entry> part) {
            requests_.Put(MakePath(path, {projectId}),
                          Protocol::FlagUpdateOf<OV::UniString>{{part.begin(), part.end()}});
        });
    }
    Protocol::EventLogPage GetLogPage(const OV::String& path, std::uint64_t after)
    {
        auto page = requests_.Get<Protocol::EventLogPage>(path);
        if (page.left > 0 && page.next <= after)
            ThrowMalformed(u"pages of the log");
        return page;
    }

    JsonRequests requests_;
};

}  // namespace

std::unique_ptr<SyncraClient> Connect(const SignInData& data,
                                      const Communication::HttpOptions& options)
{
    return std::make_unique<HttpSyncraClient>(data, options);
}

std::uint32_t AskServerVersion(const OV::UniString& serverName, std::uint16_t port,
                               const Communication::HttpOptions& options)
{
    return Detail::JsonRequests::AskVersion(
        Communication::ServerAddress::FromServerName(serverName, port), options);
}

}  // namespace Syncra::Client
