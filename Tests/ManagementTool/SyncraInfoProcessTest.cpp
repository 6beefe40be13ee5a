#include "SyncraInfoTest.hpp"

#include "Files/FileErrors.hpp"
#include "IO/ExclusiveFile.hpp"
#include "OVRoot/Thread.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/Pipe.hpp"
#include "Support/Thrown.hpp"

#include <atomic>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// The same file in several processes.
class SyncraInfoProcessTest : public SyncraInfoTest {
protected:
    [[nodiscard]] static IO::Location LockFile()
    {
        return SyncraInfo().GetFileLocation().Parent().Appended(u"@SYInfo.Lock");
    }
    static void AddOne(const OV::UniString& user)
    {
        SyncraInfo().Update([&](SyncraInfo& info) { info.AddUser(user, u"nexar", user); });
    }
};

TEST_F(SyncraInfoProcessTest, WritersAtOnceLoseNothingAndReadersSeeWholeFiles)
{
    constexpr int Writers = 4;
    constexpr int Rounds = 15;
    std::vector<ChildProcess> writers;
    for (int writer = 0; writer < Writers; ++writer)
        writers.emplace_back([writer] {
            for (int round = 0; round < Rounds; ++round)
                AddOne(OV::ToText(writer) + u"-" + OV::ToText(round));
            return 0;
        });
    std::size_t seen = 0;
    for (int look = 0; look < 300; ++look) {
        const std::size_t now = SyncraInfo().GetUserNumber();
        ASSERT_GE(now, seen);
        seen = now;
    }
    for (ChildProcess& writer : writers)
        EXPECT_EQ(writer.Wait(), 0);
    EXPECT_EQ(SyncraInfo().GetUserNumber(), static_cast<std::size_t>(Writers * Rounds));
    EXPECT_FALSE(IsLockFileThere());
}

TEST_F(SyncraInfoProcessTest, WhoWaitsForAHolderThatNeverLetsGoCanBeAskedToStop)
{
    AddOne(u"before");
    const std::string before = ReadBytes(Path("SyncraInfo_v2.xml"));
    const Pipe held;
    ChildProcess holder([&] {
        const auto lock = IO::ExclusiveFile::TryOpen(LockFile());
        held.Tell();
        for (;;)
            pause();
        return lock ? 0 : 1;
    });
    held.Await();

    std::atomic<int> interrupted = 0;
    std::atomic<int> begun = 0;
    std::vector<OV::Thread> waiting;
    for (int i = 0; i < 2; ++i)
        waiting.emplace_back("waiting", [&, i] {
            SyncraInfo info;
            info.SetLastServerName(u"lost");
            ++begun;
            const Thrown thrown([&] {
                if (i == 0)
                    info.SaveSyncraInfo();
                else
                    info.Update([](SyncraInfo&) { ADD_FAILURE() << "the lock is not ours"; });
            });
            interrupted += thrown.name == "InterruptedException";
        });
    while (begun < 2)
        std::this_thread::yield();
    for (OV::Thread& thread : waiting)
        thread.Interrupt();
    for (OV::Thread& thread : waiting)
        thread.Join();
    EXPECT_EQ(interrupted, 2);
    EXPECT_EQ(ReadBytes(Path("SyncraInfo_v2.xml")), before);
    EXPECT_EQ(SyncraInfo().GetUserNumber(), 1u) << "readers do not wait";

    holder.Kill();
    EXPECT_TRUE(IsLockFileThere());
    AddOne(u"after");
    EXPECT_EQ(SyncraInfo().GetUserNumber(), 2u);
    EXPECT_FALSE(IsLockFileThere());
}

TEST_F(SyncraInfoProcessTest, WithoutAPossibleLockItWritesAndWithoutAPossibleFileItLetsGo)
{
    fs::create_directory(Path("@SYInfo.Lock"));
    AddOne(u"anna");
    EXPECT_EQ(SyncraInfo().GetUserNumber(), 1u);
    fs::remove(Path("@SYInfo.Lock"));

    SyncraInfo info;
    fs::remove(Path("SyncraInfo_v2.xml"));
    fs::create_directory(Path("SyncraInfo_v2.xml"));
    EXPECT_THROW(info.WriteToDisc(), Syncra::Server::ManagementTool::Core::FileOpenningError);
    EXPECT_THROW(info.Update([](SyncraInfo&) { throw OV::NullReferenceException(); }),
                 OV::NullReferenceException);
    EXPECT_FALSE(IsLockFileThere());
}

}  // namespace
