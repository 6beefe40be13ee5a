#include "Support/ServerProcess.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <array>
#include <chrono>
#include <memory>

namespace {

using Clock = std::chrono::steady_clock;

/// The same request on a bare handle: nothing but curl between the caller and the socket.
class BareRequest {
public:
    BareRequest(std::uint16_t port, const std::string& path, const std::string& token)
        : easy_(curl_easy_init(), &curl_easy_cleanup)
    {
        headers_.reset(curl_slist_append(nullptr, ("Authorization: Bearer " + token).c_str()));
        const std::string url = "http://127.0.0.1:" + std::to_string(port) + path;
        curl_easy_setopt(easy_.get(), CURLOPT_URL, url.c_str());
        curl_easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, headers_.get());
        curl_easy_setopt(easy_.get(), CURLOPT_WRITEFUNCTION, &Append);
        curl_easy_setopt(easy_.get(), CURLOPT_WRITEDATA, &body_);
    }
    const std::string& Perform()
    {
        body_.clear();
        if (curl_easy_perform(easy_.get()) != CURLE_OK)
            throw std::runtime_error("the bare request failed");
        return body_;
    }

private:
    static std::size_t Append(char* bytes, std::size_t, std::size_t count, void* body)
    {
        static_cast<std::string*>(body)->append(bytes, count);
        return count;
    }

    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers_{nullptr,
                                                                         &curl_slist_free_all};
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy_;
    std::string body_;
};

std::string SignIn(std::uint16_t port)
{
    Communication::HttpClient http({u"127.0.0.1", port, false});
    const auto answer = http.Perform({Communication::HttpMethod::Post,
                                      "/syncra/v1/sign-in",
                                      std::string(R"({"userName":"anna.novak","password":")") +
                                          ServerProcess::Password + R"(","protocol":1})",
                                      {},
                                      0});
    const std::string key = "\"token\":\"";
    const std::size_t begin = answer.body.find(key) + key.size();
    return answer.body.substr(begin, answer.body.find('"', begin) - begin);
}

/// Alternates blocks of bare requests with blocks of ours, so that both meet the same machine, and
/// times ours. The counters tell microseconds a request, and how many times the bare one ours
/// takes.
template <class Ours>
void Compare(benchmark::State& state, BareRequest& bare, Ours&& ours)
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
        bareTime += timed([&] { benchmark::DoNotOptimize(bare.Perform()); });
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
    std::string token = SignIn(server.ModelPort());
    std::unique_ptr<Syncra::Client::SyncraClient> client = Syncra::Client::Connect(
        {u"127.0.0.1", server.ModelPort(), u"anna.novak", OV::FromUtf8(ServerProcess::Password)});
};

/// The project list through the transport alone.
void BM_TransportRequest(benchmark::State& state)
{
    const SignedInUser user;
    const std::string path = "/syncra/v1/projects";
    BareRequest bare(user.server.ModelPort(), path, user.token);
    Communication::HttpClient http({u"127.0.0.1", user.server.ModelPort(), false});
    const Communication::HttpRequest request{
        Communication::HttpMethod::Get, path, {}, user.token, 0};
    Compare(state, bare, [&] { benchmark::DoNotOptimize(http.Perform(request)); });
}
BENCHMARK(BM_TransportRequest)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// The project list as records, which the bare request does not make.
void BM_ProjectList(benchmark::State& state)
{
    const SignedInUser user;
    BareRequest bare(user.server.ModelPort(), "/syncra/v1/projects", user.token);
    Compare(state, bare, [&] { benchmark::DoNotOptimize(user.client->GetProjects()); });
}
BENCHMARK(BM_ProjectList)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// A small answer, as most steps of opening a project get.
void BM_Membership(benchmark::State& state)
{
    const SignedInUser user;
    const OV::UniString project = user.client->GetProjects().at(0).id;
    BareRequest bare(user.server.ModelPort(),
                     "/syncra/v1/projects/" + OV::ToUtf8(project) + "/membership", user.token);
    Compare(state, bare, [&] { benchmark::DoNotOptimize(user.client->IsMember(project)); });
}
BENCHMARK(BM_Membership)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
