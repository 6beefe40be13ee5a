#include "OVRoot/PercentCoding.hpp"
#include "SyncraClient/Detail/SignedInChannel.hpp"

#include <algorithm>
#include <limits>

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
