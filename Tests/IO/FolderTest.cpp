#include "FileTest.hpp"

#include "IO/File.hpp"
#include "IO/Folder.hpp"
#include "IO/SpecialFolder.hpp"
#include "Support/ChildProcess.hpp"

#include <map>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using IO::ErrorCode;
namespace Folder = IO::Folder;

class FolderTest : public FileTest {};

TEST_F(FolderTest, CreatesATreeBesideOthersThatDoTheSame)
{
    const auto deep = Place(u"a").Appended(u"\u4e2d").Appended(u"c");
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] { Folder::CreateTree(deep); });
    }
    EXPECT_EQ(fs::status(Path() / "a").permissions(), fs::perms::owner_all) << "nobody else's";
    Write("file", "");
    EXPECT_EQ(CodeOf([&] { Folder::CreateTree(Place(u"file")); }), ErrorCode::AlreadyExists);
    EXPECT_TRUE(CodeOf([&] { Folder::CreateTree(Place(u"file").Appended(u"x")); }).has_value());
}

TEST_F(FolderTest, ListsEveryEntryUntilToldToStop)
{
    fs::create_directory(Path() / "folder");
    Write(".hidden", "");
    Write("\u4e2d", "");
    fs::create_directory_symlink("folder", Path() / "link");
    fs::create_symlink("none", Path() / "dangling");
    std::map<OV::UniString, bool> found;
    Folder::Enumerate(Place(u""), [&](const Folder::Entry& entry) {
        found[entry.name] = entry.isFolder;
        return true;
    });
    const std::map<OV::UniString, bool> expected = {{u"folder", true},
                                                    {u".hidden", false},
                                                    {u"\u4e2d", false},
                                                    {u"link", true},
                                                    {u"dangling", false}};
    EXPECT_EQ(found, expected);
    int visits = 0;
    Folder::Enumerate(Place(u""), [&](const Folder::Entry&) { return ++visits < 2; });
    EXPECT_EQ(visits, 2);
    EXPECT_EQ(CodeOf([&] { Folder::Enumerate(Place(u"none"), [](const auto&) { return true; }); }),
              ErrorCode::NotFound);
    EXPECT_EQ(Folder::GenerateUnusedName(Place(u""), u"dangling"), u"dangling 2")
        << "a name that leads nowhere is taken";
    Write("folder 2", "");
    EXPECT_EQ(Folder::GenerateUnusedName(Place(u""), u"folder"), u"folder 3");
}

TEST_F(FolderTest, MeasuresAndDeletesATreeButNothingBehindItsLinks)
{
    fs::create_directories(Path() / "outside");
    Write("outside/kept", "kept");
    fs::create_directories(Path() / "tree/a/b");
    Write("tree/one", std::string(1000, 'x'));
    Write("tree/a/b/two", std::string(234, 'x'));
    Write("tree/not UTF-8 \xff\xfe", "x");
    fs::create_directory_symlink(Path() / "outside", Path() / "tree/a/link");
    fs::create_symlink("none", Path() / "tree/dangling");
    EXPECT_EQ(Folder::GetSize(Place(u"tree")), 1235u);
    Folder::DeleteTree(Place(u"tree"));
    EXPECT_FALSE(fs::exists(Path() / "tree"));

    fs::create_directory_symlink("outside", Path() / "link");
    Folder::DeleteTree(Place(u"link"));
    EXPECT_FALSE(fs::is_symlink(Path() / "link"));
    EXPECT_TRUE(fs::exists(Path() / "outside/kept"));
    EXPECT_NO_THROW(Folder::DeleteTree(Place(u"none").Appended(u"none")));

    // What cannot be looked into is neither counted nor passed over.
    fs::create_directories(Path() / "half/closed");
    fs::permissions(Path(), fs::perms::all);
    fs::permissions(Path() / "half/closed", fs::perms::none);
    ChildProcess ordinary([&] {
        if (geteuid() == 0 && seteuid(65534) != 0)
            return 1;
        return CodeOf([&] { (void)Folder::GetSize(Place(u"half")); }) == ErrorCode::AccessDenied &&
                       CodeOf([&] {
                           (void)Folder::Exists(Place(u"half").Appended(u"closed").Appended(u"x"));
                       }) == ErrorCode::AccessDenied
                   ? 0
                   : 2;
    });
    EXPECT_EQ(ordinary.Wait(), 0);
}

TEST_F(FolderTest, DeletesATreeWhosePathsTheSystemDoesNotTake)
{
    const auto former = fs::current_path();
    fs::create_directory(Path() / "tree");
    fs::current_path(Path() / "tree");
    const std::string name(200, 'n');
    for (int level = 0; level < 40; ++level) {
        fs::create_directory(name);
        fs::current_path(name);
    }
    fs::current_path(former);
    Folder::DeleteTree(Place(u"tree"));
    EXPECT_FALSE(fs::exists(Path() / "tree"));
}

TEST_F(FolderTest, FollowsTheEnvironmentToTheUsersFolders)
{
    using IO::SpecialFolder;
    const auto company = IO::GetCompanyFolder(SpecialFolder::RoamingApplicationData);
    EXPECT_EQ(company.ToNativePath(), (Path() / "config/Orvant").string());
    EXPECT_TRUE(Folder::Exists(company));
    EXPECT_EQ(IO::GetSpecialFolder(SpecialFolder::ApplicationData).ToNativePath(),
              (Path() / "data").string());
    setenv("XDG_CONFIG_HOME", "relative", 1);
    setenv("HOME", Path().c_str(), 1);
    EXPECT_EQ(IO::GetSpecialFolder(SpecialFolder::RoamingApplicationData).ToNativePath(),
              (Path() / ".config").string())
        << "a relative one is to be ignored";
    setenv("XDG_CONFIG_HOME", "/latin \xe9", 1);
    EXPECT_TRUE(CodeOf([] { (void)IO::GetSpecialFolder(SpecialFolder::RoamingApplicationData); }))
        << "no Location leads there, and no other folder stands for it";
}

}  // namespace
