// A whole check of a project connection beside the same requests made with bare libcurl.
#include "BareClient.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "ReadProjectConnection.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraURL.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

namespace {

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
