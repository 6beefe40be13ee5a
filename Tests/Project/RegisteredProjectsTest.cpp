#include "DataOptionsTest.hpp"
#include "Failure.hpp"

#include "Cache/Detail/CacheFolders.hpp"
#include "CleanUp.hpp"
#include "ClientProjectConnectionManager.hpp"
#include "Files/FileErrors.hpp"
#include "IO/ExclusiveFile.hpp"
#include "IO/IOException.hpp"
#include "OVRoot/Exception.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/LogCapture.hpp"
#include "Support/Pipe.hpp"
#include "SyncraURL.hpp"

#include <fcntl.h>
#include <functional>
#include <map>
#include <sys/stat.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using SYC::CachedProjectInfo;
using SYC::Inner::ProjectConnectionInfo;

class RegisteredProjectsTest : public DataOptionsTest {
protected:
    [[nodiscard]] CachedProjectInfo Make(const OV::UniString& project,
                                         const OV::UniString& user = u"me",
                                         const OV::UniString& server = u"nexar") const
    {
        return {ProjectConnectionInfo{server, 8080, project, user, u""}, HostFolder()};
    }
    static IO::Location Url(const OV::UniString& project, const OV::UniString& user = u"me",
                            const OV::UniString& server = u"nexar", std::uint16_t port = 8080)
    {
        return SYC::ToSyncraLocation({server, port, project, user, u""});
    }
    [[nodiscard]] OV::Array<Registry::CacheInfoRecord> Records() const
    {
        OV::Array<Registry::CacheInfoRecord> records;
        registry.SearchCaches(HostFolder(), records);
        return records;
    }
    /// Project and folder names, with "!" for a cache that cannot be read.
    [[nodiscard]] std::vector<OV::UniString> Names() const
    {
        std::vector<OV::UniString> names;
        for (const auto& record : Records())
            names.push_back(record.info ? record.info->GetProjectName() : u"!");
        return names;
    }
    [[nodiscard]] OV::UniString FolderOf(const IO::Location& project, bool look = false)
    {
        const auto info = registry.GetCacheInfo(project, look);
        return info ? info->GetLocalFolderName() : OV::UniString();
    }
    [[nodiscard]] static fs::path Descriptor(const CachedProjectInfo& cache)
    {
        IO::Location file;
        cache.GetCacheInfoFileLocation(file);
        return file.ToNativePath();
    }
    /// As another process writes: nothing of this one is told.
    static void EditFile(const fs::path& file, const std::string& from, const std::string& to)
    {
        std::string text = ReadBytes(file);
        const auto at = text.find(from);
        ASSERT_NE(at, std::string::npos);
        WriteBytes(file, text.replace(at, from.size(), to));
    }
};

using Names = std::vector<OV::UniString>;

TEST_F(RegisteredProjectsTest, FollowsTheDiskAndReadsOnlyWhatChanged)
{
    const auto bridge = Make(u"Bridge");
    const auto tower = Make(u"Tower");
    const auto mill = Make(u"Mill");
    fs::create_directories(fs::path(HostFolder().ToNativePath()) / "no cache");
    std::ofstream(fs::path(HostFolder().ToNativePath()) / "a file") << "x";
    registry.RefreshCaches(HostFolder());
    EXPECT_EQ(Names(), (::Names{u"Bridge", u"Mill", u"Tower"}));

    // The same stamp: such a file is not read again, so the registry keeps what it had.
    struct stat before {};
    ASSERT_EQ(stat(Descriptor(bridge).c_str(), &before), 0);
    EditFile(Descriptor(bridge), ">Bridge<", ">BRIDGE<");
    const timespec times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, Descriptor(bridge).c_str(), times, 0), 0);
    EditFile(Descriptor(tower), ">Tower<", ">Tower 2<");
    fs::remove_all(Descriptor(mill).parent_path());
    (void)Make(u"Arena");
    registry.RefreshCaches(HostFolder());
    EXPECT_EQ(Names(), (::Names{u"Arena", u"Bridge", u"Tower 2"}));

    // Whatever stands there costs only itself.
    const fs::path odd = Descriptor(tower);
    const struct {
        std::function<void()> make;
        const char16_t* last;
    } oddities[] = {
        {[&] { fs::resize_file(odd, std::uintmax_t{1} << 42); }, u"!"},
        {[&] { fs::remove(odd), mkfifo(odd.c_str(), 0600); }, u"!"},
        {[&] { fs::remove(odd), fs::create_symlink("/dev/zero", odd); }, u"!"},
        {[&] { fs::remove(odd), fs::create_symlink(odd, odd); }, u"Bridge"},
    };
    using Syncra::Server::ManagementTool::Core::FileOpenningError;
    for (const auto& [make, last] : oddities) {
        make();
        registry.RefreshCaches(HostFolder());
        EXPECT_EQ(Names().back(), last);
        // It may be the project's cache: there is no second one beside it.
        for (const auto& project : {Url(u"Tower"), tower.GetCacheFolderLocation()})
            EXPECT_THROW((void)registry.GetCachedProjectInfo(project), FileOpenningError);
        EXPECT_THROW((void)registry.CreateCachedProjectInfo(Url(u"Tower")), FileOpenningError);
    }
    fs::remove(odd);
    std::ofstream(odd) << "<Cache><DataVersion>x";
    registry.RefreshCaches(HostFolder());
    EXPECT_EQ(Names(), (::Names{u"Arena", u"Bridge", u"!"}));
    EXPECT_NE(Records().back().problem.find(u"CacheInfo.xml"), OV::UniString::npos);
    EXPECT_EQ(registry.GetCachedProjectInfo(Url(u"Tower")), nullptr) << "it was read, and is none";
    const LogCapture log;
    EXPECT_EQ(registry.CreateCachedProjectInfo(Url(u"Tower"))->GetLocalFolderName(),
              u"nexar_Tower_me 2");
    EXPECT_TRUE(log.Mentions("nexar_Tower_me\" cannot be read")) << "what is left behind there";
    fs::remove_all(HostFolder().ToNativePath());
    registry.RefreshCaches(HostFolder());
    EXPECT_EQ(registry.GetCacheDataFolderNum(), 0u);
}

TEST_F(RegisteredProjectsTest, FindsByFolderAndByUrl)
{
    const auto first = Make(u"Bridge"), second = Make(u"Bridge"), capital = Make(u"BRIDGE");
    (void)Make(u"Bridge", u"you");
    (void)Make(u"Bridge", u"me", u"other");
    const OV::UniString base = u"nexar_Bridge_me", upper = u"nexar_BRIDGE_me";
    const struct {
        IO::Location project;
        OV::UniString exact, anyCase;
    } cases[] = {
        {first.GetCacheFolderLocation(), base, base},
        {second.GetCacheFolderLocation(), base + u" 2", base + u" 2"},
        {Url(u"Bridge"), base, base},
        {Url(u"BRIDGE"), upper, upper},
        {Url(u"Bridge", u"me", u"NEXAR"), base, base},
        {Url(u"bridge"), u"", upper},
        {Url(u"Bridge", u"YOU"), u"", u"nexar_Bridge_you"},
        {Url(u"Bridge", u"me", u"other"), u"other_Bridge_me", u"other_Bridge_me"},
        {Url(u"Bridge", u"me", u"nexar", 8081), u"", u""},
        {Url(u"Nowhere"), u"", u""},
        {HostFolder(), u"", u""},
    };
    for (const bool registered : {false, true})
        for (const auto& [project, exact, anyCase] : cases) {
            SCOPED_TRACE(project.ToDisplayText().size());
            SCOPED_TRACE(OV::ToUtf8(project.ToDisplayText()));
            for (const bool look : {false, true}) {
                if (!registered)
                    registry.Clear();
                registry.SetCaseSensitiveSearch(true);
                EXPECT_EQ(FolderOf(project, look), exact);
                registry.SetCaseSensitiveSearch(false);
                EXPECT_EQ(FolderOf(project, look), anyCase);
            }
        }
    registry.SetCaseSensitiveSearch(true);
    registry.Clear();
    auto url = Url(u"BRIDGE");
    url.SetPassword(u"of another computer");
    EXPECT_EQ(FolderOf(url), upper);
    EXPECT_EQ(registry.GetCacheDataFolderNum(), 1u) << "found without reading the others";
    EXPECT_EQ(Names().size(), 5u) << "a list is never a part";
    EXPECT_THROW((void)registry.GetCacheInfo(IO::Location::FromUrlText(u"http://a/b"), true),
                 OV::IllegalArgumentException);
}

TEST_F(RegisteredProjectsTest, ALookFindsWhatOtherProcessesDidMeanwhile)
{
    registry.RegisterCaches(HostFolder());
    auto cache = Make(u"Bridge");
    const auto url = Url(u"Bridge");
    fs::rename(Descriptor(cache).parent_path(), HostFolder().ToNativePath() + "/moved");
    EXPECT_EQ(FolderOf(url), u"nexar_Bridge_me") << "as it was last known";
    EXPECT_EQ(FolderOf(url, true), u"moved");
    EXPECT_EQ(registry.GetCacheDataFolderNum(), 1u);
    fs::remove_all(HostFolder().ToNativePath() + "/moved");
    EXPECT_EQ(FolderOf(url, true), u"");
    EXPECT_EQ(registry.GetCachedProjectInfo(url), nullptr);
}

TEST_F(RegisteredProjectsTest, ListsProjectsByNameWithFilters)
{
    (void)Make(u"bridge 2", u"anna");
    (void)Make(u"Bridge", u"ben");
    (void)Make(u"Arena", u"anna", u"Zeta");
    const auto damaged = Make(u"Damaged");
    std::ofstream(Descriptor(damaged)) << "no XML";
    registry.RefreshCaches(HostFolder());
    const auto elsewhere = Folder().Appended(u"elsewhere");
    const struct {
        const char16_t *server, *user;
        OV::Array<IO::Location> folders;
        ::Names expected;
    } cases[] = {
        {u"", u"", {}, {u"Arena", u"Bridge", u"bridge 2"}},
        {u"NEXAR", u"", {HostFolder()}, {u"Bridge", u"bridge 2"}},
        {u"", u"anna", {elsewhere, HostFolder()}, {u"Arena", u"bridge 2"}},
        {u"zeta", u"anna", {}, {u"Arena"}},
        {u"", u"Anna", {}, {}},
        {u"", u"", {elsewhere}, {}},
    };
    for (const auto& each : cases) {
        OV::Array<SYC::RegisteredProject> projects;
        registry.FillProjects(projects, each.server, each.user, each.folders, Records());
        ::Names names;
        for (Registry::ProjectConstIterator at = projects.begin(); at != projects.end(); ++at)
            names.push_back(at->GetProjectName());
        EXPECT_EQ(names, each.expected);
    }
}

TEST_F(RegisteredProjectsTest, EveryWriteReachesItWithoutThePassword)
{
    registry.RegisterCaches(HostFolder());
    auto own = std::make_unique<CachedProjectInfo>(
        ProjectConnectionInfo{u"nexar", 8080, u"Bridge", u"me", u"s3cret"}, HostFolder());
    own->SetRoleName(u"Manager");
    const auto known = registry.GetCacheInfo(Url(u"Bridge"), false);
    ASSERT_TRUE(known);
    EXPECT_EQ(known->GetRoleName(), u"Manager");
    EXPECT_EQ(known->GetPassword(), u"");
    own->SetProjectConnectionInfo({u"nexar", 8080, u"Renamed", u"me", u"s3cret"});
    EXPECT_EQ(FolderOf(Url(u"Renamed")), u"nexar_Bridge_me");
    EXPECT_EQ(FolderOf(Url(u"Bridge")), u"");
    EXPECT_EQ(known->GetProjectName(), u"Bridge") << "what was handed out does not change";
    CachedProjectInfo elsewhere({u"nexar", 1, u"Else", u"me", u""}, Folder().Appended(u"other"));
    EXPECT_EQ(registry.GetCacheDataFolderNum(), 1u);
}

TEST_F(RegisteredProjectsTest, AllWhoChangeAProjectShareOneImage)
{
    const auto url = Url(u"Bridge");
    EXPECT_FALSE(registry.SetProjectVersion(url, u"1"));
    EXPECT_FALSE(registry.ProjectOpened(url));
    const auto image = registry.CreateCachedProjectInfo(url);
    EXPECT_EQ(registry.GetCachedProjectInfo(image->GetCacheFolderLocation()), image);
    image->SetProjectId(u"id");

    EXPECT_TRUE(registry.SetProjectVersion(url, u"15"));
    EXPECT_TRUE(registry.SetProjectBuildNum(url, 7));
    EXPECT_TRUE(registry.ProjectDetached(url));
    EXPECT_TRUE(registry.SetTravelPackageCreationTime(url, 9));
    EXPECT_TRUE(registry.SetTravelPackageCreated(url, true));
    EXPECT_TRUE(registry.SetExtractedFromTravelPackage(url, true));
    EXPECT_TRUE(registry.EnableTravelPackageWarningAtClose(url, true));
    EXPECT_TRUE(registry.ProjectOpened(url));
    // The image of whoever has the project open; a stale one would take all of it back.
    image->SetUserId(u"user");
    const auto expectAll = [&] {
        OV::UniString project, user;
        EXPECT_TRUE(registry.GetIDs(url, project, user));
        EXPECT_EQ(project + u"/" + user, u"id/user");
        EXPECT_EQ(registry.GetProjectVersion(url), u"15");
        EXPECT_EQ(registry.GetProjectBuildNum(url), 7);
        EXPECT_TRUE(registry.IsProjectDetached(url));
        EXPECT_EQ(registry.GetTravelPackageCreationTime(url), 9);
        EXPECT_TRUE(registry.IsTravelPackageCreated(url));
        EXPECT_TRUE(registry.ExtractedFromTravelPackage(url));
        EXPECT_TRUE(registry.IsEnabledTravelPackageWarningAtClose(url));
        EXPECT_GT(registry.GetLastOpenedTime(url), 1'600'000'000);
    };
    expectAll();
    registry.Clear();
    expectAll();

    // Whatever the registry forgets, the image that somebody holds is found again.
    const auto here = image->GetCacheFolderLocation();
    const auto path = here.ToNativePath();
    const auto folder = registry.GetSYDataFolder();
    const std::function<void()> oblivions[] = {
        [&] { registry.Clear(); },
        [&] { registry.SetSYDataFolder(Folder(), true), registry.SetSYDataFolder(folder, true); },
        [&] {
            fs::rename(path, path + " away");
            EXPECT_EQ(registry.GetCachedProjectInfo(here), nullptr);
            fs::rename(path + " away", path);
        },
        [&] { registry.RemoveProject(here), (void)registry.CreateCachedProjectInfo(url); },
    };
    for (const auto& forget : oblivions) {
        forget();
        EXPECT_EQ(registry.GetCachedProjectInfo(url), image);
    }
    EXPECT_EQ(image->GetUserId(), u"") << "the new cache's";
    CachedProjectInfo(here).SetRoleName(u"written by another");
    registry.RefreshCaches(folder);
    EXPECT_EQ(image->GetRoleName(), u"written by another");
    const auto moved = here.Parent().Appended(u"moved");
    fs::rename(path, moved.ToNativePath());
    image->SetCacheFolder(moved);
    EXPECT_EQ(registry.GetCachedProjectInfo(moved), image);
    EXPECT_EQ(registry.GetCachedProjectInfo(here), nullptr);
}

TEST_F(RegisteredProjectsTest, RemovesACacheWholeAndOnlyWhenNobodySetsItUp)
{
    auto cache = Make(u"Bridge");
    const auto folder = cache.GetCacheFolderLocation();
    const auto host = HostFolder().ToNativePath();
    fs::create_directories(folder.ToNativePath() + "/data/deep");
    std::ofstream(folder.ToNativePath() + "/data/deep/file") << "x";
    const auto stays = Make(u"Stays");
    const auto longest = HostFolder().Appended(OV::UniString(255, u'n'));
    fs::copy(Descriptor(cache).parent_path(), longest.ToNativePath());
    registry.RegisterCaches(HostFolder());
    {
        const SYC::CacheFolders::NewFolder half(HostFolder(), u"half");
        EXPECT_FALSE(registry.RemoveProject(half.GetLocation())) << "no cache yet";
        const auto hold = IO::ExclusiveFile::TryOpen(folder.Appended(u"@CacheInfo.Lock"));
        EXPECT_THROW(registry.RemoveProject(folder), IO::IOException);
    }
    fs::remove_all(host + "/half");
    EXPECT_TRUE(registry.RemoveProject(folder));
    EXPECT_FALSE(registry.RemoveProject(folder));
    EXPECT_TRUE(registry.RemoveProject(longest));
    EXPECT_EQ(Names(), ::Names{u"Stays"});
    const auto target = Descriptor(stays).parent_path();
    fs::create_directory_symlink(target, host + "/link");
    EXPECT_TRUE(registry.RemoveProject(HostFolder().Appended(u"link")));
    EXPECT_EQ(std::distance(fs::directory_iterator(host), {}), 1);
    EXPECT_EQ(std::distance(fs::directory_iterator(target), {}), 1) << "no lock file either";
}

TEST_F(RegisteredProjectsTest, DueCachesGoOnlyWhenNobodyHasThemOpenAndNothingWaits)
{
    constexpr std::int32_t now = 1'700'000'000, day = 24 * 60 * 60;
    registry.SetLastUsedDays(30);
    const auto make = [&](const OV::UniString& name, std::int32_t lastOpened) {
        auto cache = Make(name);
        cache.SetLastOpenProjectTime(lastOpened);
        return cache;
    };
    const auto idle = make(u"Idle", now - 31 * day).GetCacheFolderLocation();
    (void)make(u"New", now - 30 * day);
    auto withChanges = make(u"Changed", now - 31 * day);
    withChanges.SetUnsentChanges(true);
    const auto changed = withChanges.GetCacheFolderLocation();
    const auto mailed = make(u"Mailed", now - 31 * day).GetCacheFolderLocation();
    WriteBytes(mailed.Appended(u"Outbox.dat").ToNativePath(), "not an outbox");
    const auto open = make(u"Open", now - 31 * day).GetCacheFolderLocation();
    Pipe isOpen;
    ChildProcess other([&] {
        SYC::ClientProjectConnectionManager manager(Url(u"Open"), HostFolder(), {});
        (void)manager.GetCachedProjectInfo();
        isOpen.Tell();
        pause();
        return 0;
    });
    isOpen.Await();
    std::map<OV::UniString, bool> due;
    for (const auto& each : SYC::FindCachesToClean(now, HostFolder()))
        due[each.project.GetProjectName()] = each.MayGo();
    EXPECT_EQ(due,
              (std::map<OV::UniString, bool>{
                  {u"Changed", false}, {u"Idle", true}, {u"Mailed", false}, {u"Open", false}}));
    try {
        (void)registry.RemoveProject(open);
        ADD_FAILURE() << "a program has it open";
    } catch (const IO::IOException&) {
        EXPECT_EQ(SYC::DescribeException().kind, SYC::FailureKind::ObjectInUse);
    }
    EXPECT_EQ(Names().size(), 5u);
    other.Kill();
    EXPECT_FALSE(SYC::IsCacheInUse(open)) << "a dead process holds nothing";
    EXPECT_TRUE(registry.RemoveProject(open));
    EXPECT_TRUE(registry.RemoveProject(idle));
    for (const auto& each : {changed, mailed}) {
        EXPECT_THROW(registry.RemoveProject(each), SYC::UnsentWorkException);
        EXPECT_NE(registry.GetCachedProjectInfo(each), nullptr) << "as it was";
        EXPECT_TRUE(registry.RemoveProject(each, true));
    }
}

TEST_F(RegisteredProjectsTest, ARemovalThatEndsEarlyLeavesACacheToBeRemovedAgain)
{
    const auto folder = Make(u"Bridge").GetCacheFolderLocation();
    const auto host = HostFolder().ToNativePath();
    fs::create_directories(folder.ToNativePath() + "/closed/deep");
    for (const auto& each : {Folder().ToNativePath(), host, folder.ToNativePath()})
        fs::permissions(each, fs::perms::all);
    ChildProcess ordinary([&] {
        if (geteuid() == 0 ? seteuid(65534) != 0
                           : chmod((folder.ToNativePath() + "/closed").c_str(), 0500) != 0)
            return 1;
        registry.RegisterCaches(HostFolder());
        try {
            registry.RemoveProject(folder);
            return 2;
        } catch (const IO::IOException&) {
        }
        return registry.GetCacheInfo(folder, false) ? 3 : 0;
    });
    EXPECT_EQ(ordinary.Wait(), 0);
    const auto left = HostFolder().Appended(u"nexar_Bridge_me.removed");
    EXPECT_EQ(FolderOf(left), left.LastComponent());
    EXPECT_EQ(FolderOf(Url(u"Bridge"), true), u"") << "not to be opened";
    {
        const auto hold = IO::ExclusiveFile::TryOpen(left.Appended(u"@CacheInfo.Lock"));
        registry.RefreshCaches(HostFolder());
        EXPECT_EQ(Names(), ::Names{}) << "somebody is at it";
    }
    fs::permissions(left.ToNativePath() + "/closed", fs::perms::all);
    WriteBytes(left.Appended(u"Outbox.dat").ToNativePath(), "was to go");
    EXPECT_TRUE(registry.RemoveProject(left));
    EXPECT_TRUE(fs::is_empty(host));
}

TEST_F(RegisteredProjectsTest, ThreadsReadWhileOthersWriteAndRefresh)
{
    constexpr int Caches = 8;
    std::vector<CachedProjectInfo> caches;
    for (int i = 0; i < Caches; ++i)
        caches.push_back(Make(u"Project " + OV::ToText(i)));
    registry.RegisterCaches(HostFolder());
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 2; ++writer)
        threads.emplace_back([&, writer] {
            for (int round = 1; round <= 20; ++round)
                for (int i = writer; i < Caches; i += 2)
                    caches[static_cast<std::size_t>(i)].SetProjectBuildNum(round);
        });
    threads.emplace_back([&] {
        for (int round = 0; round < 30; ++round)
            registry.RefreshCaches(HostFolder());
    });
    for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(Records().size(), std::size_t(Caches));
        EXPECT_NE(FolderOf(Url(u"Project 3"), round % 2 == 0), u"");
    }
    for (auto& thread : threads)
        thread.join();
    registry.RefreshCaches(HostFolder());
    for (const auto& record : Records())
        EXPECT_EQ(record.info->GetProjectBuildNum(), 20);
}

}  // namespace
