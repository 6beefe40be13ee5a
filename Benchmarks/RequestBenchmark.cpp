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

/// GET of the project list: the transport alone, and the whole client with its records.
void BM_ProjectListRequest(benchmark::State& state)
{
    const bool wholeClient = state.range(0) != 0;
    const TemporaryFolder folder;
    const ServerProcess server(folder.Path());
    const std::string token = SignIn(server.ModelPort());
    const std::string path = "/syncra/v1/projects";
    BareRequest bare(server.ModelPort(), path, token);
    state.SetLabel(wholeClient ? "client with records" : "transport");
    if (wholeClient) {
        const auto client =
            Syncra::Client::Connect({u"127.0.0.1", server.ModelPort(), u"anna.novak",
                                     OV::FromUtf8(ServerProcess::Password)});
        Compare(state, bare, [&] { benchmark::DoNotOptimize(client->GetProjects()); });
    } else {
        Communication::HttpClient http({u"127.0.0.1", server.ModelPort(), false});
        const Communication::HttpRequest request{
            Communication::HttpMethod::Get, path, {}, token, 0};
        Compare(state, bare, [&] { benchmark::DoNotOptimize(http.Perform(request)); });
    }
}
BENCHMARK(BM_ProjectListRequest)->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
