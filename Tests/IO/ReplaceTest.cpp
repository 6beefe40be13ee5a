#include "FileTest.hpp"

#include "IO/File.hpp"
#include "IO/FileChannels.hpp"
#include "Support/KillLoop.hpp"
#include "Support/Thrown.hpp"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using IO::ErrorCode;

fs::perms ModeOf(const fs::path& path)
{
    return fs::status(path).permissions();
}

/// Restores the process's own mode mask.
class Umask {
public:
    explicit Umask(mode_t mask) : former_(umask(mask)) {}
    ~Umask() { umask(former_); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t former_;
};

class ReplaceTest : public FileTest {};

bool IsWhole(const OV::String& bytes)
{
    const bool isUniform = bytes.find_first_not_of(bytes.substr(0, 1)) == OV::String::npos;
    return isUniform && (bytes.size() == 300'000 || bytes.size() == 200'000);
}

TEST_F(ReplaceTest, WritesExactBytesAndReturnsTheirStamp)
{
    OV::String bytes;
    for (int i = 0; i < 100'000; ++i)
        bytes.push_back(static_cast<char>(i * 31));
    for (const auto& content : {OV::String(), bytes, OV::String("x")}) {
        const auto stamp = IO::File::Replace(Place(u"\u4e2d"), content);
        const auto read = IO::File::Read(Place(u"\u4e2d"));
        EXPECT_EQ(read.bytes, content);
        EXPECT_EQ(read.stamp, stamp);
        EXPECT_EQ(IO::File::GetChangeStamp(Place(u"\u4e2d")), stamp);
    }
    EXPECT_EQ(EntryCount(), 1u);
    const auto first = IO::File::Replace(Place(u"\u4e2d"), "same");
    EXPECT_NE(IO::File::Replace(Place(u"\u4e2d"), "same"), first) << "content is not the measure";
}

TEST_F(ReplaceTest, GivesTheModeThatIsAskedForOrThatWasThere)
{
    const Umask mask(027);
    (void)IO::File::Replace(Place(u"new"), "");
    (void)IO::File::Replace(Place(u"private"), "", true);
    Write("former", "");
    fs::permissions(Path() / "former", fs::perms(0404));
    (void)IO::File::Replace(Place(u"former"), "");
    Write("closed", "");
    fs::permissions(Path() / "closed", fs::perms(0644));
    (void)IO::File::Replace(Place(u"closed"), "", true);
    EXPECT_EQ(ModeOf(Path() / "new"), fs::perms(0640));
    EXPECT_EQ(ModeOf(Path() / "private"), fs::perms(0600));
    EXPECT_EQ(ModeOf(Path() / "former"), fs::perms(0404));
    EXPECT_EQ(ModeOf(Path() / "closed"), fs::perms(0600)) << "a secret closes an open file";
}

TEST_F(ReplaceTest, KeepsLinksAndReplacesWhatTheyStandFor)
{
    fs::create_directory(Path() / "far");
    Write("far/target", "old");
    fs::create_symlink("far/target", Path() / "first");
    fs::create_symlink(Path() / "first", Path() / "second");
    fs::create_symlink("far/missing", Path() / "dangling");
    (void)IO::File::Replace(Place(u"second"), "new");
    (void)IO::File::Replace(Place(u"dangling"), "made");
    EXPECT_TRUE(fs::is_symlink(Path() / "first") && fs::is_symlink(Path() / "second"));
    EXPECT_TRUE(fs::is_symlink(Path() / "dangling"));
    EXPECT_EQ(IO::File::ReadAll(Place(u"far").Appended(u"target")), "new");
    EXPECT_EQ(IO::File::ReadAll(Place(u"far").Appended(u"missing")), "made");
    fs::create_symlink("loop", Path() / "loop");
    EXPECT_TRUE(CodeOf([&] { (void)IO::File::Replace(Place(u"loop"), "x"); }).has_value());
    EXPECT_TRUE(fs::is_symlink(Path() / "loop"));
}

TEST_F(ReplaceTest, AFailureLeavesTheOldFileAndNothingElse)
{
    Write("file", "old");
    fs::create_directory(Path() / "folder");
    ASSERT_EQ(mkfifo((Path() / "pipe").c_str(), 0600), 0);
    EXPECT_TRUE(CodeOf([&] { (void)IO::File::Replace(Place(u"folder"), "x"); }).has_value());
    EXPECT_TRUE(CodeOf([&] { (void)IO::File::Replace(Place(u"pipe"), "x"); }).has_value());
    EXPECT_EQ(CodeOf([&] { (void)IO::File::Replace(Place(u"none").Appended(u"x"), ""); }),
              ErrorCode::NotFound);
    EXPECT_EQ(CodeOf([&] { (void)IO::File::Replace(Place(u"file").Appended(u"x"), ""); }),
              ErrorCode::NotFound);
    // The write itself fails half-way.
    ChildProcess limited([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{10'000, 10'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        const auto write = [&] {
            (void)IO::File::Replace(Place(u"file"), OV::String(20'000, 'x'));
        };
        return CodeOf(write) == ErrorCode::NoSpace ? 0 : 1;
    });
    EXPECT_EQ(limited.Wait(), 0);
    EXPECT_EQ(IO::File::ReadAll(Place(u"file")), "old");
    EXPECT_EQ(EntryCount(), 3u);
}

TEST_F(ReplaceTest, AProtectedFileStaysAsItIs)
{
    Write("file", "old");
    fs::permissions(Path(), fs::perms::all);
    fs::permissions(Path() / "file", fs::perms::owner_read | fs::perms::others_read);
    ChildProcess ordinary([&] {
        if (geteuid() == 0 && seteuid(65534) != 0)
            return 1;
        try {
            (void)IO::File::Replace(Place(u"file"), "new");
        } catch (const IO::IOException& error) {
            return error.GetStep() == IO::Step::Open ? 0 : 2;
        }
        return 3;
    });
    EXPECT_EQ(ordinary.Wait(), 0);
    EXPECT_EQ(IO::File::ReadAll(Place(u"file")), "old");
}

TEST_F(ReplaceTest, ReadsARegularFileWithinItsLimit)
{
    Write("file", "0123456789");
    Write("holes", "");
    fs::resize_file(Path() / "holes", std::uintmax_t{1} << 42);
    fs::create_symlink("/dev/zero", Path() / "endless");
    fs::create_directory(Path() / "folder");
    ASSERT_EQ(mkfifo((Path() / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(IO::File::ReadAll(Place(u"file"), 10), "0123456789");
    EXPECT_EQ(IO::File::ReadBeginning(Place(u"file"), 4), "0123");
    EXPECT_FALSE(IO::File::ReadAll(IO::Location::FromPath(u"/proc/self/maps")).empty())
        << "says that it has no bytes";
    EXPECT_TRUE(CodeOf([&] { (void)IO::File::ReadAll(Place(u"file"), 9); }).has_value());
    for (const auto* name : {u"holes", u"endless", u"folder", u"pipe"})
        EXPECT_TRUE(CodeOf([&] { (void)IO::File::ReadAll(Place(name)); }).has_value())
            << OV::ToUtf8(name);
    EXPECT_TRUE(CodeOf([&] { (void)IO::File::ReadBeginning(Place(u"pipe"), 1); }).has_value());
    EXPECT_TRUE(CodeOf([&] { (void)IO::File::ReadInput(Place(u"endless"), 9); }).has_value());
}

TEST_F(ReplaceTest, ATestThatFailsIsNoAnswer)
{
    fs::create_symlink("loop", Path() / "loop");
    EXPECT_TRUE(CodeOf([&] { (void)IO::File::Exists(Place(u"loop")); }).has_value());
    EXPECT_FALSE(IO::File::Exists(Place(u"none")));
}

TEST_F(ReplaceTest, TimesBeyondTheirRangeAreItsEnds)
{
    Write("file", "x");
    for (const auto& [seconds, expected] :
         {std::pair{std::int64_t{1} << 33, INT32_MAX}, std::pair{std::int64_t{-1} << 31, INT32_MIN},
          std::pair{std::int64_t{13'569'465'600}, INT32_MAX}, std::pair{std::int64_t{-7}, -7}}) {
        const timespec times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, (Path() / "file").c_str(), times, 0), 0);
        const auto stamp = IO::File::GetChangeStamp(Place(u"file"));
        EXPECT_EQ(stamp->ModificationTime(), expected) << seconds;
    }
}

TEST_F(ReplaceTest, WritesNothingIntoALeftOverFile)
{
    // Linked elsewhere by someone who means harm.
    Write("victim", "untouched");
    fs::create_hard_link(Path() / "victim", Path() / "file.new-0");
    for (int number = 1; number < 100; ++number)
        fs::create_symlink(Path() / "victim", Path() / ("file.new-" + std::to_string(number)));
    (void)IO::File::Replace(Place(u"file"), "new");
    EXPECT_EQ(IO::File::ReadAll(Place(u"file")), "new");
    EXPECT_EQ(IO::File::ReadAll(Place(u"victim")), "untouched");
}

TEST_F(ReplaceTest, AKilledWriterLeavesTheOldFileOrTheNewOne)
{
    (void)IO::File::Replace(Place(u"file"), OV::String(200'000, 'a'));
    const auto replaceForever = [&] {
        for (int i = 0;; ++i)
            (void)IO::File::Replace(Place(u"file"), OV::String(i % 2 == 0 ? 300'000 : 200'000,
                                                               static_cast<char>('a' + i % 26)));
    };
    KillAtRandomInstants(replaceForever, std::chrono::milliseconds(10), [&] {
        ASSERT_TRUE(IsWhole(IO::File::ReadAll(Place(u"file"))));
        ASSERT_LE(EntryCount(), 2u) << "left-overs pile up";
    });
    (void)IO::File::Replace(Place(u"file"), "after");
    EXPECT_EQ(EntryCount(), 1u) << "the next writer takes the place of what was left";
}

TEST_F(ReplaceTest, ProcessesThatWriteAtOnceNeverTakeEachOthersFilesAndReadersSeeWholeOnes)
{
    (void)IO::File::Replace(Place(u"file"), OV::String(200'000, 'a'));
    std::vector<ChildProcess> writers;
    for (int process = 0; process < 3; ++process)
        writers.emplace_back([&] {
            const auto replaceOften = [&] {
                for (int i = 0; i < 100; ++i)
                    (void)IO::File::Replace(Place(u"file"),
                                            OV::String(i % 2 == 0 ? 300'000 : 200'000,
                                                       static_cast<char>('a' + i % 26)));
            };
            std::jthread second(replaceOften);
            replaceOften();
            return 0;
        });
    for (int look = 0; look < 100; ++look)
        ASSERT_TRUE(IsWhole(IO::File::ReadAll(Place(u"file"))));
    for (auto& writer : writers)
        EXPECT_EQ(writer.Wait(), 0) << "a replacement failed";
    EXPECT_EQ(EntryCount(), 1u);
}

TEST_F(ReplaceTest, AValueFileNamesItselfInItsErrors)
{
    OV::XMLOChannel document;
    document.EnterElement("Root");
    document.LeaveElement("Root");
    const auto stamp = IO::ReplaceWithXML(Place(u"\u4e2d.xml"), document);
    EXPECT_EQ(IO::OpenXMLInput(Place(u"\u4e2d.xml")).stamp, stamp);
    (void)IO::File::Replace(Place(u"\u4e2d.xml"), "<Root>");
    const Thrown thrown([&] { (void)IO::OpenXMLInput(Place(u"\u4e2d.xml")); });
    EXPECT_TRUE(thrown.Tells(OV::ToUtf8(Place(u"\u4e2d.xml").ToPath()))) << thrown.message;
    EXPECT_EQ(CodeOf([&] { (void)IO::OpenXMLInput(Place(u"none.xml")); }), ErrorCode::NotFound);
}

}  // namespace
