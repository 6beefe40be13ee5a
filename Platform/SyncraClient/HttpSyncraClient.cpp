#include "OVRoot/PercentCoding.hpp"
#include "SYCommunication/PagedReading.hpp"
#include "SyncraClient/Detail/SignedInChannel.hpp"
#include "SyncraProtocol/Detail/MessageJson.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace Syncra::Client {

namespace {

using Communication::HttpMethod;
using Communication::HttpRequest;
using nlohmann::json;

/// One component of a path, or one value of a query.
OV::String Coded(OV::UniStringView text)
{
    return OV::PercentEncode(OV::ToUtf8(OV::EscapeForCarrier(text)));
}

template <class Record>
auto RecordsOf(const char* key)
{
    return [key](const json& answer) {
        OV::Array<Record> records;
        for (const json& record : Protocol::ReadArray(answer, key))
            records.push_back(Protocol::FromJson<Record>(record));
        return records;
    };
}

auto BoolOf(const char* key)
{
    return [key](const json& answer) { return Protocol::ReadBool(answer, key); };
}

void Nothing(const json&) {}

OV::String Range(std::int32_t from, std::int32_t to, std::uint64_t after)
{
    return "?from=" + std::to_string(from) + "&to=" + std::to_string(to) +
           "&after=" + std::to_string(after);
}

auto PageBehind(std::uint64_t after)
{
    return [after](const json& answer) {
        auto page = Protocol::FromJson<Protocol::EventLogPage>(answer);
        if (page.left > 0 && page.next <= after)
            throw Protocol::MalformedRecordException(
                OV::StringView("the pages of the log do not advance"));
        return page;
    };
}

/// A mail takes several times its bytes of the wire, so there are fewer than of other entries.
constexpr Communication::ReadingLimits MailBoxLimits{512u << 20, 1'000'000};

/// Appends the mails of a page, and returns the cursor of the next one.
OV::UniString TakeMails(const json& page, const OV::UniString& cursor,
                        OV::PagedArray<Protocol::Message>& mails)
{
    for (const json& mail : Protocol::ReadArray(page, "mails"))
        mails.push_back(Protocol::FromJson<Protocol::Message>(mail));
    auto next = Protocol::ReadText(page, "cursor");
    if (!next.empty() && next == cursor)
        throw Protocol::MalformedRecordException(
            OV::StringView("the pages of mails do not advance"));
    return next;
}

/// How many mails one request may name.
constexpr std::size_t MaximumIds = 1000;

/// Calls `send` with the JSON of at most as many entries as a request may name, for all of them.
template <class Entries, class ToJson, class Send>
void SendInParts(const Entries& entries, ToJson&& toJson, Send&& send)
{
    json part = json::array();
    for (const auto& entry : entries) {
        part.push_back(toJson(entry));
        if (part.size() == MaximumIds)
            send(std::exchange(part, json::array()));
    }
    if (!part.empty() || entries.empty())
        send(std::move(part));
}

SyncraClient::FlagTable ReadFlags(const json& answer)
{
    SyncraClient::FlagTable flags;
    for (const json& entry : Protocol::ReadArray(answer, "entries")) {
        if (!entry.is_array() || entry.size() != 2 || !entry[1].is_boolean())
            throw Protocol::MalformedRecordException(
                OV::StringView("an entry is not [id, true or false]"));
        flags.insert_or_assign(Protocol::TextFromJson(entry[0]), entry[1].get<bool>());
    }
    return flags;
}

/// The client that talks the documented protocol. Each operation is one line of the table that
/// Docs/Protocol.md holds.
class HttpSyncraClient final : public SyncraClient {
public:
    HttpSyncraClient(const SignInData& data, const Communication::HttpOptions& options)
        : channel_(data, options), requestTimeout_(options.requestTimeoutMilliseconds)
    {}

    OV::Array<Protocol::Project> GetProjects() override
    {
        return channel_.Ask(Get("/projects"), RecordsOf<Protocol::Project>("projects"));
    }

    bool IsMember(const OV::UniString& projectId) override
    {
        return channel_.Ask(Get(Project(projectId) + "/membership"), BoolOf("member"));
    }

    bool ProjectExists(const OV::UniString& projectName) override
    {
        return channel_.Ask(Get("/projects/exists?name=" + Coded(projectName)), BoolOf("exists"));
    }

    Protocol::ProjectState GetProjectState(const OV::UniString& projectId) override
    {
        return channel_.Ask(Get(Project(projectId) + "/state"), [](const json& answer) {
            return static_cast<Protocol::ProjectState>(
                Protocol::ReadInteger(answer, "state", 1, 3));
        });
    }

    OV::Array<Protocol::Session> GetSessions(const OV::UniString& projectId) override
    {
        return channel_.Ask(Get(Project(projectId) + "/sessions"),
                            RecordsOf<Protocol::Session>("sessions"));
    }

    Protocol::Session StartSession(const OV::UniString& projectId) override
    {
        return channel_.Ask(Change(HttpMethod::Post, Project(projectId) + "/sessions", "{}"),
                            Protocol::FromJson<Protocol::Session>);
    }

    void CloseSession(const OV::UniString& sessionId) override
    {
        channel_.Ask(Change(HttpMethod::Delete, "/sessions/" + Coded(sessionId)), Nothing);
    }

    OV::UniString GetSessionAttribute(const OV::UniString& sessionId,
                                      OV::UniStringView name) override
    {
        return channel_.Ask(Get(Attribute(sessionId, name)),
                            [](const json& answer) { return Protocol::ReadText(answer, "value"); });
    }

    void SetSessionAttribute(const OV::UniString& sessionId, OV::UniStringView name,
                             const OV::String& value) override
    {
        json body = json::object();
        body["value"] = Protocol::TextToJson(OV::FromUtf8(value));
        channel_.Ask(Change(HttpMethod::Put, Attribute(sessionId, name), Protocol::DumpJson(body)),
                     Nothing);
    }

    OV::Array<Protocol::ServicePort> GetServicePortList() override
    {
        return channel_.Ask(Get("/ports"), RecordsOf<Protocol::ServicePort>("ports"));
    }

    OV::Array<Protocol::Member> GetProjectMembersEx(const OV::UniString& projectId) override
    {
        return channel_.Ask(Get(Project(projectId) + "/members"),
                            RecordsOf<Protocol::Member>("members"));
    }

    OV::Array<Protocol::Session> GetAllSessions(const OV::UniString& projectId) override
    {
        return channel_.Ask(Get(Project(projectId) + "/sessions?scope=all"),
                            RecordsOf<Protocol::Session>("sessions"));
    }

    void GetMails(const OV::UniString& projectId, std::int32_t sinceTime,
                  OV::PagedArray<Protocol::Message>& mails) override
    {
        const OV::String first = Mails(projectId) + "?since=" + std::to_string(sinceTime);
        Communication::PagedReading reading(u"the mails", MailBoxLimits);
        OV::UniString cursor;
        do {
            const std::size_t before = mails.size();
            cursor =
                channel_.Ask(Get(cursor.empty() ? first : first + "&cursor=" + Coded(cursor)),
                             [&](const json& answer) { return TakeMails(answer, cursor, mails); });
            reading.TakePage(channel_.GetAnswerBytes(), mails.size() - before, !cursor.empty());
        } while (!cursor.empty());
    }

    OV::UniString SendMail(const OV::UniString& projectId,
                           const OV::Array<OV::UniString>& recipients,
                           const Protocol::Message& message, const OV::UniString& key) override
    {
        json body = json::object();
        body["key"] = Protocol::TextToJson(key);
        body["recipients"] = Protocol::TextsToJson(recipients);
        body["message"] = Protocol::ToJson(message);
        return channel_.Ask(Change(HttpMethod::Post, Mails(projectId), Protocol::DumpJson(body)),
                            [](const json& answer) { return Protocol::ReadText(answer, "id"); });
    }

    void DeleteMails(const OV::UniString& projectId, const OV::Array<OV::UniString>& ids) override
    {
        SendInParts(ids, Protocol::TextToJson, [&](json part) {
            channel_.Ask(Change(HttpMethod::Post, Mails(projectId) + "/delete",
                                Protocol::DumpJson({{"ids", std::move(part)}})),
                         Nothing);
        });
    }

    FlagTable GetMailStatus(const OV::UniString& projectId, std::uint64_t& after) override
    {
        return GetFlags(Mails(projectId) + "/status", after);
    }
    FlagTable GetMailHistorical(const OV::UniString& projectId, std::uint64_t& after) override
    {
        return GetFlags(Mails(projectId) + "/historical", after);
    }
    void SetMailStatus(const OV::UniString& projectId, const FlagTable& flags) override
    {
        SetFlags(Mails(projectId) + "/status", flags);
    }
    void SetMailHistorical(const OV::UniString& projectId, const FlagTable& flags) override
    {
        SetFlags(Mails(projectId) + "/historical", flags);
    }

    Protocol::SignalBatch WaitForSignals(const OV::UniString& projectId, std::uint64_t after,
                                         std::uint32_t waitMilliseconds) override
    {
        HttpRequest request =
            Get("/signals?project=" + Coded(projectId) + "&after=" + std::to_string(after) +
                "&wait=" + std::to_string(waitMilliseconds));
        // The server may hold the request for as long as it was asked to, and then needs its time.
        constexpr std::uint64_t longest = std::numeric_limits<std::int32_t>::max();
        const std::uint64_t timeout = std::uint64_t{waitMilliseconds} + requestTimeout_;
        request.timeoutMilliseconds = static_cast<std::uint32_t>(std::min(timeout, longest));
        return channel_.Ask(std::move(request), Protocol::FromJson<Protocol::SignalBatch>);
    }

    Protocol::EventLogPage GetEvents(const OV::UniString& projectId, std::int32_t from,
                                     std::int32_t to, std::uint64_t after) override
    {
        return channel_.Ask(Get(Project(projectId) + "/events" + Range(from, to, after)),
                            PageBehind(after));
    }

    Protocol::EventLogPage GetPerformanceEvents(std::int32_t from, std::int32_t to,
                                                std::uint64_t after) override
    {
        return channel_.Ask(Get("/performance" + Range(from, to, after)), PageBehind(after));
    }

    void AddEvent(const OV::UniString& projectId, const Protocol::LoggedEvent& event) override
    {
        channel_.Ask(Change(HttpMethod::Post, Project(projectId) + "/events",
                            Protocol::DumpJson(Protocol::ToJson(event))),
                     Nothing);
    }

    void Cancel() override { channel_.Cancel(); }

private:
    static HttpRequest Change(HttpMethod method, const OV::String& path, OV::String body = {})
    {
        HttpRequest request;
        request.method = method;
        request.target = "/syncra/v1" + path;
        request.body = std::move(body);
        return request;
    }
    static HttpRequest Get(const OV::String& path) { return Change(HttpMethod::Get, path); }

    static OV::String Project(OV::UniStringView id) { return "/projects/" + Coded(id); }
    static OV::String Attribute(OV::UniStringView sessionId, OV::UniStringView name)
    {
        return "/sessions/" + Coded(sessionId) + "/attributes/" + Coded(name);
    }

    static OV::String Mails(OV::UniStringView projectId) { return Project(projectId) + "/mails"; }

    FlagTable GetFlags(const OV::String& path, std::uint64_t& after)
    {
        return channel_.Ask(Get(path + "?after=" + std::to_string(after)),
                            [&after](const json& answer) {
                                FlagTable flags = ReadFlags(answer);
                                after = Protocol::ReadSequence(answer, "change");
                                return flags;
                            });
    }
    void SetFlags(const OV::String& path, const FlagTable& flags)
    {
        const auto entryOf = [](const auto& entry) {
            return json::array({Protocol::TextToJson(entry.first), entry.second});
        };
        SendInParts(flags, entryOf, [&](json part) {
            channel_.Ask(
                Change(HttpMethod::Put, path, Protocol::DumpJson({{"entries", std::move(part)}})),
                Nothing);
        });
    }

    Detail::SignedInChannel channel_;
    std::uint32_t requestTimeout_;
};

}  // namespace

std::unique_ptr<SyncraClient> Connect(const SignInData& data,
                                      const Communication::HttpOptions& options)
{
    return std::make_unique<HttpSyncraClient>(data, options);
}

}  // namespace Syncra::Client
