#include "Log/Detail/LogRank.hpp"

#include "LogLine/Detail/TextOrder.hpp"

#include <algorithm>
#include <array>
#include <numeric>
#include <unordered_map>

namespace SYC::Detail {

namespace {

using Lines = OV::PagedArray<LogDataLine>;
using Rows = OV::Array<std::uint32_t>;
using Ranked = OV::Array<RankedRow>;

/// Sorts by `rank`, digit by digit from the lowest; rows of one rank stay in their order.
void SortByRank(Ranked& rows)
{
    constexpr unsigned bitsOfDigit = 11;
    constexpr std::uint32_t digits = 1U << bitsOfDigit;
    const auto isLess = [](const RankedRow& a, const RankedRow& b) { return a.rank < b.rank; };
    if (std::is_sorted(rows.begin(), rows.end(), isLess))
        return;
    Ranked other(rows.size());
    for (unsigned shift = 0; shift < 32; shift += bitsOfDigit) {
        const auto digitOf = [&](const RankedRow& row) { return (row.rank >> shift) % digits; };
        std::array<std::size_t, digits + 1> starts{};
        for (const RankedRow& row : rows)
            ++starts[digitOf(row) + 1];
        if (starts[digitOf(rows.front()) + 1] == rows.size())
            continue;
        std::partial_sum(starts.begin(), starts.end(), starts.begin());
        for (const RankedRow& row : rows)
            other[starts[digitOf(row)]++] = row;
        rows.swap(other);
    }
}

/// Makes the ranks of sorted rows count up from 0. `isSame` tells of neighbours of one rank whether
/// their keys are the same.
template <class IsSame>
void CountUp(Ranked& rows, IsSame&& isSame)
{
    std::uint32_t rank = 0, former = rows.empty() ? 0 : rows.front().rank;
    for (std::size_t at = 0; at < rows.size(); ++at) {
        if (at > 0 && (rows[at].rank != former || !isSame(rows[at - 1].row, rows[at].row)))
            ++rank;
        former = std::exchange(rows[at].rank, rank);
    }
}

template <class NumberOf>
Ranked RankByNumber(const Lines& lines, const Rows& rows, NumberOf&& numberOf)
{
    Ranked ranked(rows.size());
    for (std::uint32_t row = 0; row < rows.size(); ++row)
        ranked[row] = {numberOf(lines[rows[row]]), row};
    SortByRank(ranked);
    return ranked;
}

/// Lines of one second are in the order in which they were made.
Ranked RankByTime(const Lines& lines, const Rows& rows)
{
    Ranked ranked = RankByNumber(lines, rows, [](const LogDataLine& line) {
        return static_cast<std::uint32_t>(line.GetTimeVal()) ^ 0x8000'0000U;
    });
    const auto idOf = [&](const RankedRow& row) { return lines[rows[row.row]].GetId(); };
    const auto isOlder = [&](const auto& a, const auto& b) { return idOf(a) < idOf(b); };
    for (auto first = ranked.begin(); first != ranked.end();) {
        const auto end = std::find_if(first, ranked.end(),
                                      [&](const auto& row) { return row.rank != first->rank; });
        if (!std::is_sorted(first, end, isOlder))
            std::stable_sort(first, end, isOlder);
        first = end;
    }
    CountUp(ranked, [&](std::uint32_t a, std::uint32_t b) {
        return lines[rows[a]].GetId() == lines[rows[b]].GetId();
    });
    return ranked;
}

/// The text that a field compares; empty for a field that compares none.
OV::StringView TextOf(const LogRecord& record, LogKey key)
{
    switch (key) {
    case LogKey::User:
        return record.user;
    case LogKey::Duration:
        return record.duration;
    case LogKey::Operation:
        return record.operation;
    case LogKey::Project:
        return record.project;
    default:
        return {};
    }
}

/// For each position the place of its key among the different keys, from 0.
template <class IsLess>
OV::Array<std::uint32_t> RankKeys(std::size_t count, IsLess&& isLess)
{
    OV::Array<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), isLess);
    OV::Array<std::uint32_t> ranks(count);
    std::uint32_t rank = 0;
    for (std::size_t at = 1; at < count; ++at) {
        if (isLess(order[at - 1], order[at]))
            ++rank;
        ranks[order[at]] = rank;
    }
    return ranks;
}

/// Many lines have few texts: each text is compared through one line that has it.
Ranked RankByText(const Lines& lines, const Rows& rows, LogKey key)
{
    std::unordered_map<OV::StringView, std::uint32_t> known;
    OV::Array<const LogDataLine*> examples;
    Ranked ranked(rows.size());
    for (std::uint32_t row = 0; row < rows.size(); ++row) {
        const LogDataLine& line = lines[rows[row]];
        const auto [text, isNew] = known.try_emplace(TextOf(line.Record(), key),
                                                     static_cast<std::uint32_t>(examples.size()));
        if (isNew)
            examples.push_back(&line);
        ranked[row] = {text->second, row};
    }
    const auto ranks = RankKeys(examples.size(), [&](std::uint32_t a, std::uint32_t b) {
        return LogDataLine::Compare(*examples[a], *examples[b],
                                    static_cast<LogDataLine::LogField>(key));
    });
    for (RankedRow& row : ranked)
        row.rank = ranks[row.rank];
    SortByRank(ranked);
    return ranked;
}

Ranked RankByComment(const Lines& lines, const Rows& rows)
{
    const auto places =
        TextOrder::Sort(static_cast<std::uint32_t>(rows.size()),
                        [&](std::uint32_t row) { return lines[rows[row]].Record().comment; });
    Ranked ranked(rows.size());
    for (std::size_t at = 0; at < places.size(); ++at)
        ranked[at] = {static_cast<std::uint32_t>(places[at].key), places[at].number};
    return ranked;
}

}  // namespace

Ranked RankRows(const Lines& lines, const Rows& rows, LogKey key)
{
    if (key == LogKey::Time)
        return RankByTime(lines, rows);
    Ranked ranked =
        key == LogKey::Size
            ? RankByNumber(lines, rows, [](const LogDataLine& line) { return line.GetSizeVal(); })
        : key == LogKey::Comment ? RankByComment(lines, rows)
                                 : RankByText(lines, rows, key);
    CountUp(ranked, [](std::uint32_t, std::uint32_t) { return true; });
    return ranked;
}

}  // namespace SYC::Detail
