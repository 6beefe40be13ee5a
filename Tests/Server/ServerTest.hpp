#pragma once

#include "Support/RawHttp.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/StoreEdit.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Ends a test that is about the file of a store, where there is none.
#define FOR_A_STORE_IN_A_FILE()                                                                    \
    if (PostgresCluster::IsWanted())                                                               \
    GTEST_SKIP() << "is about a store in a file"

/// Projects of the sample team, and their state.
namespace Sample {
inline const std::string Prefix = "6B1F0C52-8A5D-4B1E-9B6A-0D3C7E5A1";
inline const std::string HarbourBridge = Prefix + "001";  ///< active
inline const std::string CityLibrary = Prefix + "002";    ///< active
inline const std::string OldMill = Prefix + "004";        ///< under maintenance
inline const std::string OpenHouse = Prefix + "005";      ///< public
inline const std::string Nowhere = Prefix + "999";        ///< no project
}  // namespace Sample

struct Answer {
    int status = 0;
    nlohmann::json json;

    /// The code of a refusal; 0 for an answer.
    [[nodiscard]] int Code() const { return json.is_object() ? json.value("code", 0) : -1; }
};

[[nodiscard]] inline std::string RequestText(std::string_view method, std::string_view target,
                                             std::string_view token = "",
                                             std::string_view body = "")
{
    std::string text = std::string(method) + ' ' + std::string(target) + " HTTP/1.1\r\nHost: h\r\n";
    if (!token.empty())
        text += "Authorization: Bearer " + std::string(token) + "\r\n";
    if (!body.empty())
        text += "Content-Type: application/json\r\n";
    return text + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
}

/// A mail as a client sends it; the body is base64.
[[nodiscard]] inline nlohmann::json Mail(const std::string& key,
                                         const std::vector<std::string>& recipients,
                                         const std::string& body = "")
{
    return {{"key", key},
            {"recipients", recipients},
            {"message", {{"header", {{"Version", "1"}}}, {"body", body}}}};
}

[[nodiscard]] inline Answer ReadAnswer(RawHttp& connection)
{
    const auto response = connection.Read();
    return {response.status, nlohmann::json::parse(response.body, nullptr, false)};
}

/// A signed-in user on a connection of his own.
class Client {
public:
    explicit Client(std::uint16_t port, std::string token = "")
        : connection_(port), token_(std::move(token))
    {}
    Client(std::uint16_t port, const std::string& user, const std::string& password)
        : connection_(port)
    {
        token_ = SignIn(user, password).json.value("token", "");
    }

    Answer SignIn(const std::string& user, const std::string& password, int protocol = 1)
    {
        const nlohmann::json body{
            {"userName", user}, {"password", password}, {"protocol", protocol}};
        return Ask("POST", "/syncra/v1/sign-in", body.dump());
    }
    Answer Ask(std::string_view method, std::string_view target, std::string_view body = "")
    {
        Begin(method, target, body);
        return End();
    }
    /// The two halves of Ask, for a request that is held.
    void Begin(std::string_view method, std::string_view target, std::string_view body = "")
    {
        (void)connection_.Send(RequestText(method, target, token_, body));
    }
    Answer End() { return ReadAnswer(connection_); }

    [[nodiscard]] const std::string& Token() const { return token_; }

private:
    RawHttp connection_;
    std::string token_;
};

/// A server with the sample team.
class ServerTest : public testing::Test {
protected:
    explicit ServerTest(std::vector<std::string> options = {"--sample", "--sample-lines", "0"})
        : server(folder.Path(), std::move(options))
    {}
    Client SignedIn(const std::string& user)
    {
        return {server.ModelPort(), user, ServerProcess::Password};
    }
    Client Manager(const std::string& user)
    {
        return {server.ManagementPort(), user, ServerProcess::Password};
    }
    static std::string ProjectPath(const std::string& project, const std::string& what)
    {
        return "/syncra/v1/projects/" + project + '/' + what;
    }
    static std::string SignalPath(const std::string& project, std::uint64_t after, int wait)
    {
        return "/syncra/v1/signals?project=" + project + "&after=" + std::to_string(after) +
               "&wait=" + std::to_string(wait);
    }
    static std::string Bridge(const std::string& what)
    {
        return ProjectPath(Sample::HarbourBridge, what);
    }
    static std::string BridgeSignals(std::uint64_t after, int wait)
    {
        return SignalPath(Sample::HarbourBridge, after, wait);
    }
    /// Waits until those who are present in a project, as a server tells, are right.
    static void AwaitPresent(const ServerProcess& at, const std::string& project,
                             const std::function<bool(const std::set<std::string>&)>& areRight)
    {
        Client lookout(at.MessagingPort(), "lookout", "lookout");
        const nlohmann::json projects{{"projects", {project}}};
        const std::string subscription =
            lookout.Ask("POST", "/syncra/v1/presence/subscriptions", projects.dump())
                .json.at("subscription");
        std::uint64_t after = 0;
        for (bool isWaiting = true; isWaiting;) {
            const auto answer =
                lookout
                    .Ask("GET", "/syncra/v1/presence?wait=60000&after=" + std::to_string(after) +
                                    "&subscription=" + subscription)
                    .json;
            isWaiting = !areRight(answer.at("present"));
            after = answer.at("next");
        }
    }
    /// Begins a request that the server holds until a signal comes, and returns once it has it.
    void Hold(Client& client, const std::string& user, std::uint64_t after,
              const std::string& project = Sample::HarbourBridge) const
    {
        client.Begin("GET", SignalPath(project, after, 60'000));
        AwaitPresent(server, project, [&](const auto& present) { return present.contains(user); });
    }
    void Sql(const std::string& sql) const { EditStore(server.StorePath(), sql); }

    TemporaryFolder folder;
    ServerProcess server;
};
