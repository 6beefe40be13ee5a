#include "ProjectTest.hpp"

#include "IO/Folder.hpp"
#include "Support/KillLoop.hpp"

#include <set>

namespace {

using SYC::CachedProjectInfo;

const SYC::Inner::ProjectConnectionInfo Connection{u"nexar", 8080, u"Bridge", u"me", u""};

class CacheProcessTest : public ProjectTest {};

TEST_F(CacheProcessTest, AKilledWriterLeavesAWholeFile)
{
    const IO::Location folder = CachedProjectInfo(Connection, Folder()).GetCacheFolderLocation();
    int lastSeen = 0;
    KillAtRandomInstants(
        [&] {
            CachedProjectInfo mine(folder);
            for (int i = mine.GetProjectBuildNum() + 1;; ++i) {
                mine.BeginUpdate();
                mine.SetUserId(OV::UniString(static_cast<std::size_t>(i % 5000), u'x'));
                mine.SetProjectBuildNum(i);
                mine.EndUpdate();
            }
        },
        std::chrono::milliseconds(60),
        [&] {
            const CachedProjectInfo read(folder);
            ASSERT_GE(read.GetProjectBuildNum(), lastSeen);
            ASSERT_EQ(read.GetUserId().size(),
                      static_cast<std::size_t>(read.GetProjectBuildNum() % 5000));
            lastSeen = read.GetProjectBuildNum();
        });
    EXPECT_GT(lastSeen, 0);
}

TEST_F(CacheProcessTest, ProcessesThatCreateAtOnceNeverShareAFolder)
{
    constexpr int Processes = 4;
    constexpr int Rounds = 10;
    for (int round = 0; round < Rounds; ++round) {
        const IO::Location parent = Folder().Appended(u"round " + OV::ToText(round));
        // Half of the rounds begin with a folder that is there already, for anyone to take.
        if (round % 2 == 0)
            IO::Folder::CreateTree(parent.Appended(u"nexar_Bridge_me"));
        {
            std::vector<ChildProcess> processes;
            for (int i = 0; i < Processes; ++i)
                processes.emplace_back([&, i] {
                    CachedProjectInfo(Connection, parent).SetUserId(OV::ToText(i));
                    return 0;
                });
            for (ChildProcess& process : processes)
                EXPECT_EQ(process.Wait(), 0);
        }
        std::set<OV::UniString> owners;
        IO::Folder::Enumerate(parent, [&](const IO::Folder::Entry& entry) {
            owners.insert(CachedProjectInfo(parent.Appended(entry.name)).GetUserId());
            return true;
        });
        EXPECT_EQ(owners.size(), static_cast<std::size_t>(Processes)) << "round " << round;
    }
}

}  // namespace
