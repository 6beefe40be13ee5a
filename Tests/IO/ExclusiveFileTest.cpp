#include "IO/ExclusiveFile.hpp"
#include "IO/File.hpp"
#include "IO/IOException.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using IO::ExclusiveFile;

/// Two processes that wait for each other at agreed points.
class Gate {
public:
    Gate()
    {
        if (pipe(ends_.data()) != 0)
            throw std::runtime_error("no pipe can be made");
    }
    ~Gate()
    {
        close(ends_[0]);
        close(ends_[1]);
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void Open() const { ASSERT_EQ(write(ends_[1], "x", 1), 1); }
    void Pass() const
    {
        char byte = 0;
        ASSERT_EQ(read(ends_[0], &byte, 1), 1);
    }

private:
    std::array<int, 2> ends_{};
};

ExclusiveFile OpenPatiently(const IO::Location& file)
{
    for (;;) {
        if (auto held = ExclusiveFile::TryOpen(file))
            return *std::move(held);
        std::this_thread::yield();
    }
}

IO::ErrorCode CodeOfDeletion(const IO::Location& file)
{
    try {
        IO::File::Delete(file);
    } catch (const IO::IOException& error) {
        return error.GetCode();
    }
    return {};
}

class ExclusiveFileTest : public testing::Test {
protected:
    TemporaryFolder folder_;
    IO::Location lock_ = folder_.GetLocation().Appended(u"@\u00dcbung.Lock");
};

}  // namespace

TEST_F(ExclusiveFileTest, ProcessesThatDeleteTheFileAtReleaseLoseNoUpdate)
{
    constexpr int processes = 4;
    constexpr int rounds = 250;
    const auto counter = (folder_.Path() / "counter").string();
    std::ofstream(counter) << 0;
    std::vector<ChildProcess> children;
    for (int child = 0; child < processes; ++child)
        children.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                auto held = OpenPatiently(lock_);
                int count = -1;
                std::ifstream(counter) >> count;
                // In place and unflushed to the disk: whoever overlaps sees a part of it.
                std::ofstream(counter) << count + 1;
                held.DeleteAndClose();
            }
            return 0;
        });
    for (auto& child : children)
        EXPECT_EQ(child.Wait(), 0);
    int count = 0;
    std::ifstream(counter) >> count;
    EXPECT_EQ(count, processes * rounds);
    EXPECT_FALSE(IO::File::Exists(lock_));
}

TEST_F(ExclusiveFileTest, AHoldKeepsOthersOutUntilItsProcessIsKilled)
{
    const Gate held;
    const Gate never;
    ChildProcess holder([&] {
        const auto mine = ExclusiveFile::TryOpen(lock_);
        held.Open();
        never.Pass();
        return 0;
    });
    held.Pass();
    EXPECT_FALSE(ExclusiveFile::TryOpen(lock_));
    EXPECT_EQ(CodeOfDeletion(lock_), IO::ErrorCode::HeldByOther);
    EXPECT_EQ(static_cast<std::uint32_t>(CodeOfDeletion(lock_)), 0x81010202u);
    EXPECT_TRUE(IO::File::Exists(lock_));

    holder.Kill();
    ASSERT_TRUE(IO::File::Exists(lock_)) << "left over, and it blocks nobody";
    {
        auto next = ExclusiveFile::TryOpen(lock_);
        ASSERT_TRUE(next);
        EXPECT_TRUE(next->StillInPlace());
    }
    EXPECT_EQ(CodeOfDeletion(lock_), IO::ErrorCode{});
    EXPECT_FALSE(IO::File::Exists(lock_));
    EXPECT_EQ(CodeOfDeletion(lock_), IO::ErrorCode{}) << "an absent file counts as deleted";
}

TEST_F(ExclusiveFileTest, AForkedChildNeitherKeepsNorDisturbsTheHold)
{
    const Gate forked;
    const Gate never;
    auto held = std::make_unique<ExclusiveFile>(OpenPatiently(lock_));
    ChildProcess child([&] {
        const bool isOut = !held->StillInPlace() && !ExclusiveFile::TryOpen(lock_);
        if (isOut)
            held->DeleteAndClose();
        forked.Open();
        never.Pass();
        return 0;
    });
    forked.Pass();
    EXPECT_TRUE(held->StillInPlace()) << "the child let go of its copy alone";
    EXPECT_FALSE(ExclusiveFile::TryOpen(lock_));
    held.reset();
    EXPECT_TRUE(ExclusiveFile::TryOpen(lock_)) << "while the child still lives";
}

TEST_F(ExclusiveFileTest, AFileThatWasReplacedUnderTheHolderIsNotDeletedByIt)
{
    auto first = ExclusiveFile::TryOpen(lock_);
    ASSERT_TRUE(first);
    // By hand, as no holder of ours would.
    std::filesystem::remove(lock_.ToNativePath());
    EXPECT_FALSE(first->StillInPlace());
    const auto second = ExclusiveFile::TryOpen(lock_);
    ASSERT_TRUE(second);
    first->DeleteAndClose();
    EXPECT_TRUE(second->StillInPlace());
    EXPECT_FALSE(ExclusiveFile::TryOpen(lock_));
}

TEST_F(ExclusiveFileTest, OpensNothingThatIsNoFileOfItsOwn)
{
    EXPECT_THROW((void)ExclusiveFile::TryOpen(folder_.GetLocation()), IO::IOException);
    EXPECT_THROW((void)ExclusiveFile::TryOpen(folder_.GetLocation().Appended(u"no").Appended(u"x")),
                 IO::IOException);
    // The lock would be on whatever the link stands for.
    std::ofstream(folder_.Path() / "target") << "content";
    std::filesystem::create_symlink("target", lock_.ToNativePath());
    EXPECT_THROW((void)ExclusiveFile::TryOpen(lock_), IO::IOException);
}

TEST_F(ExclusiveFileTest, ThreadsShutEachOtherOutLikeProcesses)
{
    std::atomic<bool> inside{false};
    std::atomic<int> overlaps{0};
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 3; ++thread)
            threads.emplace_back([&] {
                for (int round = 0; round < 200; ++round) {
                    auto held = OpenPatiently(lock_);
                    overlaps += inside.exchange(true) ? 1 : 0;
                    inside = false;
                    if (round % 2 == 0)
                        held.DeleteAndClose();
                }
            });
    }
    EXPECT_EQ(overlaps, 0);
}
