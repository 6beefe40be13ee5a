#include "EventLogUpdater.hpp"
#include "OVRoot/Exception.hpp"

#include <gtest/gtest.h>

#include <random>

namespace {

using Field = LogDataLine::LogField;
using Lines = OV::PagedArray<LogDataLine>;

/// The rule itself: selection, with swaps by assignment.
void SortBySelection(Lines& lines, Field field, bool ascending)
{
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::size_t best = i;
        for (std::size_t j = i + 1; j < lines.size(); ++j)
            if (ascending ? LogDataLine::Compare(lines[j], lines[best], field)
                          : LogDataLine::Compare(lines[best], lines[j], field))
                best = j;
        const LogDataLine kept = lines[i];
        lines[i] = lines[best];
        lines[best] = kept;
    }
}

/// Lines of few different keys, so that many are equal.
Lines RandomLines(std::size_t count, int keys, std::mt19937& random)
{
    const char16_t* operations[] = {u"Send", u"Put Object", u"Login", u"Join", u"other", u"Lock"};
    Lines lines;
    for (std::size_t i = 0; i < count; ++i) {
        const auto key = [&] { return OV::ToText(static_cast<int>(random() % keys)); };
        LogDataLine& line = !lines.empty() && random() % 4 == 0 ? lines.emplace_back(lines.back())
                                                                : lines.emplace_back();
        line.SetTime(key());
        line.SetUser(u"user \u00E4" + key());
        line.SetDuration(key());
        line.SetSize(key());
        line.SetProject(key());
        line.SetOperation(operations[random() % std::min<std::size_t>(keys, 6)]);
        line.SetVersion(static_cast<std::int16_t>(i));
    }
    return lines;
}

}  // namespace

TEST(SortLinesTest, LeavesTheOrderThatSelectionLeaves)
{
    std::mt19937 random(1);
    for (std::size_t round = 0; round < 60; ++round) {
        const std::size_t count = round < 40 ? round : random() % 160;
        const Lines lines = RandomLines(count, 1 + static_cast<int>(random() % 9), random);
        for (int field = 1; field <= 7; ++field)
            for (const bool ascending : {true, false}) {
                Lines fast = lines, slow = lines;
                EventLogUpdater::SortLines(fast, static_cast<Field>(field), ascending);
                SortBySelection(slow, static_cast<Field>(field), ascending);
                for (std::size_t at = 0; at < count; ++at) {
                    ASSERT_EQ(fast[at].GetId(), slow[at].GetId()) << count << ' ' << field;
                    ASSERT_FALSE(fast[at] != slow[at]) << "and each version at its position";
                }
            }
    }
}

TEST(SortLinesTest, TakesAsManyLinesAsItCanCountAndNotOneMore)
{
    Lines lines(EventLogUpdater::MostSortedLines);
    EventLogUpdater::SortLines(lines, Field::Time, false);
    EXPECT_GT(lines.front().GetId(), lines.back().GetId());
    lines.emplace_back();
    EXPECT_THROW(EventLogUpdater::SortLines(lines, Field::Time, true),
                 OV::IllegalArgumentException);
    EXPECT_GT(lines.front().GetId(), lines[1].GetId()) << "as they were";
}
