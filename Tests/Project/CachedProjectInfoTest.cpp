#include "ProjectTest.hpp"

#include "CachedProjectInfoObserver.hpp"
#include "Files/FileErrors.hpp"
#include "IO/Folder.hpp"

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using SYC::CachedProjectInfo;
using SYC::Inner::ProjectConnectionInfo;

const ProjectConnectionInfo TheConnection{u"nexar", 8080, u"Bridge", u"me", u"secret"};

class CountingObserver : public SYC::CachedProjectInfoObserver {
public:
    CountingObserver() { Attach(); }
    void ContentWrittenToDisc(const CachedProjectInfo& info) override
    {
        ++count;
        last = &info;
    }

    int count = 0;
    const CachedProjectInfo* last = nullptr;
};

class CachedProjectInfoTest : public ProjectTest {};

TEST_F(CachedProjectInfoTest, EverySetterWritesOnceAndOnlyOnAChange)
{
    const std::pair<const char*, void (*)(CachedProjectInfo&)> setters[] = {
        {"user name", [](CachedProjectInfo& i) { i.SetUserName(u"x"); }},
        {"user id", [](CachedProjectInfo& i) { i.SetUserId(u"x"); }},
        {"session id", [](CachedProjectInfo& i) { i.SetSessionId(u"x"); }},
        {"project id", [](CachedProjectInfo& i) { i.SetProjectId(u"x"); }},
        {"logon id", [](CachedProjectInfo& i) { i.SetLogonId(1); }},
        {"role name", [](CachedProjectInfo& i) { i.SetRoleName(u"x"); }},
        {"unsent", [](CachedProjectInfo& i) { i.SetUnsentChanges(true); }},
        {"offline", [](CachedProjectInfo& i) { i.SetProjectForcedOffline(true); }},
        {"category", [](CachedProjectInfo& i) { i.SetCategoryName(u"x"); }},
        {"colours", [](CachedProjectInfo& i) { i.SetUserColorListString(u"x"); }},
        {"colour mode", [](CachedProjectInfo& i) { i.SetColorMode(1); }},
        {"open time", [](CachedProjectInfo& i) { i.SetLastOpenProjectTime(1); }},
        {"travel time", [](CachedProjectInfo& i) { i.SetTravelPackageCreationTime(1); }},
        {"travel", [](CachedProjectInfo& i) { i.SetTravelPackageCreated(true); }},
        {"extracted", [](CachedProjectInfo& i) { i.SetExtractedFromTravelPackage(true); }},
        {"warning", [](CachedProjectInfo& i) { i.EnableTravelPackageWarningAtClose(true); }},
        {"version", [](CachedProjectInfo& i) { i.SetProjectVersion(u"x"); }},
        {"build", [](CachedProjectInfo& i) { i.SetProjectBuildNum(1); }},
        {"permissions", [](CachedProjectInfo& i) { i.SetPermissions({u"x"}); }},
        {"detached", [](CachedProjectInfo& i) { i.ProjectDetached(); }},
    };
    CachedProjectInfo info(TheConnection, Folder());
    CachedProjectInfo bracketed(TheConnection, Folder());
    CountingObserver observer;
    std::string former = ReadCacheInfo(info.GetCacheFolderLocation());
    for (const auto& [name, set] : setters) {
        observer.count = 0;
        set(info);
        set(info);
        EXPECT_EQ(observer.count, 1) << name;
        EXPECT_EQ(observer.last, &info);
        const std::string written = ReadCacheInfo(info.GetCacheFolderLocation());
        EXPECT_NE(written, former) << name;
        former = written;
    }

    observer.count = 0;
    bracketed.BeginUpdate();
    bracketed.BeginUpdate();
    for (const auto& setter : setters)
        setter.second(bracketed);
    EXPECT_EQ(observer.count, 0);
    bracketed.EndUpdate();
    EXPECT_EQ(observer.count, 1);
    EXPECT_EQ(ReadCacheInfo(bracketed.GetCacheFolderLocation()), former);
    bracketed.EndUpdate();
    bracketed.BeginUpdate();
    bracketed.EndUpdate();
    EXPECT_EQ(observer.count, 1);

    observer.Detach();
    info.SetLogonId(2);
    EXPECT_EQ(observer.count, 1);
}

TEST_F(CachedProjectInfoTest, AConnectionChangesByWhatTheFileHolds)
{
    CachedProjectInfo info(TheConnection, Folder());
    CountingObserver observer;
    ProjectConnectionInfo changed = TheConnection;
    changed.serverName = u"NEXAR";
    changed.password = u"other";
    EXPECT_FALSE(info.SetProjectConnectionInfo(changed));
    EXPECT_EQ(info.GetServerName(), u"nexar");
    EXPECT_EQ(info.GetPassword(), u"other");
    EXPECT_EQ(observer.count, 0);

    changed = {u"nexar2", 8081, u"bridge", u"ME", u"other"};
    EXPECT_TRUE(info.SetProjectConnectionInfo(changed));
    EXPECT_EQ(observer.count, 1);
    ProjectConnectionInfo read;
    info.GetProjectConnectionInfo(read);
    EXPECT_EQ(read, changed);
}

TEST_F(CachedProjectInfoTest, ForcedWritesAndReadsKeepABracketOpen)
{
    CachedProjectInfo info(TheConnection, Folder());
    CachedProjectInfo other(info.GetCacheFolderLocation());
    CountingObserver observer;
    info.BeginUpdate();
    info.SetRoleName(u"pending");
    info.ReadFromDisc(true);
    EXPECT_EQ(observer.count, 1);
    EXPECT_EQ(info.GetRoleName(), u"pending");
    info.SetLogonId(1);
    info.WriteToDisc();
    EXPECT_EQ(observer.count, 2);

    // Nothing is pending now: what another process wrote must win over the open bracket.
    other.Refresh();
    other.SetRoleName(u"theirs");
    info.ReadFromDisc(true);
    EXPECT_EQ(info.GetRoleName(), u"theirs");
    EXPECT_EQ(observer.count, 3);
    info.SetLogonId(2);
    EXPECT_EQ(observer.count, 3);
    info.EndUpdate();
    EXPECT_EQ(observer.count, 4);
}

TEST_F(CachedProjectInfoTest, NobodysChangeIsUndoneByTheNextWriteOfAnother)
{
    CachedProjectInfo info(TheConnection, Folder());
    const IO::Location folder = info.GetCacheFolderLocation();
    CachedProjectInfo other(folder);
    CachedProjectInfo whole(folder);
    other.SetRoleName(u"theirs");
    info.SetUserId(u"mine");
    EXPECT_EQ(info.GetRoleName(), u"theirs");
    // In a bracket, from its begin and to its end.
    other.SetCategoryName(u"before");
    info.BeginUpdate();
    EXPECT_EQ(info.GetCategoryName(), u"before");
    info.SetSessionId(u"bracket");
    info.SetPermissions({u"mine"});
    other.SetPermissions({u"theirs"});
    other.SetLogonId(7);
    info.EndUpdate();
    // What this one still holds for the value, another one changed since.
    whole.SetRoleName(u"");
    info.SetRoleName(u"theirs");
    whole.WriteToDisc();
    EXPECT_TRUE(info.SetProjectConnectionInfo({u"nexar", 8080, u"Tower", u"me", u""}));

    const CachedProjectInfo read(folder);
    EXPECT_EQ(read.GetUserId(), u"mine");
    EXPECT_EQ(read.GetSessionId(), u"bracket");
    EXPECT_EQ(read.GetPermissions(), OV::HashSet<OV::UniString>{u"mine"});
    EXPECT_EQ(read.GetLogonId(), 7);
    EXPECT_EQ(read.GetCategoryName(), u"before");
    EXPECT_EQ(read.GetRoleName(), u"theirs");
    EXPECT_EQ(read.GetProjectName(), u"Tower");

    // A cache that another process removed does not come back.
    AlertRecorder alerts;
    IO::Folder::DeleteTree(folder);
    info.SetUserId(u"late");
    EXPECT_FALSE(IO::Folder::Exists(folder));
    EXPECT_EQ(alerts.shown.size(), 1u);
}

TEST_F(CachedProjectInfoTest, RefreshSeesEveryForeignWriteAndSurvivesEveryError)
{
    CachedProjectInfo info(TheConnection, Folder());
    const IO::Location folder = info.GetCacheFolderLocation();
    CachedProjectInfo copy(info);
    // Many within one second: the 32-bit time alone would miss them.
    for (int i = 1; i <= 20; ++i) {
        copy.SetProjectBuildNum(i);
        info.Refresh();
        ASSERT_EQ(info.GetProjectBuildNum(), i);
        EXPECT_EQ(info.GetModificationTime(), copy.GetModificationTime());
    }
    EXPECT_EQ(info.GetPassword(), u"secret");

    WriteCacheInfo(folder, "<Cache>");
    info.Refresh();
    IO::Folder::DeleteTree(folder);
    info.Refresh();
    EXPECT_EQ(info.GetProjectBuildNum(), 20);
    EXPECT_FALSE(CachedProjectInfo::CachedProjectInfoExist(folder));
    EXPECT_EQ(info.GetSpace_Mbyte(), 0u);
    EXPECT_THROW(CachedProjectInfo{folder},
                 Syncra::Server::ManagementTool::Core::FileOpenningError);
}

TEST_F(CachedProjectInfoTest, AFailedWriteIsAnAlertAndLosesNothingInMemory)
{
    CachedProjectInfo info(TheConnection, Folder());
    const IO::Location folder = info.GetCacheFolderLocation();
    const OV::UniString path = folder.Appended(u"CacheInfo.xml").ToPath();
    const std::string former = ReadCacheInfo(folder);
    AlertRecorder alerts;
    CountingObserver observer;

    // No disk left, as far as this process can tell.
    struct rlimit limit {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const struct rlimit none {
        10, limit.rlim_max
    };
    setrlimit(RLIMIT_FSIZE, &none);
    info.SetUserId(u"u-1");
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(ReadCacheInfo(folder), former);
    CachedProjectInfo(folder).SetLogonId(5);
    info.Refresh();
    EXPECT_EQ(info.GetLogonId(), 5);
    EXPECT_EQ(info.GetUserId(), u"u-1") << "waits for the next write";

    // A file stands where the folder should be.
    IO::Folder::DeleteTree(folder);
    IO::File::Replace(folder, "");
    info.BeginUpdate();
    info.SetUserName(u"Me");
    info.EndUpdate();
    info.EndUpdate();

    // What stands where the file should be is no file.
    const std::string file = folder.ToNativePath() + "/CacheInfo.xml";
    IO::File::Delete(folder);
    IO::Folder::CreateTree(folder.Appended(u"CacheInfo.xml"));
    info.WriteToDisc();
    rmdir(file.c_str());
    ASSERT_EQ(symlink("CacheInfo.xml", file.c_str()), 0);
    info.WriteToDisc();
    unlink(file.c_str());
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    alerts.fails = true;
    info.WriteToDisc();

    ASSERT_EQ(alerts.shown.size(), 5u);
    EXPECT_EQ(alerts.shown[0].number, 31037);
    EXPECT_EQ(alerts.shown[0].title, u"Cache File Writing Error");
    EXPECT_EQ(alerts.shown[0].message, u"Error occurred while writing the file: " + path);
    EXPECT_EQ(alerts.shown[1].number, 31036);
    EXPECT_EQ(alerts.shown[1].title, u"Cache File Opening Error");
    EXPECT_EQ(alerts.shown[1].message, u"Error occurred while opening the file: " + path);
    EXPECT_EQ(alerts.shown[1].buttons, std::vector<OV::UniString>{u"OK"});
    for (std::size_t i = 2; i < alerts.shown.size(); ++i)
        EXPECT_EQ(alerts.shown[i].number, 31036) << i;
    EXPECT_EQ(observer.count, 6) << "the other image's included";
    EXPECT_EQ(info.GetUserId(), u"u-1");

    EXPECT_TRUE(info.HasUnwrittenValues());
    info.SetCacheFolder(Folder());
    EXPECT_FALSE(info.HasUnwrittenValues());
    EXPECT_EQ(alerts.shown.size(), 5u);
    EXPECT_EQ(CachedProjectInfo(Folder()).GetUserName(), u"Me");
}

TEST_F(CachedProjectInfoTest, FolderNamesAreSafeCutAndUnused)
{
    const OV::UniString high(1, u'\xd83d');
    const struct {
        ProjectConnectionInfo info;
        OV::UniString name;
    } cases[] = {
        {TheConnection, u"nexar_Bridge_me"},
        {{u"..", 1, u"a/b\\c", OV::UniString(u"\0:*", 3), u""}, u".._a_b_c____"},
        {{u"", 1, u"", u"", u""}, u"__"},
        {{u"s", 1, u"p", OV::UniString(200, u'l'), u""}, u"s_p_" + OV::UniString(124, u'l')},
        // The cut falls into a pair: no half of it is left.
        {{u"s", 1, u"p", OV::UniString(123, u'l') + u"\xd83d\xde00", u""},
         u"s_p_" + OV::UniString(123, u'l')},
        // 128 of these would be 384 bytes: more than a file system takes.
        {{u"s", 1, u"p", OV::UniString(200, u'\x4e2d'), u""},
         u"s_p_" + OV::UniString(78, u'\x4e2d')},
    };
    for (const auto& c : cases) {
        const CachedProjectInfo info(c.info, Folder());
        EXPECT_EQ(info.GetLocalFolderName(), c.name);
        EXPECT_EQ(info.GetCacheFolderLocation().Parent(), Folder());
        const CachedProjectInfo second(c.info, Folder());
        EXPECT_EQ(second.GetLocalFolderName(), c.name + u" 2");
        IO::Folder::Enumerate(info.GetCacheFolderLocation(), [](const IO::Folder::Entry& entry) {
            EXPECT_EQ(entry.name, u"CacheInfo.xml");
            return true;
        });
    }

    // A folder that is no cache is taken over, a file of that name is left alone.
    const IO::Location parent = Folder().Appended(u"deep").Appended(u"er");
    IO::Folder::CreateTree(parent.Appended(u"nexar_Bridge_me"));
    EXPECT_EQ(CachedProjectInfo(TheConnection, parent).GetLocalFolderName(), u"nexar_Bridge_me");
    IO::File::Replace(parent.Appended(u"a_b_c"), "mine");
    EXPECT_EQ(CachedProjectInfo({u"a", 1, u"b", u"c", u""}, parent).GetLocalFolderName(),
              u"a_b_c 2");
    EXPECT_EQ(IO::File::ReadAll(parent.Appended(u"a_b_c")), "mine");
    // One that cannot be looked into may be somebody's.
    const auto closed = parent.Appended(u"x_y_z");
    IO::Folder::CreateTree(closed);
    ASSERT_EQ(symlink("CacheInfo.xml", (closed.ToNativePath() + "/CacheInfo.xml").c_str()), 0);
    EXPECT_EQ(CachedProjectInfo({u"x", 1, u"y", u"z", u""}, parent).GetLocalFolderName(),
              u"x_y_z 2");
}

}  // namespace
