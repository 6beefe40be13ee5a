#include "Beside.hpp"
#include "CachedProjectInfo.hpp"
#include "IO/Folder.hpp"

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstdio>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// A folder with one cache as a member of a medium-sized team has it.
class Workplace {
public:
    Workplace()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "cache-info-XXXXXX";
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no temporary folder");
        folder_ = IO::Location::FromPath(OV::FromUtf8(pattern));
    }
    ~Workplace() { std::filesystem::remove_all(folder_.ToNativePath()); }
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    [[nodiscard]] SYC::CachedProjectInfo MakeCache(int number) const
    {
        SYC::CachedProjectInfo info(
            {u"nexar.example.org", 8080, u"Bridge " + OV::ToText(number), u"member", u""}, folder_);
        info.BeginUpdate();
        info.SetUserName(u"A Member");
        info.SetUserId(u"3F2504E0-4F89-11D3-9A0C-0305E82C3301");
        info.SetProjectId(u"7D444840-9DC0-11D1-B245-5FFDCE74FAD2");
        info.SetSessionId(u"6BA7B810-9DAD-11D1-80B4-00C04FD430C8");
        info.SetRoleName(u"Project manager");
        OV::HashSet<OV::UniString> permissions;
        for (int i = 0; i < 20; ++i)
            permissions.insert(u"Permission." + OV::ToText(i));
        info.SetPermissions(permissions);
        info.SetProjectVersion(u"15.0.0.0");
        info.EndUpdate();
        return info;
    }

private:
    IO::Location folder_;
};

void ReadBesideBareParse(benchmark::State& state)
{
    const Workplace place;
    SYC::CachedProjectInfo info = place.MakeCache(1);
    IO::Location file;
    info.GetCacheInfoFileLocation(file);
    const std::string path = file.ToNativePath();
    Beside(state, "opening a cache", "pugixml loads the same file", 1.5)
        .Run([&] { info.ReadFromDisc(false); },
             [&] {
                 pugi::xml_document document;
                 if (!document.load_file(path.c_str()))
                     throw std::runtime_error("the file cannot be parsed");
                 benchmark::DoNotOptimize(document);
             });
}
BENCHMARK(ReadBesideBareParse)->UseManualTime()->Unit(benchmark::kMicrosecond);

void FlushToDisk(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0 || fsync(file) != 0)
        throw std::runtime_error("the file cannot be flushed");
    close(file);
}

void WriteBesideBareSave(benchmark::State& state, bool isSafe)
{
    const Workplace place;
    SYC::CachedProjectInfo info = place.MakeCache(1);
    IO::Location file;
    info.GetCacheInfoFileLocation(file);
    pugi::xml_document document;
    if (!document.load_file(file.ToNativePath().c_str()))
        throw std::runtime_error("the file cannot be parsed");
    const std::string folder = info.GetCacheFolderLocation().ToNativePath();
    const std::string target = folder + "/bare.xml";
    const std::string written = isSafe ? target + ".new" : target;
    Beside(state, "writing a cache",
           isSafe ? "pugixml saves it, flushed and renamed" : "pugixml saves it in place")
        .Run([&] { info.WriteToDisc(); },
             [&] {
                 if (!document.save_file(written.c_str()))
                     throw std::runtime_error("the file cannot be saved");
                 if (!isSafe)
                     return;
                 FlushToDisk(written);
                 std::filesystem::rename(written, target);
                 FlushToDisk(folder);
             });
}

void WriteBesideBareSaveWithTheSameSafety(benchmark::State& state)
{
    WriteBesideBareSave(state, true);
}
BENCHMARK(WriteBesideBareSaveWithTheSameSafety)->UseManualTime()->Unit(benchmark::kMicrosecond);

void WriteBesideBareSaveInPlace(benchmark::State& state)
{
    WriteBesideBareSave(state, false);
}
BENCHMARK(WriteBesideBareSaveInPlace)->UseManualTime()->Unit(benchmark::kMicrosecond);

/// Opens many caches and keeps them, as a registry does.
void OpenCaches(benchmark::State& state)
{
    const Workplace place;
    const auto count = static_cast<std::size_t>(state.range(0));
    std::vector<IO::Location> folders;
    for (std::size_t i = 0; i < count; ++i)
        folders.push_back(place.MakeCache(static_cast<int>(i)).GetCacheFolderLocation());
    double bytes = 0;
    double time = 0;
    for (auto _ : state) {
        std::vector<std::unique_ptr<SYC::CachedProjectInfo>> caches;
        caches.reserve(count);
        const auto before = mallinfo2().uordblks;
        const auto start = Beside::Clock::now();
        {
            for (const IO::Location& folder : folders)
                caches.push_back(std::make_unique<SYC::CachedProjectInfo>(folder));
        }
        time = Beside::Microseconds(Beside::Clock::now() - start);
        bytes = static_cast<double>(mallinfo2().uordblks - before);
    }
    state.counters["us_each"] = time / static_cast<double>(count);
    state.counters["bytes_each"] = bytes / static_cast<double>(count);
}
BENCHMARK(OpenCaches)->Arg(100)->Arg(10000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
