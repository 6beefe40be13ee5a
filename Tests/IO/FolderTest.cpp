#include "IO/Folder.hpp"
#include "IO/File.hpp"
#include "IO/FileChannels.hpp"
#include "IO/IOException.hpp"
#include "IO/SpecialFolder.hpp"
#include "OVRoot/System.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <vector>

namespace {

namespace fs = std::filesystem;

class FolderTest : public testing::Test {
protected:
    [[nodiscard]] IO::Location Place(OV::UniStringView name) const
    {
        return folder_.GetLocation().Appended(name);
    }

    TemporaryFolder folder_;
};

}  // namespace

TEST_F(FolderTest, ProcessesMayCreateOneTreeAtOnce)
{
    for (int round = 0; round < 20; ++round) {
        const auto tree =
            Place(OV::ToText(round)).Appended(u"\u4e2d").Appended(u"c").Appended(u"d");
        std::vector<ChildProcess> children;
        for (int child = 0; child < 3; ++child)
            children.emplace_back([&] {
                IO::Folder::CreateTree(tree);
                return IO::Folder::Exists(tree) ? 0 : 1;
            });
        for (auto& child : children)
            EXPECT_EQ(child.Wait(), 0);
    }
    IO::File::Replace(Place(u"file"), "");
    EXPECT_THROW(IO::Folder::CreateTree(Place(u"file")), IO::IOException);
    EXPECT_THROW(IO::Folder::CreateTree(Place(u"file").Appended(u"below")), IO::IOException);
}

TEST_F(FolderTest, DeletingATreeTakesEveryNameButNothingBehindALink)
{
    const auto kept = folder_.Path() / "kept";
    const auto tree = folder_.Path() / "tree";
    fs::create_directories(tree / "a" / "b");
    fs::create_directory(kept);
    std::ofstream(kept / "file") << "content";
    std::ofstream(tree / "a" / "not UTF-8 \xff\xfe") << "1234567";
    fs::create_directory_symlink(kept, tree / "link to a folder");
    fs::create_symlink("nowhere", tree / "a" / "dangling");
    EXPECT_EQ(IO::Folder::GetSize(Place(u"tree")), 7u) << "links are not followed";

    IO::Folder::DeleteTree(Place(u"tree"));
    EXPECT_FALSE(fs::exists(tree));
    EXPECT_TRUE(fs::exists(kept / "file"));
    EXPECT_NO_THROW(IO::Folder::DeleteTree(Place(u"tree"))) << "an absent one counts as deleted";

    // Far longer than any path that the system takes at once.
    fs::path deepest = tree;
    fs::create_directory(tree);
    const auto former = fs::current_path();
    fs::current_path(tree);
    for (int level = 0; level < 40; ++level) {
        const OV::String name(200, 'n');
        fs::create_directory(name);
        fs::current_path(name);
    }
    fs::current_path(former);
    IO::Folder::DeleteTree(Place(u"tree"));
    EXPECT_FALSE(fs::exists(tree));
}

TEST_F(FolderTest, EnumeratesEveryEntryAndStopsWhenToldTo)
{
    fs::create_directory(folder_.Path() / "sub");
    fs::create_directory_symlink("sub", folder_.Path() / "link");
    fs::create_symlink("nowhere", folder_.Path() / "dangling");
    IO::File::Replace(Place(u".hidden \u4e2d"), "");
    std::map<OV::UniString, bool> seen;
    IO::Folder::Enumerate(folder_.GetLocation(), [&](const IO::Folder::Entry& entry) {
        seen[entry.name] = entry.isFolder;
        return true;
    });
    EXPECT_EQ(
        seen,
        (std::map<OV::UniString, bool>{
            {u"sub", true}, {u"link", true}, {u"dangling", false}, {u".hidden \u4e2d", false}}));
    int calls = 0;
    IO::Folder::Enumerate(folder_.GetLocation(), [&](const auto&) { return ++calls < 2; });
    EXPECT_EQ(calls, 2);
    EXPECT_THROW(IO::Folder::Enumerate(Place(u"none"), [](const auto&) { return true; }),
                 IO::IOException);

    EXPECT_EQ(IO::Folder::GenerateUnusedName(folder_.GetLocation(), u"new"), u"new");
    EXPECT_EQ(IO::Folder::GenerateUnusedName(folder_.GetLocation(), u"dangling"), u"dangling 2")
        << "a link to nothing has its name as well";
    IO::File::Replace(Place(u"sub 2"), "");
    EXPECT_EQ(IO::Folder::GenerateUnusedName(folder_.GetLocation(), u"sub"), u"sub 3");
}

TEST_F(FolderTest, ValueFilesNameTheirPlaceInEveryMessage)
{
    const auto file = Place(u"f\u00fcr.xml");
    OV::XMLOChannel out;
    out.EnterElement("Root");
    out.WriteString("Text", u" \r\xD800");
    out.LeaveElement("Root");
    const auto stamp = IO::ReplaceWithXML(file, out);
    auto in = IO::OpenXMLInput(file);
    EXPECT_EQ(in.stamp, stamp);
    in.channel.EnterElement("Root");
    EXPECT_EQ(in.channel.ReadString("Text"), u" \r\xD800");

    const auto path = file.ToNativePath();
    for (const OV::StringView damaged : {"", "<Root>", "\xff\xfe<\0R\0"}) {
        IO::File::Replace(file, damaged);
        try {
            (void)IO::OpenXMLInput(file);
            ADD_FAILURE() << damaged;
        } catch (const OV::XMLChannelException& error) {
            EXPECT_NE(OV::String(error.what()).find(path), OV::String::npos) << error.what();
        }
    }
    IO::File::Delete(file);
    EXPECT_THROW((void)IO::OpenXMLInput(file), IO::IOException);
}

TEST_F(FolderTest, UserFoldersFollowTheEnvironmentAtEachCall)
{
    const auto company = IO::GetCompanyFolder(IO::SpecialFolder::RoamingApplicationData);
    EXPECT_EQ(company, Place(u"config").Appended(u"Orvant"));
    EXPECT_TRUE(IO::Folder::Exists(company));
    EXPECT_EQ(IO::GetSpecialFolder(IO::SpecialFolder::ApplicationData), Place(u"data"));

    // A relative one would depend on where the program was started.
    const OV::String former = OV::System::EnvironmentVariable("HOME");
    setenv("HOME", folder_.Path().c_str(), 1);
    setenv("XDG_DATA_HOME", "relative", 1);
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(IO::GetSpecialFolder(IO::SpecialFolder::ApplicationData),
              Place(u".local").Appended(u"share"));
    EXPECT_EQ(IO::GetSpecialFolder(IO::SpecialFolder::RoamingApplicationData), Place(u".config"));
    setenv("HOME", former.c_str(), 1);
}
