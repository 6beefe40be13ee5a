// A whole log from the server into the cache beside its pages, asked for with nothing but curl.
#include "BareClient.hpp"
#include "Beside.hpp"
#include "BinCacheHandler/BinCacheHandler.hpp"
#include "EventLogUpdater.hpp"
#include "SYClientBase/SyncraClientFactory.hpp"
#include "Support/TemporaryFolder.hpp"
#include "SyncraClient/SyncraClient.hpp"

#include <cstdlib>
#include <filesystem>

namespace {

/// In place of a number of lines: a copy of the store that SYCLIENT_LARGE_STORE names
/// (Tools/large-store), whose logs have eleven million.
constexpr std::int64_t LargeStore = 0;

std::uint64_t NumberOf(const std::string& answer, const std::string& key)
{
    const auto at = answer.find("\"" + key + "\":");
    return at == std::string::npos ? 0 : std::stoull(answer.substr(at + key.size() + 3));
}

std::string PathOf(const std::string& project, std::uint64_t after)
{
    return "/syncra/v1/projects/" + project +
           "/events?from=0&to=2147483647&after=" + std::to_string(after);
}

/// Each line becomes one, is compared with those that are known, and goes into the file of its
/// project; the other throws the pages away. The ratio must not grow with the lines.
void LogFetchBesideBare(benchmark::State& state)
{
    const TemporaryFolder folder;
    const char* const store = std::getenv("SYCLIENT_LARGE_STORE");
    const bool isLarge = state.range(0) == LargeStore;
    if (isLarge && store == nullptr)
        return state.SkipWithError("SYCLIENT_LARGE_STORE names no store");
    if (isLarge)
        std::filesystem::copy_file(store, folder.Path() / "store.db");
    const ServerProcess server(folder.Path(),
                               isLarge ? std::vector<std::string>()
                                       : std::vector<std::string>{"--sample", "--sample-lines",
                                                                  std::to_string(state.range(0))});
    const LogSource source{u"127.0.0.1",
                           server.ModelPort(),
                           u"anna.novak",
                           OV::Secret(OV::FromUtf8(ServerProcess::Password)),
                           {}};
    BareClient bare(server.ModelPort());
    bare.SignIn();
    // Of a public project everybody sees the name, its members alone the log.
    OV::Array<std::string> projects;
    for (const auto& project :
         SYCB::CreateSyncraClient({source.host, source.port, source.userName, source.password})
             ->GetProjects())
        try {
            (void)bare.Get(PathOf(OV::ToUtf8(project.id), 1));
            projects.push_back(OV::ToUtf8(project.id));
        } catch (const std::runtime_error&) {
            continue;
        }
    double lines = 0;
    int round = 0;
    Beside(state, "a whole log from the server into the cache", "its pages by curl", 2.0)
        .RunCold(
            [&] {
                SYC::BinCacheHandler cache(u"fetch" + OV::ToText(round++));
                EventLogUpdater updater(source, cache);
                updater.Update();
                lines = static_cast<double>(cache.GetLines()->size());
            },
            [&] {
                for (const auto& project : projects)
                    for (std::uint64_t next = 0, left = 1; left > 0;) {
                        const std::string& answer = bare.Get(PathOf(project, next));
                        next = NumberOf(answer, "next");
                        left = NumberOf(answer, "left");
                    }
            });
    state.counters["lines"] = lines;
    state.counters["us_per_line"] = state.counters["ours_us"].value / lines;
}
BENCHMARK(LogFetchBesideBare)->Arg(LargeStore)->UseManualTime()->Iterations(1);
BENCHMARK(LogFetchBesideBare)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->UseManualTime()
    ->Iterations(3);

}  // namespace
