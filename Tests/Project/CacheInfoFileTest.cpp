#include "ProjectTest.hpp"

#include "Files/FileErrors.hpp"

namespace {

namespace Core = Syncra::Server::ManagementTool::Core;

struct Line {
    const char* name;
    const char* text;
    int since;
};

/// A document with a value of its own in every place, as a client of each version wrote it.
const Line Lines[] = {
    {"LoginName", "login", 1},
    {"UserName", "J\xc3\xbcrgen", 1},
    {"UserId", "u-1", 1},
    {"ProjectName", "Bridge", 1},
    {"ProjectCategoryName", "Civil", 3},
    {"ServerName", "nexar", 1},
    {"Port", "-25536", 1},
    {"SessionId", "s-1", 1},
    {"LogonId", "-2147483648", 1},
    {"RoleName", "Manager", 1},
    {"UserColorList", "u-1=\xc3\xa4", 2},
    {"ColorMode", "-3", 2},
    {"PermissionCount", "2", 1},
    {"Permission", "read", 1},
    {"Permission", "write", 1},
    {"ProjectId", "p-1", 1},
    {"UnsentChange", "true", 1},
    {"ProjectForcedOffline", "true", 2},
    {"LastOpenProjectTime", "1000", 5},
    {"TravelPackageCreationTime", "2000", 5},
    {"TravelPackageCreated", "true", 5},
    {"ExtractedFromTravelPackage", "true", 5},
    {"EnableTravelPackageWarningAtClose", "true", 5},
    {"ProjectVersion", "15.1", 6},
    {"ProjectBuild", "4000", 6},
    {"ProjectDetached", "true", 6},
};

std::string Element(const std::string& name, const std::string& text)
{
    return "  <" + name + ">" + text + "</" + name + ">\n";
}

using Edit = std::function<std::string(std::size_t index, const Line& line)>;

std::string Document(
    const std::string& version,
    const Edit& edit = [](std::size_t, const Line& line) { return Element(line.name, line.text); })
{
    std::string text = "<?xml version=\"1.0\"?>\n<Cache>\n";
    text += Element("DataVersion", version);
    for (std::size_t i = 0; i < std::size(Lines); ++i)
        if (Lines[i].since <= std::stoi(version))
            text += edit(i, Lines[i]);
    return text + "</Cache>\n";
}

class CacheInfoFileTest : public ProjectTest {
protected:
    SYC::CachedProjectInfo Read(const std::string& text)
    {
        WriteCacheInfo(Folder(), text);
        return SYC::CachedProjectInfo(Folder());
    }

    /// The text is refused with the place of the file, by the constructor and by a refresh, and the
    /// refresh leaves no trace in what was read before.
    void ExpectRefused(const std::string& text, const std::string& what)
    {
        SYC::CachedProjectInfo former = Read(Document("6"));
        try {
            (void)Read(text);
            ADD_FAILURE() << what << " was accepted";
        } catch (const Core::FileError& error) {
            EXPECT_EQ(error.GetLocation(), Folder().Appended(u"CacheInfo.xml")) << what;
            EXPECT_NE(OV::StringView(error.what()).find("CacheInfo.xml"), OV::StringView::npos);
        }
        former.Refresh();
        former.SetUserId(u"u-2");
        const std::string rewritten = ReadCacheInfo(Folder());
        Read(Document("6")).SetUserId(u"u-2");
        EXPECT_EQ(rewritten, ReadCacheInfo(Folder())) << what;
    }
};

TEST_F(CacheInfoFileTest, ReadsEveryVersionAndFillsInWhatItImplies)
{
    for (int version = 0; version <= 7; ++version) {
        SCOPED_TRACE(version);
        // A newer client's additions are skipped, whatever they are.
        const bool isNewer = version > 6;
        std::string text = Document(std::to_string(version));
        if (isNewer)
            text.replace(text.find("</Cache>"), 0, "<Cache><DataVersion>x</DataVersion></Cache>");
        const SYC::CachedProjectInfo info = Read(text);
        const std::int32_t fileTime =
            IO::File::GetChangeStamp(Folder().Appended(u"CacheInfo.xml"))->ModificationTime();

        const bool isOld = version < 1;
        EXPECT_EQ(info.GetLoginName(), isOld ? u"" : u"login");
        EXPECT_EQ(info.GetUserName(), isOld ? u"" : u"J\x00fcrgen");
        EXPECT_EQ(info.GetUserId(), isOld ? u"" : u"u-1");
        EXPECT_EQ(info.GetProjectName(), isOld ? u"" : u"Bridge");
        EXPECT_EQ(info.GetCategoryName(), version < 3 ? u"" : u"Civil");
        EXPECT_EQ(info.GetServerName(), isOld ? u"" : u"nexar");
        EXPECT_EQ(info.GetPort(), isOld ? 0 : -25536);
        EXPECT_EQ(info.GetSessionId(), isOld ? u"" : u"s-1");
        EXPECT_EQ(info.GetLogonId(), isOld ? 0 : INT32_MIN);
        EXPECT_EQ(info.GetRoleName(), isOld ? u"" : u"Manager");
        EXPECT_EQ(info.GetUserColorListString(), version < 2 ? u"" : u"u-1=\x00e4");
        EXPECT_EQ(info.GetColorMode(), version < 2 ? 0 : -3);
        EXPECT_EQ(info.GetPermissions().size(), isOld ? 0u : 2u);
        EXPECT_EQ(info.GetPermissions().contains(u"write"), !isOld);
        EXPECT_EQ(info.GetProjectId(), isOld ? u"" : u"p-1");
        EXPECT_EQ(info.IsChanges(), !isOld);
        EXPECT_EQ(info.IsProjectForcedOffline(), version >= 2);
        EXPECT_EQ(info.GetLastOpenProjectTime(), version < 5 ? fileTime : 1000);
        EXPECT_EQ(info.GetTravelPackageCreationTime(), version < 5 ? 0 : 2000);
        EXPECT_EQ(info.IsTravelPackageCreated(), version >= 5);
        EXPECT_EQ(info.ExtractedFromTravelPackage(), version >= 5);
        EXPECT_EQ(info.IsEnabledTravelPackageWarningAtClose(), version >= 5);
        EXPECT_EQ(info.GetProjectVersion(), version < 5   ? u"13.0.0.0"
                                            : version < 6 ? u"14.0.0.0 (C-107)"
                                                          : u"15.1");
        EXPECT_EQ(info.GetProjectBuildNum(), version < 6 ? 0 : 4000);
        EXPECT_EQ(info.IsProjectDetached(), version >= 6);
        EXPECT_EQ(info.GetModificationTime(), isNewer ? 0 : fileTime);
        EXPECT_EQ(info.IsComplete(), !isOld);
    }
}

TEST_F(CacheInfoFileTest, TakesNoOpenTimeFromANewerClientsFile)
{
    const Edit edit = [](std::size_t, const Line& line) {
        return Element(line.name,
                       line.name == std::string("LastOpenProjectTime") ? "0" : line.text);
    };
    EXPECT_EQ(Read(Document("7", edit)).GetLastOpenProjectTime(), 0);
    const SYC::CachedProjectInfo info = Read(Document("6", edit));
    EXPECT_NE(info.GetLastOpenProjectTime(), 0);
    EXPECT_EQ(info.GetLastOpenProjectTime(), info.GetModificationTime());
}

TEST_F(CacheInfoFileTest, RefusesAFileThatEndsEarly)
{
    for (std::size_t end = 0; end < std::size(Lines); ++end)
        ExpectRefused(Document("6",
                               [&](std::size_t index, const Line& line) {
                                   return index < end ? Element(line.name, line.text) : "";
                               }),
                      std::string("ends before ") + Lines[end].name);
    const std::string whole = Document("6");
    for (std::size_t length = 0; length < whole.find("</Cache>") + 8; length += 7)
        ExpectRefused(whole.substr(0, length), "cut to " + std::to_string(length) + " bytes");
}

TEST_F(CacheInfoFileTest, RefusesValuesOfAnotherTypeOrPlace)
{
    const std::pair<const char*, std::vector<const char*>> wrong[] = {
        {"Port", {"", "x", "1 ", " 1", "0x10", "32768", "-32769", "1.0", "<a>1</a>"}},
        {"LogonId", {"2147483648", "-2147483649", "1e3"}},
        {"ColorMode", {"true", "65535"}},
        {"PermissionCount", {"-1", "1", "3", "4294967295", "4294967296"}},
        {"UnsentChange", {"", "yes", "2", "TRUE"}},
        {"ProjectBuild", {"4000x", "99999999999999999999"}},
    };
    for (const auto& [name, texts] : wrong)
        for (const char* text : texts)
            ExpectRefused(Document("6",
                                   [&, name = name](std::size_t, const Line& line) {
                                       return Element(line.name, line.name == std::string(name)
                                                                     ? text
                                                                     : line.text);
                                   }),
                          std::string(name) + " = " + text);

    for (const char* version : {"-1", "65536"})
        ExpectRefused(Document(version), version);
    ExpectRefused("<Cash><DataVersion>0</DataVersion></Cash>", "another root");
    ExpectRefused("<Cache/>", "no values");
    ExpectRefused(Document("6") + "<Cache/>", "a second root");
    // Known versions hold nothing that this client does not know.
    const auto withExtra = [&](const std::string& version) {
        std::string text = Document(version);
        return text.replace(text.find("</Cache>"), 0, Element("Extra", "1"));
    };
    for (const char* version : {"0", "3", "6"})
        ExpectRefused(withExtra(version), std::string("extra value in version ") + version);
    // A value that its version does not have yet is in the wrong place.
    std::string early = Document("2");
    ExpectRefused(
        early.replace(early.find("  <ServerName>"), 0, Element("ProjectCategoryName", "")),
        "category in version 2");
}

TEST_F(CacheInfoFileTest, WritesEveryValueInTheOneFixedForm)
{
    const Edit onePermission = [](std::size_t index, const Line& line) -> std::string {
        if (line.name == std::string("PermissionCount"))
            return Element(line.name, "1");
        return index == 14 ? "" : Element(line.name, line.text);
    };
    // What a newer client added is for that client, and stays.
    for (const auto& [version, additions] :
         {std::pair("6", ""),
          std::pair("7", "<Colour of=\"all\"><A/>x\n</Colour>\n  <B>1</B>\n")}) {
        const auto withAdditions = [&, text = additions](std::string document) {
            return document.replace(document.find("</Cache>"), 0,
                                    *text ? "  " + std::string(text) : "");
        };
        SYC::CachedProjectInfo info = Read(withAdditions(Document(version)));
        info.SetPermissions({u"read"});
        EXPECT_EQ(ReadCacheInfo(Folder()), withAdditions(Document(version, onePermission)));
    }
}

TEST_F(CacheInfoFileTest, KeepsAnyTextAndNeverThePassword)
{
    const OV::UniString nasty = u" \t\r\n<&>\"'\x0001\x00e4\x4e2d\xd83d\xde00\xd800 ]]> \\u0041 ";
    {
        SYC::CachedProjectInfo info({nasty, 65535, nasty, nasty, u"Geheim-7391"}, Folder());
        info.SetUserColorListString(nasty);
        info.SetPermissions({nasty, u""});
        info.WriteToDisc();
        EXPECT_EQ(info.GetPassword(), u"Geheim-7391");
        const std::string text = ReadCacheInfo(info.GetCacheFolderLocation());
        EXPECT_EQ(text.find("7391"), text.npos);

        SYC::Inner::ProjectConnectionInfo connection;
        const SYC::CachedProjectInfo read(info.GetCacheFolderLocation());
        read.GetProjectConnectionInfo(connection);
        EXPECT_EQ(connection, (SYC::Inner::ProjectConnectionInfo{nasty, 65535, nasty, nasty, u""}));
        EXPECT_EQ(read.GetUserColorListString(), nasty);
        EXPECT_EQ(read.GetPermissions(), (OV::HashSet<OV::UniString>{nasty, u""}));
    }
}

}  // namespace
