#include "ProjectStatusText.hpp"

#include <gtest/gtest.h>

namespace {

TEST(ProjectStatusTextTest, NamesTheStateThatLeavesLeastToDo)
{
    // joined, detached, deleted, traveling, unsent changes, offline
    const struct {
        SYC::ProjectStatusFacts facts;
        const char* word;
        const char* status;
    } cases[] = {
        {{}, "", ""},
        {{false, false, false, false, true, true}, "", ""},
        {{true}, "Joined", "Joined"},
        {{true, false, false, false, false, true}, "Joined", "Joined (Offline)"},
        {{true, false, false, false, true}, "Joined", "Joined, unsent changes"},
        {{true, false, false, false, true, true}, "Joined", "Joined, unsent changes (Offline)"},
        {{true, false, false, true, true}, "Traveling", "Traveling"},
        {{true, true, false, true, true}, "Detached", "Detached"},
        {{true, true, false, true, true, true}, "Detached", "Detached (Offline)"},
        {{true, true, true, true, true}, "Deleted from Server", "Deleted from Server"},
        {{true, false, true, false, false, true}, "Deleted from Server", "Deleted from Server"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(OV::ToUtf8(SYC::GetProjectStateWord(c.facts)), c.word);
        EXPECT_EQ(OV::ToUtf8(SYC::GetProjectStatusText(c.facts)), c.status);
        EXPECT_EQ(OV::ToUtf8(SYC::GetUnsentChangesText(c.facts)),
                  c.facts.unsentChanges ? "unsent changes" : "");
    }
}

}  // namespace
