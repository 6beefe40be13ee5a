#include "BareClient.hpp"
#include "Beside.hpp"
#include "SYCommunication/HttpClient.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraClient/SyncraClient.hpp"

namespace {

/// Ours beside the bare request, in blocks.
template <class Ours>
void Compare(benchmark::State& state, std::string_view what, BareClient& bare,
             const std::string& path, Ours&& ours)
{
    Beside(state, what, "the same request by curl")
        .Run(
            ours, [&] { benchmark::DoNotOptimize(bare.Get(path)); }, 8);
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
    Compare(state, "a request through the transport", user.bare, path,
            [&] { benchmark::DoNotOptimize(http.Perform(request)); });
}
BENCHMARK(BM_TransportRequest)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// The project list as records, which the bare request does not make.
void BM_ProjectList(benchmark::State& state)
{
    SignedInUser user;
    Compare(state, "a list of five projects as records", user.bare, "/syncra/v1/projects",
            [&] { benchmark::DoNotOptimize(user.client->GetProjects()); });
}
BENCHMARK(BM_ProjectList)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// A small answer, as most steps of opening a project get.
void BM_Membership(benchmark::State& state)
{
    SignedInUser user;
    const OV::UniString project = user.client->GetProjects().at(0).id;
    const std::string path = "/syncra/v1/projects/" + OV::ToUtf8(project) + "/membership";
    Compare(state, "a membership", user.bare, path,
            [&] { benchmark::DoNotOptimize(user.client->IsMember(project)); });
}
BENCHMARK(BM_Membership)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
