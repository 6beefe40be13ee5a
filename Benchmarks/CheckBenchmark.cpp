// A whole check of a project connection beside the same requests made with bare libcurl.
#include "ClientProjectConnectionManager.hpp"
#include "ReadProjectConnection.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraURL.hpp"

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <chrono>
#include <memory>

namespace {

constexpr const char* SignInBody =
    R"({"password":"nexar-sample","protocol":1,"userName":"anna.novak"})";

std::size_t Append(char* bytes, std::size_t size, std::size_t count, void* target)
{
    static_cast<std::string*>(target)->append(bytes, size * count);
    return size * count;
}

/// One easy handle with its kept connection.
class BareClient {
public:
    explicit BareClient(std::uint16_t port) : base_("http://127.0.0.1:" + std::to_string(port))
    {
        curl_easy_setopt(handle_.get(), CURLOPT_WRITEFUNCTION, Append);
        curl_easy_setopt(handle_.get(), CURLOPT_WRITEDATA, &answer_);
        curl_easy_setopt(handle_.get(), CURLOPT_NOSIGNAL, 1L);
    }
    ~BareClient() { curl_slist_free_all(headers_); }
    BareClient(const BareClient&) = delete;
    BareClient& operator=(const BareClient&) = delete;

    void SignIn()
    {
        curl_easy_setopt(handle_.get(), CURLOPT_POSTFIELDS, SignInBody);
        Get("/syncra/v1/sign-in");
        curl_easy_setopt(handle_.get(), CURLOPT_HTTPGET, 1L);
        const auto at = answer_.find("\"token\":\"") + 9;
        const auto token = answer_.substr(at, answer_.find('"', at) - at);
        headers_ = curl_slist_append(nullptr, ("Authorization: Bearer " + token).c_str());
        curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, headers_);
    }
    void Get(const std::string& target)
    {
        answer_.clear();
        curl_easy_setopt(handle_.get(), CURLOPT_URL, (base_ + target).c_str());
        if (curl_easy_perform(handle_.get()) != CURLE_OK)
            std::abort();
    }

private:
    std::string base_;
    std::string answer_;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle_{curl_easy_init(), curl_easy_cleanup};
    curl_slist* headers_ = nullptr;
};

/// A server, a project that was opened before, and what a check asks about it.
struct Scene {
    Scene()
    {
        SYC::Inner::ProjectConnectionInfo info;
        info.serverName = u"127.0.0.1";
        info.port = server.ModelPort();
        info.userName = u"anna.novak";
        info.password = OV::FromUtf8(ServerProcess::Password);
        info.projectName = u"Harbour Bridge";
        manager = std::make_unique<SYC::ClientProjectConnectionManager>(
            SYC::ToSyncraLocation(info), folder.GetLocation(), nullptr);
        SYC::ReadProjectConnection connection(manager.get());
        if (connection.Check(true, false, false, false) != SYC::CheckResult::Passed)
            std::abort();
        const auto project = "/syncra/v1/projects/" + OV::ToUtf8(connection.GetProjectId());
        targets = {"/syncra/v1/projects", project + "/membership", project + "/sessions",
                   "/syncra/v1/sessions/" + OV::ToUtf8(connection.GetSessionId()) +
                       "/attributes/ComputerName"};
    }

    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    std::unique_ptr<SYC::ClientProjectConnectionManager> manager;
    std::vector<std::string> targets;
};

using Clock = std::chrono::steady_clock;

/// Runs `ours` and `bare` in turn and reports their ratio.
template <class Ours, class Bare>
void Compare(benchmark::State& state, Ours&& ours, Bare&& bare)
{
    Clock::duration oursTime{}, bareTime{};
    for (auto _ : state) {
        const auto start = Clock::now();
        ours();
        const auto middle = Clock::now();
        bare();
        oursTime += middle - start;
        bareTime += Clock::now() - middle;
    }
    state.counters["ratio"] = std::chrono::duration<double>(oursTime) / bareTime;
    const auto perRound = [&](Clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count() /
               static_cast<double>(state.iterations());
    };
    state.counters["check_us"] = perRound(oursTime);
    state.counters["curl_us"] = perRound(bareTime);
}

void CheckWithSignIn(benchmark::State& state)
{
    Scene scene;
    Compare(
        state,
        [&] {
            SYC::ReadProjectConnection connection(scene.manager.get());
            if (connection.Check(true, false, false, false) != SYC::CheckResult::Passed)
                state.SkipWithError("the check failed");
        },
        [&] {
            BareClient client(scene.server.ModelPort());
            client.SignIn();
            for (const auto& target : scene.targets)
                client.Get(target);
        });
}
BENCHMARK(CheckWithSignIn)->UseRealTime();

void CheckOnKeptConnection(benchmark::State& state)
{
    Scene scene;
    SYC::ReadProjectConnection connection(scene.manager.get());
    BareClient client(scene.server.ModelPort());
    client.SignIn();
    Compare(
        state,
        [&] {
            if (connection.Check(false, false, false, false) != SYC::CheckResult::Passed)
                state.SkipWithError("the check failed");
        },
        [&] {
            for (const auto& target : scene.targets)
                client.Get(target);
        });
}
BENCHMARK(CheckOnKeptConnection)->UseRealTime();

}  // namespace
