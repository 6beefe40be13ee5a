#include "DataOptionsTest.hpp"

#include "Files/FileErrors.hpp"
#include "OVRoot/Exception.hpp"

#include <vector>

namespace {

namespace fs = std::filesystem;
namespace Core = Syncra::Server::ManagementTool::Core;

const std::string Schedule = "<Enable>true</Enable><PeriodTime>-2</PeriodTime>"
                             "<LastUsedDays>30</LastUsedDays><LastRunTime>1700000000</LastRunTime>";
const std::string Nested = "<CleanSchedule>" + Schedule + "</CleanSchedule>";

std::string OptionsDocument(const std::string& values, int version = 1)
{
    return "<SYDataOptions><DataVersion>" + std::to_string(version) + "</DataVersion>" + values +
           "</SYDataOptions>";
}

struct FolderObserver : SYC::SYDataOptionsObserver {
    FolderObserver() { Attach(); }
    ~FolderObserver() override { Detach(); }
    void SYDataFolderChanged() override
    {
        seen.push_back(SYC::registeredProjects().GetSYDataFolder().ToPath());
    }
    std::vector<OV::UniString> seen;
};

TEST_F(DataOptionsTest, ReadsEveryFormOfTheFile)
{
    const std::string path = "<LocalDataFolderPath>/new</LocalDataFolderPath>";
    const std::string old = "<LocalDataFolder>/old</LocalDataFolder>";
    const auto host = HostFolder().ToPath();
    const struct {
        std::string text;
        OV::UniString folder;
        /// What is for others, and stays when this client writes.
        std::string kept;
    } cases[] = {
        {OptionsDocument(path + old + Nested), u"/new", "<DataVersion>1<"},
        {OptionsDocument(path + Nested), u"/new", ">/new</LocalDataFolder>"},
        {OptionsDocument(old + Nested), u"/old", ">/old</LocalDataFolderPath>"},
        {OptionsDocument(old + Schedule), u"/old", "</CleanSchedule>"},
        {OptionsDocument("<LocalDataFolder></LocalDataFolder>" + Nested), host,
         OV::ToUtf8(host) + "</LocalDataFolder>"},
        {OptionsDocument("<LocalDataFolder>C:\\Data</LocalDataFolder>" + Nested), host,
         "  <LocalDataFolderPath>C:\\Data</LocalDataFolderPath>\n"
         "  <LocalDataFolder>C:\\Data</LocalDataFolder>\n"},
        {OptionsDocument(path + old + Nested + "<Later> x</Later>", 2), u"/new",
         "  <DataVersion>2</DataVersion>\n  <LocalDataFolderPath>/new</LocalDataFolderPath>\n"},
        {OptionsDocument(path + old + Nested + "<Later> x</Later>", 2), u"/new",
         "  </CleanSchedule>\n  <Later> x</Later>\n</SYDataOptions>"},
        {OptionsDocument(path + old + "<CleanSchedule>" + Schedule + "<Later/></CleanSchedule>", 9),
         u"/new", "</LastRunTime>\n    <Later/>\n  </CleanSchedule>"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text);
        Registry::Init(HostFolder());
        WriteFile(each.text);
        registry.RefreshData(false);
        EXPECT_EQ(registry.GetSYDataFolder().ToPath(), each.folder);
        EXPECT_TRUE(registry.GetEnableAutoClean());
        EXPECT_EQ(registry.GetPeriodTime(), -2);
        EXPECT_EQ(registry.GetLastUsedDays(), 30);
        EXPECT_EQ(registry.GetLastRunTime(), 1'700'000'000);
        EXPECT_EQ(ReadFile(), each.text) << "reading writes nothing";
        registry.SetPeriodTime(-3);
        EXPECT_NE(ReadFile().find("<PeriodTime>-3<"), std::string::npos);
        EXPECT_NE(ReadFile().find(each.kept), std::string::npos) << ReadFile();
    }
}

TEST_F(DataOptionsTest, ADamagedFileIsNamedAndChangesNothing)
{
    registry.SetPeriodTime(7);
    for (const std::string& text :
         {std::string(), std::string("<Other/>"), OptionsDocument(""),
          OptionsDocument("<LocalDataFolder>/x"),
          OptionsDocument("<LocalDataFolder>/x</LocalDataFolder>"),
          OptionsDocument("<LocalDataFolder>/x</LocalDataFolder><CleanSchedule/>"),
          OptionsDocument("<LocalDataFolder>/x</LocalDataFolder>" + Nested + "<Later/>")}) {
        SCOPED_TRACE(text);
        WriteFile(text);
        try {
            registry.SetLastRunTime(1);
            ADD_FAILURE() << "was read";
        } catch (const Core::ErrorReadingFile& error) {
            EXPECT_EQ(error.GetLocation(), registry.GetOptionsFileLocation());
            const std::string message = error.what(), name = "SYDataOptions.xml";
            EXPECT_EQ(message.find(name), message.rfind(name)) << message;
            EXPECT_NE(message.find("delete it"), std::string::npos) << message;
        }
        EXPECT_EQ(ReadFile(), text);
        EXPECT_EQ(registry.GetPeriodTime(), 7);
        EXPECT_EQ(registry.GetSYDataFolder(), HostFolder());
        EXPECT_FALSE(fs::exists(LockFile()));
    }
}

TEST_F(DataOptionsTest, WritesAllValuesOnceWhenTheOutermostGuardEnds)
{
    EXPECT_EQ(registry.GetSYDataFolder(), HostFolder());
    registry.RefreshData(false);
    ASSERT_TRUE(fs::exists(File())) << "a file that is missing is made, with its folder";
    const std::string before = ReadFile();
    {
        const Synchronizer outer;
        {
            const Synchronizer inner;
            registry.SetSYDataFolder(IO::Location::FromPath(u"/srv/\u4e2d"), true);
            registry.SetEnableAutoClean(true);
            registry.SetPeriodTime(7);
            registry.SetLastUsedDays(-30);
            registry.SetLastRunTime(1'764'028'800);
        }
        EXPECT_TRUE(Synchronizer::IsLocked());
        EXPECT_FALSE(Synchronizer::IsLockedByOthers()) << "it is ours";
        EXPECT_EQ(ReadFile(), before);
    }
    EXPECT_FALSE(fs::exists(LockFile()));
    EXPECT_EQ(ReadFile(), "<?xml version=\"1.0\"?>\n"
                          "<SYDataOptions>\n"
                          "  <DataVersion>1</DataVersion>\n"
                          "  <LocalDataFolderPath>/srv/\xe4\xb8\xad</LocalDataFolderPath>\n"
                          "  <LocalDataFolder>/srv/\xe4\xb8\xad</LocalDataFolder>\n"
                          "  <CleanSchedule>\n"
                          "    <Enable>true</Enable>\n"
                          "    <PeriodTime>7</PeriodTime>\n"
                          "    <LastUsedDays>-30</LastUsedDays>\n"
                          "    <LastRunTime>1764028800</LastRunTime>\n"
                          "  </CleanSchedule>\n"
                          "</SYDataOptions>\n");
    const auto written = fs::last_write_time(File());
    registry.SetPeriodTime(7);
    EXPECT_EQ(fs::last_write_time(File()), written) << "nothing changed";
}

TEST_F(DataOptionsTest, ResetWritesAndEndsAllGuards)
{
    Synchronizer outer;
    {
        const Synchronizer inner;
        registry.SetPeriodTime(3);
        Synchronizer::Reset();
        EXPECT_FALSE(Synchronizer::IsLocked());
        EXPECT_NE(ReadFile().find("<PeriodTime>3<"), std::string::npos);
        const Synchronizer next;
        EXPECT_TRUE(Synchronizer::IsLocked());
    }
    ASSERT_TRUE(Synchronizer::WaitForLock());
    registry.SetPeriodTime(4);
    {
        const Synchronizer guard;
        registry.SetLastUsedDays(5);
    }
    EXPECT_TRUE(Synchronizer::IsLocked()) << "setters and guards do not end it";
    EXPECT_EQ(ReadFile().find("<PeriodTime>4<"), std::string::npos);
    Synchronizer::RemoveLock();
    EXPECT_FALSE(Synchronizer::IsLocked());
    EXPECT_NE(ReadFile().find("<PeriodTime>4</PeriodTime>\n    <LastUsedDays>5<"),
              std::string::npos);

    // The lock of a guard that was open does not become another process's.
    const Synchronizer open;
    registry.SetPeriodTime(6);
    Registry::Init(HostFolder());
    EXPECT_FALSE(Synchronizer::IsLockedByOthers());
    registry.SetLastUsedDays(7);
    EXPECT_NE(ReadFile().find("<PeriodTime>6</PeriodTime>\n    <LastUsedDays>7<"),
              std::string::npos);
}

TEST_F(DataOptionsTest, ObserversHearOfEachNewFolderOnce)
{
    const FolderObserver observer;
    registry.RefreshData(false);
    registry.SetSYDataFolder(IO::Location::FromPath(u"/a"), true);
    registry.SetSYDataFolder(IO::Location::FromPath(u"/a"), true);
    WriteFile(OptionsDocument("<LocalDataFolder>/from another process</LocalDataFolder>" + Nested));
    registry.RefreshData(false);
    registry.RefreshData(false);
    // One that is not saved stays until there is another, and goes into no file.
    registry.SetSYDataFolder(IO::Location::FromPath(u"/unsaved"), false);
    registry.SetLastRunTime(5);
    WriteFile(ReadFile() + "\n");
    registry.RefreshData(false);
    EXPECT_EQ(registry.GetSYDataFolder().ToPath(), u"/unsaved");
    EXPECT_EQ(ReadFile().find("unsaved"), std::string::npos);
    {
        const Synchronizer guard;
        registry.SetSYDataFolder(IO::Location::FromPath(u"/b"), true);
        EXPECT_EQ(observer.seen.back(), u"/unsaved") << "the lock is held";
    }
    EXPECT_EQ(observer.seen,
              (std::vector<OV::UniString>{u"/a", u"/from another process", u"/unsaved", u"/b"}));
    for (const auto& folder : {IO::Location(), IO::Location::FromPath(u"relative"),
                               IO::Location::FromUrlText(u"http://a/b")})
        EXPECT_THROW(registry.SetSYDataFolder(folder, true), OV::IllegalArgumentException);
}

TEST_F(DataOptionsTest, WhatCannotBeWrittenIsShownAndWrittenLater)
{
    AlertRecorder alerts;
    alerts.fails = true;
    // A window that is still drawn behind the alert asks for such things.
    alerts.meanwhile = [] {
        EXPECT_FALSE(Synchronizer::IsLockedByOthers() || Synchronizer::IsLocked());
    };
    registry.RefreshData(false);
    {
        const Synchronizer guard;
        registry.SetPeriodTime(6);
        fs::remove(File());
        fs::create_directory(File());
    }
    ASSERT_EQ(alerts.shown.size(), 1u);
    EXPECT_EQ(alerts.shown[0].number, 31036);
    EXPECT_TRUE(registry.HasUnwrittenOptions());
    fs::remove(File());
    registry.SetLastUsedDays(8);
    EXPECT_FALSE(registry.HasUnwrittenOptions());
    EXPECT_NE(ReadFile().find("<PeriodTime>6</PeriodTime>\n    <LastUsedDays>8<"),
              std::string::npos)
        << ReadFile();
}

TEST_F(DataOptionsTest, WithoutALockFileNothingIsWrittenAndTheUserHearsOnce)
{
    const AlertRecorder alerts;
    registry.RefreshData(false);
    const std::string before = ReadFile();
    fs::create_directory(LockFile());
    EXPECT_FALSE(Synchronizer::WaitForLock());
    {
        const Synchronizer nothingIsSet;
    }
    EXPECT_TRUE(alerts.shown.empty());
    registry.SetPeriodTime(6);
    {
        const Synchronizer nothingMoreIsSet;
    }
    ASSERT_EQ(alerts.shown.size(), 1u);
    EXPECT_NE(alerts.shown[0].message.find(u"@DataOptions.Lock"), OV::UniString::npos);
    EXPECT_EQ(ReadFile(), before);
    fs::remove(LockFile());
    {
        const Synchronizer nowItCan;
    }
    EXPECT_NE(ReadFile().find("<PeriodTime>6<"), std::string::npos);

    // A default file that cannot be made is no news for the user either.
    Registry::Init(HostFolder());
    fs::remove(File());
    fs::create_symlink("none/none", File());
    registry.RefreshData(false);
    EXPECT_EQ(alerts.shown.size(), 1u);
}

}  // namespace
