#include "SyncraInfoTest.hpp"

#include "Files/FileErrors.hpp"
#include "SYClientBase/ConnectionValidator.hpp"

#include <sys/stat.h>

namespace {

using namespace Syncra::Server::ManagementTool::Core;
namespace fs = std::filesystem;

std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

/// The last element of that name goes by another one.
std::string WithoutLast(std::string text, const std::string& element)
{
    text.insert(text.rfind("</" + element + ">") + 2, "x");
    return text.insert(text.rfind("<" + element + ">") + 1, "x");
}

TEST_F(SyncraInfoTest, AFileOfThisVersionIsReadAndWrittenToTheByte)
{
    const std::string golden = Golden("SyncraInfo_v2.xml");
    WriteBytes("SyncraInfo_v2.xml", golden);
    WriteBytes("SyncraInfo.xml", "not looked at beside the new one");
    SyncraInfo info;
    EXPECT_TRUE(info.GetMessageSetting());
    EXPECT_EQ(info.GetLastServerName(), u"nexar.example");
    EXPECT_EQ(info.GetLastUserName(), u"zo\u00eb");
    EXPECT_EQ(info.GetUserList(), (OV::Array<OV::UniString>{u"anna", u"idle", u"zo\u00eb"}));
    EXPECT_EQ(info.GetUserPassword(u"anna", u"NEXAR"), u"p\u00e4ss word");
    EXPECT_EQ(info.GetUserDefaultPassword(u"zo\u00eb"), u"R&amp;D");
    EXPECT_TRUE(info.GetServerList(u"idle").empty());

    fs::remove(Path("SyncraInfo_v2.xml"));
    info.SaveSyncraInfo();
    EXPECT_EQ(ReadBytes(Path("SyncraInfo_v2.xml")), golden);
    EXPECT_FALSE(IsLockFileThere());
    struct stat status {};
    ASSERT_EQ(stat(Path("SyncraInfo_v2.xml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(SyncraInfoTest, FilesOfThePreviousVersionAreConvertedOnce)
{
    auto& validator = SYCB::ConnectionValidator::GetInstance();
    WriteBytes("SyncraInfo.xml", Golden("SyncraInfo-1.xml"));
    {
        SyncraInfo info;
        EXPECT_FALSE(info.GetMessageSetting()) << "it came with version 2";
        EXPECT_EQ(info.GetLastServerName(), u"old.example");
        EXPECT_EQ(info.GetUserPassword(u"zo\u00eb", u"nexar"), u"\U0001F3D7");
        const SYCB::ServerConnectionInfo expected{u"old.example", 40000, {}, {}, 1300, 2};
        EXPECT_EQ(validator.GetWorkingConnectionForServer(u"old.example", 40000), expected);
        EXPECT_TRUE(validator.GetWorkingConnectionForServer(u"10.0.0.7", 19001).has_value());
        info.SetMessageSetting(true);
        info.SetLastServerName(u"nexar.example");
        info.SaveSyncraInfo();
    }
    EXPECT_EQ(ReadBytes(Path("SyncraInfo_v2.xml")), Golden("SyncraInfo_v2.xml"));
    EXPECT_EQ(ReadBytes(Path("SyncraInfo.xml")), Golden("SyncraInfo-1.xml"));

    fs::remove(Path("SyncraInfo_v2.xml"));
    WriteBytes("SyncraInfo.xml", Golden("SyncraInfo-2.xml"));
    EXPECT_TRUE(SyncraInfo().GetMessageSetting());
}

TEST_F(SyncraInfoTest, WhatCannotBeReadIsAnErrorThatNamesTheFileAndLeavesNoData)
{
    const std::string current = Golden("SyncraInfo_v2.xml");
    const std::string previous = Golden("SyncraInfo-1.xml");
    struct Case {
        const char* file;
        std::string bytes;
    };
    std::vector<Case> cases = {
        {"SyncraInfo_v2.xml", ""},
        {"SyncraInfo_v2.xml", current.substr(0, current.size() / 2)},
        {"SyncraInfo_v2.xml", Replaced(current, ">true<", ">yes<")},
        {"SyncraInfo_v2.xml", Replaced(current, "<DataVersion>1<", "<DataVersion>70000<")},
        {"SyncraInfo_v2.xml", Replaced(current, "</WebServers>", "</WebServers><More></More>")},
        {"SyncraInfo.xml", Replaced(previous, "<LastPort>-25536<", "<LastPort>40000<")},
        {"SyncraInfo.xml", Replaced(previous, "<DataVersion>1<", "<DataVersion>2<")},
        {"SyncraInfo.xml", Replaced(previous, "<Port>40000<", "<Port>-1<")},
        {"SyncraInfo.xml",
         Replaced(previous, "<WebServers>\n    <Size>2<", "<WebServers><Size>3<")},
    };
    for (const char* element :
         {"SyncraInfo", "DataVersion", "SYMessageSetting", "LastServerName", "LastUserName",
          "UserPasswordArray", "Item", "UserName", "DefaultPassword", "Password", "ServerName"})
        cases.push_back({"SyncraInfo_v2.xml", WithoutLast(current, element)});
    for (const char* size : {"4294967295", "2", "-1"})
        cases.push_back({"SyncraInfo_v2.xml",
                         Replaced(current, "<Size>3<", "<Size>" + std::string(size) + "<")});
    SyncraInfo info;
    int number = 0;
    for (const auto& each : cases) {
        SCOPED_TRACE(++number);
        WriteBytes(each.file, each.bytes);
        info.SetLastServerName(u"former");
        try {
            info.ReadFromDisc();
            ADD_FAILURE() << "it was read";
        } catch (const ErrorReadingFile& error) {
            EXPECT_EQ(OV::ToUtf8(error.GetLocation().LastComponent()), each.file);
        }
        EXPECT_EQ(info.GetUserNumber(), 0u);
        EXPECT_EQ(info.GetLastServerName(), u"");
        fs::remove(Path(each.file));
    }
    for (const char* file : {"SyncraInfo.xml", "SyncraInfo_v2.xml"}) {
        ASSERT_EQ(mknod(Path(file).c_str(), S_IFSOCK | 0600, 0), 0);
        EXPECT_THROW(info.ReadFromDisc(), FileOpenningError) << file;
    }
}

TEST_F(SyncraInfoTest, WhatIsNotUsedNotChangedOrNotCodedLeavesTheFileWhole)
{
    SyncraInfo info;
    const std::string golden = Golden("SyncraInfo_v2.xml"), key = ReadBytes(Path("SYPassword.key"));
    WriteBytes("SYPassword.key", "short");
    info.AddUser(u"anna", u"nexar", u"one");
    EXPECT_THROW(info.SaveSyncraInfo(), ErrorWritingFile);
    EXPECT_FALSE(IsLockFileThere());
    WriteBytes("SYPassword.key", key);

    WriteBytes("SyncraInfo_v2.xml", Replaced(golden, "<Size>0</Size>\n  </W", "<Odd/></W"));
    info.ReadFromDisc();
    EXPECT_EQ(info.GetUserNumber(), 3u);
    info.SaveSyncraInfo();
    fs::create_hard_link(Path("SyncraInfo_v2.xml"), Path("same"));
    info.Update([](SyncraInfo& same) { same.SetMessageSetting(true); });
    EXPECT_TRUE(fs::equivalent(Path("SyncraInfo_v2.xml"), Path("same"))) << "not replaced";
}

TEST_F(SyncraInfoTest, ALaterVersionIsReadUpToThePasswords)
{
    std::string later = Replaced(Golden("SyncraInfo_v2.xml"), "<DataVersion>1<", "<DataVersion>2<");
    later = Replaced(later, "<WebServers>\n    <Size>0</Size>\n  </WebServers>",
                     "<Colours>7</Colours><WebServers>none</WebServers>");
    WriteBytes("SyncraInfo_v2.xml", later);
    SyncraInfo info;
    EXPECT_EQ(info.GetUserNumber(), 3u);
    info.SaveSyncraInfo();
    EXPECT_EQ(ReadBytes(Path("SyncraInfo_v2.xml")), Golden("SyncraInfo_v2.xml"))
        << "the version written is always this one";
}

TEST_F(SyncraInfoTest, OnlyAUserOfTheDefaultListIsRememberedAsTheLast)
{
    SyncraInfo info;
    info.SetLastUserNameAndPassword(u"anna", u"one");
    EXPECT_EQ(info.GetLastUserName(), u"") << "nobody is in the default list yet";
    EXPECT_FALSE(info.IsUserInDefaultList(u"anna"));

    info.AddUser(u"anna", u"nexar", u"one");
    info.SetLastUserName(u"anna");
    info.SaveSyncraInfo();
    EXPECT_EQ(SyncraInfo().GetLastUserName(), u"");

    info.SetUserDefaultPassword(u"anna", u"one");
    info.SetLastUserNameAndPassword(u"anna", u"two");
    info.SaveSyncraInfo();
    EXPECT_EQ(SyncraInfo().GetLastUserName(), u"anna");
    EXPECT_EQ(SyncraInfo().GetUserDefaultPassword(u"anna"), u"two");
}

}  // namespace
