#include "BareClient.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

/// Alternates blocks of bare requests with blocks of ours, so that both meet the same machine, and
/// times ours. The counters tell microseconds a request, and how many times the bare one ours
/// takes.
template <class Ours>
void Compare(benchmark::State& state, BareClient& bare, const std::string& path, Ours&& ours)
{
    constexpr int block = 8;
    Clock::duration bareTime{};
    Clock::duration ourTime{};
    const auto timed = [](auto&& request) {
        const auto begin = Clock::now();
        for (int count = 0; count < block; ++count)
            request();
        return Clock::now() - begin;
    };
    for (auto _ : state) {
        bareTime += timed([&] { benchmark::DoNotOptimize(bare.Get(path)); });
        const auto taken = timed(ours);
        ourTime += taken;
        state.SetIterationTime(std::chrono::duration<double>(taken).count());
    }
    const auto microseconds = [&](Clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count() /
               static_cast<double>(state.iterations() * block);
    };
    state.counters["bare_us"] = microseconds(bareTime);
    state.counters["ours_us"] = microseconds(ourTime);
    state.counters["ratio"] = microseconds(ourTime) / microseconds(bareTime);
}

/// A server with the sample team, and a user of it who is signed in both ways.
struct SignedInUser {
    TemporaryFolder folder;
    ServerProcess server{folder.Path()};
    BareClient bare{server.ModelPort()};
    std::string token = bare.SignIn();
    std::unique_ptr<Syncra::Client::SyncraClient> client = Syncra::Client::Connect(
        {u"127.0.0.1", server.ModelPort(), u"anna.novak", OV::FromUtf8(ServerProcess::Password)});
};

/// The project list through the transport alone.
void BM_TransportRequest(benchmark::State& state)
{
    SignedInUser user;
    const std::string path = "/syncra/v1/projects";
    Communication::HttpClient http({u"127.0.0.1", user.server.ModelPort(), false});
    const Communication::HttpRequest request{
        Communication::HttpMethod::Get, path, {}, user.token, 0};
    Compare(state, user.bare, path, [&] { benchmark::DoNotOptimize(http.Perform(request)); });
}
BENCHMARK(BM_TransportRequest)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// The project list as records, which the bare request does not make.
void BM_ProjectList(benchmark::State& state)
{
    SignedInUser user;
    Compare(state, user.bare, "/syncra/v1/projects",
            [&] { benchmark::DoNotOptimize(user.client->GetProjects()); });
}
BENCHMARK(BM_ProjectList)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// A small answer, as most steps of opening a project get.
void BM_Membership(benchmark::State& state)
{
    SignedInUser user;
    const OV::UniString project = user.client->GetProjects().at(0).id;
    const std::string path = "/syncra/v1/projects/" + OV::ToUtf8(project) + "/membership";
    Compare(state, user.bare, path,
            [&] { benchmark::DoNotOptimize(user.client->IsMember(project)); });
}
BENCHMARK(BM_Membership)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
