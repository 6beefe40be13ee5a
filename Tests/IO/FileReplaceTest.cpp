#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// Content that tells whether it is whole: one digit a version, as often as its length says.
OV::String Version(std::size_t number)
{
    const std::size_t length = 1 + (number * 7919) % 60'000;
    return std::to_string(length) + ":" + OV::String(length, static_cast<char>('0' + number % 10));
}

bool IsWhole(const OV::String& content)
{
    const auto colon = content.find(':');
    if (colon == OV::String::npos || colon + 1 == content.size())
        return false;
    return content.substr(colon + 1) == OV::String(std::stoul(content), content[colon + 1]);
}

std::size_t CountEntries(const fs::path& folder)
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

mode_t ModeOf(const fs::path& file)
{
    struct stat status {};
    EXPECT_EQ(lstat(file.c_str(), &status), 0);
    return status.st_mode & 07777;
}

class FileReplaceTest : public testing::Test {
protected:
    /// The folder holds what the test put there and nothing besides.
    void ExpectNoLeftOvers(std::size_t entries) const
    {
        EXPECT_EQ(CountEntries(folder_.Path()), entries);
    }

    TemporaryFolder folder_;
    fs::path path_ = folder_.Path() / "\xc3\xa4.dat";
    IO::Location file_ = folder_.GetLocation().Appended(u"\u00e4.dat");
};

}  // namespace

TEST_F(FileReplaceTest, AWriterKilledAnywhereLeavesAWholeFileAndAtMostOneOther)
{
    const int kills = std::getenv("SYCLIENT_LONG") != nullptr ? 200 : 30;
    IO::File::Replace(file_, Version(0));
    for (int round = 0; round < kills; ++round) {
        const auto before = IO::File::GetChangeStamp(file_);
        ChildProcess writer([&] {
            for (std::size_t number = 1;; ++number)
                IO::File::Replace(file_, Version(number));
            return 0;
        });
        while (IO::File::GetChangeStamp(file_) == before)
            ASSERT_TRUE(IsWhole(IO::File::ReadAll(file_)));
        std::this_thread::sleep_for(std::chrono::microseconds(53 * round));
        writer.Kill();
        ASSERT_TRUE(IsWhole(IO::File::ReadAll(file_)));
        ASSERT_LE(CountEntries(folder_.Path()), 2u);
    }
    IO::File::Replace(file_, Version(1));
    ExpectNoLeftOvers(1);
}

TEST_F(FileReplaceTest, WritersAtOnceNeverTakeEachOthersFiles)
{
    IO::File::Replace(file_, Version(0));
    std::vector<ChildProcess> writers;
    for (std::size_t writer = 0; writer < 3; ++writer)
        writers.emplace_back([&, writer] {
            const auto work = [&](std::size_t first) {
                for (std::size_t number = first; number < first + 100; ++number)
                    IO::File::Replace(file_, Version(number));
            };
            std::jthread second([&] { work(writer * 1000); });
            work(writer * 1000 + 500);
            return 0;
        });
    for (int reads = 0; reads < 200; ++reads)
        ASSERT_TRUE(IsWhole(IO::File::ReadAll(file_)));
    for (auto& writer : writers)
        EXPECT_EQ(writer.Wait(), 0) << "a replacement failed";
    EXPECT_TRUE(IsWhole(IO::File::ReadAll(file_)));
    ExpectNoLeftOvers(1);
}

TEST_F(FileReplaceTest, AFailureLeavesTheOldFileAndNothingElse)
{
    IO::File::Replace(file_, "old");
    ChildProcess full([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1000, 1000};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 1;
        try {
            IO::File::Replace(file_, OV::String(5000, 'x'));
        } catch (const IO::IOException& error) {
            return error.GetCode() == IO::ErrorCode::NoSpace ? 0 : 2;
        }
        return 3;
    });
    EXPECT_EQ(full.Wait(), 0);
    EXPECT_EQ(IO::File::ReadAll(file_), "old");
    ExpectNoLeftOvers(1);

    fs::create_directory(folder_.Path() / "folder");
    EXPECT_THROW(IO::File::Replace(folder_.GetLocation().Appended(u"folder"), "new"),
                 IO::IOException);
    EXPECT_THROW(IO::File::Replace(file_.Appended(u"below a file"), "new"), IO::IOException);
    try {
        IO::File::Replace(folder_.GetLocation().Appended(u"none").Appended(u"file"), "new");
        ADD_FAILURE() << "there is no such folder";
    } catch (const IO::IOException& error) {
        EXPECT_EQ(error.GetCode(), IO::ErrorCode::NotFound);
        EXPECT_NE(OV::String(error.what()).find(folder_.Path() / "none/file"), OV::String::npos);
    }
    ExpectNoLeftOvers(2);
}

TEST_F(FileReplaceTest, ALinkStaysALinkWhateverItStandsFor)
{
    const auto folder = folder_.Path() / "elsewhere";
    fs::create_directory(folder);
    fs::create_symlink("elsewhere/target", path_);
    for (const OV::StringView content : {"made through a dangling link", "replaced"}) {
        IO::File::Replace(file_, content);
        EXPECT_TRUE(fs::is_symlink(path_));
        EXPECT_FALSE(fs::is_symlink(folder / "target"));
        EXPECT_EQ(IO::File::ReadAll(file_), content);
    }
    EXPECT_EQ(CountEntries(folder), 1u);
    IO::File::Delete(file_);
    EXPECT_FALSE(fs::is_symlink(path_)) << "deleting takes the link";
    EXPECT_TRUE(fs::exists(folder / "target"));

    fs::create_symlink("\xc3\xa4.dat", path_);
    EXPECT_NO_THROW(IO::File::Replace(file_, "a link to itself is no place, so it gives way"));
    ExpectNoLeftOvers(2);
}

TEST_F(FileReplaceTest, KeepsTheModeAndMakesPrivateFilesPrivate)
{
    const mode_t former = umask(0027);
    IO::File::Replace(file_, "new");
    umask(former);
    EXPECT_EQ(ModeOf(path_), 0640u);
    for (const mode_t mode : {0604u, 0444u, 0600u}) {
        ASSERT_EQ(chmod(path_.c_str(), mode), 0);
        IO::File::Replace(file_, "again");
        EXPECT_EQ(ModeOf(path_), mode);
    }
    ASSERT_EQ(chmod(path_.c_str(), 0666), 0);
    IO::File::Replace(file_, "secret", true);
    EXPECT_EQ(ModeOf(path_), 0600u);
}

TEST_F(FileReplaceTest, TheStampIsThatOfTheNewFileAndTellsItFromTheOld)
{
    EXPECT_FALSE(IO::File::GetChangeStamp(file_));
    EXPECT_FALSE(IO::File::GetChangeStamp(file_.Appended(u"below")));
    const OV::String content("with\0null", 9);
    auto last = IO::File::Replace(file_, content);
    for (int round = 0; round < 20; ++round) {
        // The same bytes within one tick of a coarse clock.
        const auto stamp = IO::File::Replace(file_, content);
        EXPECT_FALSE(stamp == last);
        EXPECT_EQ(IO::File::GetChangeStamp(file_), stamp);
        const auto read = IO::File::Read(file_);
        EXPECT_EQ(read.stamp, stamp);
        EXPECT_EQ(read.bytes, content);
        last = stamp;
    }
    EXPECT_EQ(IO::File::ReadAll(IO::Location::FromPath(u"/proc/self/comm")).back(), '\n')
        << "a size of 0 that is none";
    EXPECT_THROW((void)IO::File::ReadAll(folder_.GetLocation()), IO::IOException);
}
