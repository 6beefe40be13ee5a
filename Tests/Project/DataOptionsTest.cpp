#include "DataOptionsTest.hpp"

#include "ManagementTool/FileErrors.hpp"
#include "OVRoot/Exception.hpp"
#include "OVRoot/Resources.hpp"

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

class AlertCounter : public OV::AlertPresenter {
public:
    AlertCounter() { former_ = SetCurrent(this); }
    ~AlertCounter() override { SetCurrent(former_); }
    int Show(const OV::AlertResource& alert) override
    {
        numbers.push_back(alert.number);
        return 1;
    }
    std::vector<int> numbers;

private:
    OV::AlertPresenter* former_;
};

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
    } cases[] = {
        {OptionsDocument(path + old + Nested), u"/new"},
        {OptionsDocument(path + Nested), u"/new"},
        {OptionsDocument(old + Nested), u"/old"},
        {OptionsDocument(old + Schedule), u"/old"},
        {OptionsDocument("<LocalDataFolder></LocalDataFolder>" + Nested), host},
        {OptionsDocument(path + old + Nested + "<Later>x</Later>", 2), u"/new"},
        {OptionsDocument(path + old + "<CleanSchedule>" + Schedule + "<Later/></CleanSchedule>", 9),
         u"/new"},
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
    Synchronizer::RemoveLock();
    EXPECT_NE(ReadFile().find("<PeriodTime>4<"), std::string::npos);
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
    EXPECT_EQ(observer.seen, (std::vector<OV::UniString>{u"/a", u"/from another process"}));
    EXPECT_THROW(registry.SetSYDataFolder({}, true), OV::IllegalArgumentException);
}

TEST_F(DataOptionsTest, WhatCannotBeWrittenIsShownAndWrittenLater)
{
    const AlertCounter alerts;
    registry.RefreshData(false);
    {
        const Synchronizer guard;
        registry.SetPeriodTime(6);
        fs::remove(File());
        fs::create_directory(File());
    }
    EXPECT_EQ(alerts.numbers, std::vector<int>{31036});
    EXPECT_TRUE(registry.HasUnwrittenOptions());
    fs::remove(File());
    registry.SetLastUsedDays(8);
    EXPECT_FALSE(registry.HasUnwrittenOptions());
    EXPECT_NE(ReadFile().find("<PeriodTime>6</PeriodTime>\n    <LastUsedDays>8<"),
              std::string::npos)
        << ReadFile();
}

}  // namespace
