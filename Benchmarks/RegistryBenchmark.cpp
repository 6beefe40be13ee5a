#include "Beside.hpp"
#include "CachedProjectInfo.hpp"
#include "RegisteredProjects.hpp"
#include "SyncraURL.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

#include <dirent.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using SYC::registeredProjects;

/// A data folder with so many caches, each as a member of a medium-sized team has it.
class Workplace {
public:
    explicit Workplace(int count)
    {
        std::string pattern = fs::temp_directory_path() / "registry-XXXXXX";
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder");
        path_ = pattern;
        fs::create_directories(path_ / "data");
        const std::string text = Sample();
        for (int i = 0; i < count; ++i)
            Write(i, text);
    }
    ~Workplace() { fs::remove_all(path_); }
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    /// Made once: thousands of files take longer than what is measured. The registry has none of
    /// them yet.
    static const Workplace& Of(std::int64_t count)
    {
        static std::map<std::int64_t, Workplace> all;
        const Workplace& place = all.try_emplace(count, static_cast<int>(count)).first->second;
        setenv("XDG_CONFIG_HOME", (place.path_ / "config").c_str(), 1);
        SYC::RegisteredProjects::Init(place.Folder());
        return place;
    }

    [[nodiscard]] IO::Location Folder() const
    {
        return IO::Location::FromPath(OV::FromUtf8((path_ / "data").string()));
    }
    [[nodiscard]] static OV::UniString Name(int number)
    {
        return u"Bridge " + OV::ToText(1'000'000 + number);
    }
    [[nodiscard]] IO::Location CacheFolder(int number) const
    {
        return Folder().Appended(u"nexar.example.org_" + Name(number) + u"_member");
    }
    [[nodiscard]] static IO::Location Url(int number)
    {
        return SYC::ToSyncraLocation({u"nexar.example.org", 8080, Name(number), u"member", u""});
    }

private:
    [[nodiscard]] std::string Sample() const
    {
        SYC::CachedProjectInfo info({u"nexar.example.org", 8080, Name(0), u"member", u""},
                                    Folder());
        info.BeginUpdate();
        info.SetUserName(u"A Member");
        info.SetProjectId(u"7D444840-9DC0-11D1-B245-5FFDCE74FAD2");
        OV::HashSet<OV::UniString> permissions;
        for (int i = 0; i < 20; ++i)
            permissions.insert(u"Permission." + OV::ToText(i));
        info.SetPermissions(permissions);
        info.EndUpdate();
        IO::Location file;
        info.GetCacheInfoFileLocation(file);
        std::ifstream stream(file.ToNativePath());
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    /// Not flushed one by one: the disk is not what is measured.
    void Write(int number, std::string text) const
    {
        const std::string first = OV::ToUtf8(Name(0));
        text.replace(text.find(first), first.size(), OV::ToUtf8(Name(number)));
        const std::string folder = CacheFolder(number).ToNativePath();
        fs::create_directories(folder);
        std::ofstream(folder + "/CacheInfo.xml", std::ios::trunc) << text;
    }

    fs::path path_;
};

/// What anybody would do to see whether something changed.
std::size_t BareWalk(const std::string& folder)
{
    std::size_t files = 0;
    DIR* const opened = opendir(folder.c_str());
    while (const dirent* entry = readdir(opened)) {
        struct stat status {};
        files += stat((folder + "/" + entry->d_name + "/CacheInfo.xml").c_str(), &status) == 0;
    }
    closedir(opened);
    return files;
}

void RefreshBesideBareWalk(benchmark::State& state)
{
    const auto& place = Workplace::Of(state.range(0));
    registeredProjects().RegisterCaches(place.Folder());
    const std::string folder = place.Folder().ToNativePath();
    Beside(state, "a refresh of so many unchanged caches", "readdir, and a stat of each file", 1.5)
        .Run([&] { registeredProjects().RefreshCaches(place.Folder()); },
             [&] { benchmark::DoNotOptimize(BareWalk(folder)); });
}
BENCHMARK(RefreshBesideBareWalk)
    ->Arg(1000)
    ->Arg(10000)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

void RegisterCaches(benchmark::State& state)
{
    const auto& place = Workplace::Of(state.range(0));
    for (auto _ : state) {
        registeredProjects().Clear();
        registeredProjects().RegisterCaches(place.Folder());
    }
    if (registeredProjects().GetCacheDataFolderNum() != static_cast<std::size_t>(state.range(0)))
        state.SkipWithError("not all caches were registered");
    state.counters["s_each"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                  benchmark::Counter::kIsIterationInvariantRate |
                                                      benchmark::Counter::kInvert);
}
BENCHMARK(RegisterCaches)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

/// By cache folder or, with 1, by project URL.
void LookUp(benchmark::State& state)
{
    const auto& place = Workplace::Of(state.range(0));
    registeredProjects().RegisterCaches(place.Folder());
    const int asked = static_cast<int>(state.range(0)) / 3;
    const auto project = state.range(1) != 0 ? Workplace::Url(asked) : place.CacheFolder(asked);
    std::size_t index = 0;
    for (auto _ : state)
        if (!registeredProjects().GetCacheIndex(project, index, false))
            state.SkipWithError("the cache was not found");
}
BENCHMARK(LookUp)->ArgsProduct({{100, 10000}, {0, 1}});

}  // namespace
