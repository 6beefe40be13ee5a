#include "Support/FileBytes.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace fs = std::filesystem;

namespace {

const fs::path root = SYCLIENT_TEST_SOURCE_DIR;

struct Include {
    fs::path file;  ///< relative to the root
    std::string header;
    bool angled;
};

std::vector<Include> IncludesBelow(const std::string& folder)
{
    static const std::regex line(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])");
    std::vector<Include> includes;
    for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
        const auto extension = entry.path().extension();
        if (extension != ".hpp" && extension != ".cpp")
            continue;
        std::ifstream source(entry.path());
        std::smatch match;
        for (std::string text; std::getline(source, text);)
            if (std::regex_search(text, match, line))
                includes.push_back({fs::relative(entry.path(), root), match[2], match[1] == "<"});
    }
    return includes;
}

std::string FirstFolder(const std::string& header)
{
    const auto slash = header.find('/');
    return slash == std::string::npos ? std::string() : header.substr(0, slash);
}

bool IsStandardHeader(const std::string& header)
{
    // Qt's headers look like them but for their capital.
    return header.find_first_of("./Q") == std::string::npos;
}

std::set<std::string> PlatformFolders()
{
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(root / "Platform"))
        if (entry.is_directory())
            names.insert(entry.path().filename());
    return names;
}

/// The USES lists of Platform/CMakeLists.txt: what each folder may include beside itself.
std::map<std::string, std::set<std::string>> DeclaredUses()
{
    const std::string text = ReadBytes(root / "Platform" / "CMakeLists.txt");
    static const std::regex call(R"(syc_layer\(([^)]*)\))");
    std::map<std::string, std::set<std::string>> uses;
    for (std::sregex_iterator it(text.begin(), text.end(), call), end; it != end; ++it) {
        std::istringstream words((*it)[1].str());
        std::string folder, word, section;
        for (words >> folder; words >> word;) {
            if (word == "FOLDER" || word == "USES" || word == "LIBRARIES")
                section = word;
            else if (section == "USES")
                uses[folder].insert(word);
        }
        uses[folder].insert(folder);
    }
    return uses;
}

}  // namespace

TEST(LayersTest, SourcesNameOnlyTheStandardLibraryAndOurHeaders)
{
    const auto platform = PlatformFolders();
    const auto includes = IncludesBelow("Sources");
    ASSERT_GT(includes.size(), 50u);
    for (const auto& include : includes) {
        if (include.angled) {
            EXPECT_TRUE(IsStandardHeader(include.header)) << include.file << ": " << include.header;
        } else {
            EXPECT_TRUE(fs::exists(root / "Sources" / include.header) ||
                        include.header == "SYClient/Version.hpp" ||  // made by CMake
                        platform.count(FirstFolder(include.header)) == 1)
                << include.file << ": " << include.header;
        }
    }
}

TEST(LayersTest, PlatformFoldersIncludeOnlyWhatTheyDeclare)
{
    const auto uses = DeclaredUses();
    for (const auto& folder : PlatformFolders()) {
        const auto declared = uses.find(folder);
        ASSERT_NE(declared, uses.end()) << folder << " is no layer of Platform/CMakeLists.txt";
        for (const auto& include : IncludesBelow("Platform/" + folder))
            if (!include.angled) {
                EXPECT_EQ(declared->second.count(FirstFolder(include.header)), 1u)
                    << include.file << ": " << include.header;
            }
    }
}

TEST(LayersTest, ThirdPartyHeadersStayInSourcesAndDetail)
{
    for (const auto& include : IncludesBelow("Platform")) {
        if (include.angled && include.header.front() == 'Q') {
            EXPECT_EQ(include.file.string().rfind("Platform/Dlg/Qt/", 0), 0u) << include.file;
        }
        const bool isPublic = include.file.extension() == ".hpp" &&
                              include.file.string().find("/Detail/") == std::string::npos;
        if (isPublic && include.angled) {
            EXPECT_TRUE(IsStandardHeader(include.header)) << include.file << ": " << include.header;
        }
        if (isPublic && !include.angled) {
            EXPECT_EQ(include.header.find("/Detail/"), std::string::npos)
                << include.file << " would not compile from the installed package";
        }
    }
}

TEST(LayersTest, NoTwoHeadersHaveOneName)
{
    std::map<std::string, fs::path> known;
    for (const char* folder : {"Platform", "Sources", "Server", "Tools"})
        for (const auto& entry : fs::recursive_directory_iterator(root / folder))
            if (entry.path().extension() == ".hpp") {
                const auto [other, isNew] = known.emplace(entry.path().filename(), entry.path());
                EXPECT_TRUE(isNew) << entry.path() << " and " << other->second;
            }
}

TEST(LayersTest, OperatingSystemCallsStandInOneFileASystem)
{
    static const std::set<std::string> systemHeaders = {
        "unistd.h",      "fcntl.h",   "sys/stat.h", "sys/file.h", "sys/types.h",
        "dirent.h",      "termios.h", "pthread.h",  "signal.h",   "windows.h",
        "sys/utsname.h", "pwd.h",     "sys/wait.h"};
    for (const char* folder : {"Platform", "Sources", "Server", "Tools"})
        for (const auto& include : IncludesBelow(folder))
            if (systemHeaders.count(include.header) == 1) {
                EXPECT_NE(include.file.string().find("_posix."), std::string::npos)
                    << include.file << ": " << include.header;
            }
}

TEST(LayersTest, ServerAndToolsStayOnTheirSide)
{
    for (const auto& include : IncludesBelow("Server"))
        if (!include.angled && FirstFolder(include.header) != "") {
            EXPECT_TRUE(fs::exists(root / "Server" / include.header) ||
                        std::set<std::string>({"OVRoot", "IO", "SyncraProtocol"})
                            .count(FirstFolder(include.header)) ||
                        include.header == "SYCommunication/LocalServices.hpp")
                << include.file << ": " << include.header;
        }
    for (const auto& include : IncludesBelow("Tools"))
        EXPECT_EQ(include.header.find("Detail/"), std::string::npos)
            << include.file << ": " << include.header << " is not installed";
}

namespace {

/// A folder of Sources/ is a room; what stands at its top is a room a class, since classes of
/// several floors are known there by their names.
std::string RoomOf(const fs::path& file)
{
    return file.has_parent_path() ? file.begin()->string() : file.stem().string();
}

std::map<std::string, std::set<std::string>> ArrowsBetweenRooms()
{
    std::map<std::string, std::set<std::string>> arrows;
    for (const auto& include : IncludesBelow("Sources")) {
        const auto from = RoomOf(include.file.lexically_relative("Sources"));
        if (!include.angled && fs::exists(root / "Sources" / include.header) &&
            RoomOf(include.header) != from)
            arrows[from].insert(RoomOf(include.header));
    }
    return arrows;
}

}  // namespace

TEST(LayersTest, NoRoomOfTheLibraryLeadsBackToItself)
{
    auto arrows = ArrowsBetweenRooms();
    ASSERT_GT(arrows.size(), 20u);
    // Rooms that lead to no other one are taken away until none is left; a circle never goes.
    for (bool isSmaller = true; isSmaller;) {
        isSmaller = false;
        for (auto room = arrows.begin(); room != arrows.end();) {
            std::erase_if(room->second,
                          [&](const auto& other) { return arrows.count(other) == 0; });
            isSmaller = isSmaller || room->second.empty();
            room = room->second.empty() ? arrows.erase(room) : std::next(room);
        }
    }
    for (const auto& [room, others] : arrows)
        ADD_FAILURE() << room << " stands in a circle or leads into one, by "
                      << testing::PrintToString(others);
}

TEST(LayersTest, APublicHeaderIncludesOnlyPublicOnes)
{
    std::ifstream file(root / "cmake" / "PublicHeaders.cmake");
    std::set<std::string> headers;
    for (std::string line; std::getline(file, line);)
        if (const auto slash = line.find('/'); line.starts_with("  ") && slash != std::string::npos)
            headers.insert(line.substr(slash + 1, line.find(".hpp") + 3 - slash));
    ASSERT_GT(headers.size(), 100u);
    for (const char* folder : {"Sources", "Platform"})
        for (const auto& include : IncludesBelow(folder))
            if (!include.angled && headers.count(include.file.lexically_relative(folder)) == 1) {
                EXPECT_EQ(headers.count(include.header), 1u)
                    << include.file << ": " << include.header;
            }
}
