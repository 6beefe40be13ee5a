#include "FileTest.hpp"

#include "IO/ExclusiveFile.hpp"
#include "IO/File.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/Pipe.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using IO::ErrorCode;
using IO::ExclusiveFile;

class ExclusiveFileTest : public FileTest {
protected:
    [[nodiscard]] IO::Location Lock() const { return Place(u"@\u4e2d.Lock"); }
    [[nodiscard]] ExclusiveFile Hold() const
    {
        return ExclusiveFile::Open(Lock(), {1, ExclusiveFile::Patience::ForEver});
    }
    [[nodiscard]] bool IsFree() const { return ExclusiveFile::TryOpen(Lock()).has_value(); }
    /// What another process finds.
    [[nodiscard]] bool IsFreeForOthers() const
    {
        return ChildProcess([&] { return IsFree() ? 0 : 1; }).Wait() == 0;
    }
    [[nodiscard]] int Counter() const
    {
        int number = 0;
        std::ifstream(Path() / "counter") >> number;
        return number;
    }
    /// Not atomic on purpose: only the hold keeps an increment from being lost.
    void Increment() const
    {
        const int number = Counter();
        std::ofstream(Path() / "counter") << number + 1;
    }
};

TEST_F(ExclusiveFileTest, IsHeldByOneAndFreeWhenItIsLetGo)
{
    {
        auto held = ExclusiveFile::TryOpen(Lock());
        ASSERT_TRUE(held);
        EXPECT_FALSE(IsFree()) << "not even for this process";
        EXPECT_FALSE(IsFreeForOthers());
        EXPECT_EQ(CodeOf([&] {
                      (void)ExclusiveFile::Open(Lock(), {1, 2});
                  }),
                  ErrorCode::HeldByOther);
        EXPECT_EQ(CodeOf([&] { IO::File::Delete(Lock()); }), ErrorCode::HeldByOther);
        const ExclusiveFile moved = std::move(*held);
        held.reset();
        EXPECT_FALSE(IsFreeForOthers());
    }
    EXPECT_TRUE(IO::File::Exists(Lock())) << "a left-over file proves nothing";
    EXPECT_EQ(std::filesystem::status(Lock().ToNativePath()).permissions(),
              std::filesystem::perms(0600))
        << "who may open it may hold it";
    EXPECT_TRUE(IsFreeForOthers());
    auto held = Hold();
    EXPECT_TRUE(held.StillInPlace());
    held.DeleteAndClose();
    EXPECT_FALSE(IO::File::Exists(Lock()));
    EXPECT_FALSE(held.StillInPlace());
    held.DeleteAndClose();
    EXPECT_EQ(CodeOf([&] { (void)ExclusiveFile::TryOpen(Place(u"none").Appended(u"x")); }),
              ErrorCode::NotFound);
}

TEST_F(ExclusiveFileTest, NeverDeletesTheFileThatTookItsPlace)
{
    auto held = Hold();
    // By a program that knows nothing of holds.
    fs::remove(Path() / "@\u4e2d.Lock");
    const auto second = ExclusiveFile::TryOpen(Lock());
    ASSERT_TRUE(second) << "the former hold is on no file that anybody finds";
    EXPECT_FALSE(held.StillInPlace());
    held.DeleteAndClose();
    EXPECT_TRUE(second->StillInPlace());
}

TEST_F(ExclusiveFileTest, HoldsNothingThatIsNoFileOfItsOwn)
{
    EXPECT_TRUE(CodeOf([&] { (void)ExclusiveFile::TryOpen(Place(u"")); }).has_value());
    // The hold would be on whatever the link stands for.
    Write("target", "content");
    fs::create_symlink("target", Path() / "@\u4e2d.Lock");
    EXPECT_TRUE(CodeOf([&] { (void)ExclusiveFile::TryOpen(Lock()); }).has_value());
}

TEST_F(ExclusiveFileTest, AKilledHolderLeavesItFreeThoughItsChildLives)
{
    const Pipe isForked;
    const Pipe end;
    ChildProcess parent([&] {
        const auto held = Hold();
        ChildProcess child([&] {
            isForked.Tell();
            end.Await();
            return 0;
        });
        pause();
        return 0;
    });
    isForked.Await();
    EXPECT_FALSE(IsFree()) << "the fork takes nothing from its parent";
    EXPECT_EQ(CodeOf([&] { IO::File::Delete(Lock()); }), ErrorCode::HeldByOther);
    parent.Kill();
    EXPECT_TRUE(IsFree());
    IO::File::Delete(Lock());
    EXPECT_FALSE(IO::File::Exists(Lock()));
    end.Tell();
}

TEST_F(ExclusiveFileTest, AChildThatLetsGoOfItsCopyTakesNothingFromItsParent)
{
    auto held = Hold();
    ChildProcess child([&] {
        held.DeleteAndClose();
        return held.StillInPlace() || !IO::File::Exists(Lock()) ? 1 : 0;
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_TRUE(held.StillInPlace());
    EXPECT_FALSE(IsFreeForOthers());
}

TEST_F(ExclusiveFileTest, NoIncrementIsLostWhileAllDeleteLocksAndOneOnlyStaleOnes)
{
    constexpr int processes = 4;
    constexpr int increments = 250;
    std::vector<ChildProcess> children;
    for (int i = 0; i < processes; ++i)
        children.emplace_back([&, i] {
            for (int round = 0; round < increments; ++round) {
                auto held = Hold();
                Increment();
                // Both ways that a hold ends, so that each meets each in another process.
                if ((round + i) % 3 != 0)
                    held.DeleteAndClose();
            }
            return 0;
        });
    // Must notice that what it opened is not what stands there now.
    ChildProcess deleter([&] {
        for (;;) {
            const auto code = CodeOf([&] { IO::File::Delete(Lock()); });
            if (code && code != ErrorCode::HeldByOther)
                return 1;
        }
    });
    for (auto& child : children)
        EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(Counter(), processes * increments);
}

TEST_F(ExclusiveFileTest, DeleteTakesWhatNobodyHolds)
{
    fs::create_directory(Path() / "folder");
    Write("folder/file", "x");
    fs::create_symlink("folder/file", Path() / "link");
    IO::File::Delete(Place(u"link"));
    EXPECT_TRUE(fs::exists(Path() / "folder/file")) << "the link, not its target";
    IO::File::Delete(Place(u"none"));
    EXPECT_TRUE(CodeOf([&] { IO::File::Delete(Place(u"folder")); }).has_value());

    // One that its owner cannot read; for root there is none such.
    Write("unreadable", "x");
    fs::permissions(Path() / "unreadable", fs::perms::none);
    fs::permissions(Path(), fs::perms::all);
    ChildProcess user([&] {
        if (geteuid() == 0 && seteuid(65534) != 0)
            return 1;
        IO::File::Delete(Place(u"unreadable"));
        return 0;
    });
    EXPECT_EQ(user.Wait(), 0);
    EXPECT_FALSE(fs::exists(Path() / "unreadable"));
}

TEST_F(ExclusiveFileTest, DeleteDoesNotTakeLackOfDescriptorsForLackOfAHolder)
{
    ChildProcess exhausted([&] {
        Write("file", "x");
        while (open("/dev/null", O_RDONLY) >= 0) {
        }
        const bool failed = CodeOf([&] { IO::File::Delete(Place(u"file")); }).has_value();
        return failed && fs::exists(Path() / "file") ? 0 : 1;
    });
    EXPECT_EQ(exhausted.Wait(), 0);
}

}  // namespace
