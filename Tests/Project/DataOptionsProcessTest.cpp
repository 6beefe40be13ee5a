#include "DataOptionsTest.hpp"

#include "IO/ExclusiveFile.hpp"
#include "OVRoot/Thread.hpp"
#include "Support/KillLoop.hpp"
#include "Support/Pipe.hpp"
#include "Support/Thrown.hpp"

#include <atomic>
#include <unistd.h>

namespace {

/// The options in several processes.
class DataOptionsProcessTest : public DataOptionsTest {
protected:
    /// Under the lock, however long it takes to get it.
    static void Locked(const std::function<void()>& work)
    {
        for (;;) {
            const Synchronizer guard;
            if (Synchronizer::IsLocked())
                return work();
        }
    }
    static void HoldForEver(const Pipe& held)
    {
        const auto lock = IO::ExclusiveFile::TryOpen(Synchronizer::GetLockFileLoc());
        held.Tell();
        while (lock)
            pause();
    }
};

TEST_F(DataOptionsProcessTest, HostsThatChangeAtOnceLoseNothing)
{
    const int rounds = Rounds(60, 500);
    const auto host = [rounds, &options = registry](void (Registry::*setOwn)(std::int32_t)) {
        return ChildProcess([rounds, setOwn, &options] {
            for (int round = 1; round <= rounds; ++round) {
                Locked([&options] { options.SetLastUsedDays(options.GetLastUsedDays() + 1); });
                (options.*setOwn)(round);
            }
            while (options.HasUnwrittenOptions())
                Locked([] {});
            return 0;
        });
    };
    ChildProcess first = host(&Registry::SetPeriodTime);
    ChildProcess second = host(&Registry::SetLastRunTime);
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
    registry.RefreshData(false);
    EXPECT_EQ(registry.GetLastUsedDays(), 2 * rounds);
    EXPECT_EQ(registry.GetPeriodTime(), rounds);
    EXPECT_EQ(registry.GetLastRunTime(), rounds);
    EXPECT_FALSE(std::filesystem::exists(LockFile()));
}

TEST_F(DataOptionsProcessTest, AKilledHolderBlocksNobodyAndTearsNothing)
{
    registry.RefreshData(false);
    std::int32_t written = 0;
    KillAtRandomInstants(
        [this] {
            for (;;) {
                const Synchronizer guard;
                registry.SetPeriodTime(registry.GetPeriodTime() + 1);
                registry.SetLastUsedDays(registry.GetPeriodTime());
            }
        },
        std::chrono::milliseconds(60),
        [&] {
            const Synchronizer guard;
            ASSERT_TRUE(Synchronizer::IsLocked());
            ASSERT_FALSE(Synchronizer::IsLockedByOthers());
            ASSERT_GE(registry.GetPeriodTime(), written);
            ASSERT_EQ(registry.GetLastUsedDays(), registry.GetPeriodTime());
            written = registry.GetPeriodTime();
        });
    EXPECT_GT(written, 0);
}

TEST_F(DataOptionsProcessTest, AHolderThatNeverLetsGoCostsTenAttemptsAndNoChange)
{
    registry.RefreshData(false);
    const Pipe held;
    ChildProcess holder([&] {
        HoldForEver(held);
        return 1;
    });
    held.Await();
    EXPECT_TRUE(Synchronizer::IsLockedByOthers());
    const auto begin = std::chrono::steady_clock::now();
    registry.SetPeriodTime(11);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_FALSE(Synchronizer::IsLocked());
    EXPECT_EQ(registry.GetPeriodTime(), 11);
    EXPECT_TRUE(registry.HasUnwrittenOptions());

    std::atomic<bool> waits = false;
    bool interrupted = false;
    OV::Thread waiter("waiter", [&] {
        const Thrown thrown([&] {
            for (waits = true; !Synchronizer::WaitForLock();) {
            }
        });
        interrupted = thrown.name == "InterruptedException";
    });
    while (!waits)
        std::this_thread::yield();
    waiter.Interrupt();
    waiter.Join();
    EXPECT_TRUE(interrupted);

    holder.Kill();
    EXPECT_TRUE(std::filesystem::exists(LockFile())) << "left behind";
    // Another host meanwhile, which knows nothing of the change that waits here.
    ChildProcess other([this] {
        Registry::Init(HostFolder());
        registry.SetLastUsedDays(5);
        return 0;
    });
    EXPECT_EQ(other.Wait(), 0);
    registry.SetLastRunTime(6);
    EXPECT_FALSE(registry.HasUnwrittenOptions());
    Registry::Init(HostFolder());
    registry.RefreshData(false);
    EXPECT_EQ(registry.GetPeriodTime(), 11);
    EXPECT_EQ(registry.GetLastUsedDays(), 5);
    EXPECT_EQ(registry.GetLastRunTime(), 6);
}

}  // namespace
