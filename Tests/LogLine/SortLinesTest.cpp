#include "EventLogUpdater.hpp"
#include "Log/LogTable.hpp"
#include "OVRoot/Exception.hpp"

#include <gtest/gtest.h>

#include <optional>
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

TEST(SortLinesTest, ATableLeavesWhatAStableSortOfItsRowsLeaves)
{
    using Table = SYC::LogTable;
    std::mt19937 random(2);
    const std::optional<Field> fields[] = {Field::Time,  Field::User, Field::Operation,
                                           std::nullopt, Field::Size, Field::Duration};
    for (std::size_t round = 0; round < 40; ++round) {
        auto lines =
            RandomLines(round < 20 ? round : 300, 1 + static_cast<int>(random() % 9), random);
        for (auto& line : lines) {
            const OV::UniString end = OV::ToText(static_cast<int>(random() % 3));
            line.SetComment(OV::UniString(random() % 3 * 7, u'x') + (round % 2 == 0 ? end : u""));
            if (round % 3 == 0)
                line.SetTime(u"-" + OV::ToText(static_cast<int>(random() % 4)));
            if (round % 4 == 0)
                line.SetSize(OV::ToText(random()));
        }
        std::shuffle(lines.begin(), lines.end(), random);
        OV::Array<std::uint32_t> rows;
        for (std::uint32_t row = 0; row < lines.size(); ++row)
            if (random() % 3 > 0)
                rows.push_back(row);
        std::shuffle(rows.begin(), rows.end(), random);
        const auto shared = std::make_shared<const Lines>(lines);
        const Lines& kept = *shared;
        const Table table(shared, rows);
        for (int column = 1; column <= Table::ColumnCount; ++column)
            for (const bool ascending : {true, false}) {
                auto sorted = rows;
                const auto field = fields[column - 1];
                std::stable_sort(sorted.begin(), sorted.end(), [&](auto left, auto right) {
                    const LogDataLine& a = kept[ascending ? left : right];
                    const LogDataLine& b = kept[ascending ? right : left];
                    return field ? LogDataLine::Compare(a, b, *field)
                                 : a.Record().comment < b.Record().comment;
                });
                const auto quick = table.Sorted(column, ascending);
                for (std::size_t at = 0; at < sorted.size(); ++at)
                    ASSERT_EQ(&quick->GetLine(static_cast<int>(at) + 1), &kept[sorted[at]])
                        << round << ' ' << column;
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
