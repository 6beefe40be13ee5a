#include "EventLogUpdater.hpp"
#include "OVRoot/Exception.hpp"

#include <algorithm>
#include <functional>
#include <numeric>
#include <queue>
#include <unordered_map>

namespace {

using Position = std::uint16_t;
using LogField = LogDataLine::LogField;

/// For each position the place of its key among the different keys, from 0, best first. Keys that
/// do not sort before one another count as one.
template <class IsBetter>
OV::Array<Position> RankKeys(std::size_t count, IsBetter&& isBetter)
{
    OV::Array<Position> order(count);
    std::iota(order.begin(), order.end(), Position(0));
    std::sort(order.begin(), order.end(), isBetter);
    OV::Array<Position> ranks(count);
    Position rank = 0;
    for (std::size_t at = 1; at < count; ++at) {
        if (isBetter(order[at - 1], order[at]))
            ++rank;
        ranks[order[at]] = rank;
    }
    return ranks;
}

/// What of a line is compared, made once and not with every comparison.
template <class Key, class MakeKey>
OV::Array<Position> RankBy(const OV::PagedArray<LogDataLine>& lines, bool ascending,
                           MakeKey&& makeKey)
{
    OV::Array<Key> keys;
    keys.reserve(lines.size());
    for (const LogDataLine& line : lines)
        keys.push_back(makeKey(line));
    return RankKeys(keys.size(), [&](Position a, Position b) {
        return ascending ? keys[a] < keys[b] : keys[b] < keys[a];
    });
}

/// The text that a field compares; empty for a field that compares none.
OV::StringView TextOf(const LogRecord& record, LogField field)
{
    switch (field) {
    case LogField::User:
        return record.user;
    case LogField::Duration:
        return record.duration;
    case LogField::Operation:
        return record.operation;
    case LogField::Project:
        return record.project;
    default:
        return {};
    }
}

/// Many lines have few texts: each text is compared through one line that has it.
OV::Array<Position> RankByText(const OV::PagedArray<LogDataLine>& lines, LogField field,
                               bool ascending)
{
    std::unordered_map<OV::StringView, Position> known;
    OV::Array<const LogDataLine*> examples;
    OV::Array<Position> texts;
    texts.reserve(lines.size());
    for (const LogDataLine& line : lines) {
        const auto [text, isNew] =
            known.try_emplace(TextOf(line.Record(), field), static_cast<Position>(examples.size()));
        if (isNew)
            examples.push_back(&line);
        texts.push_back(text->second);
    }
    const auto ranks = RankKeys(examples.size(), [&](Position a, Position b) {
        return ascending ? LogDataLine::Compare(*examples[a], *examples[b], field)
                         : LogDataLine::Compare(*examples[b], *examples[a], field);
    });
    for (Position& text : texts)
        text = ranks[text];
    return texts;
}

OV::Array<Position> Rank(const OV::PagedArray<LogDataLine>& lines, LogField field, bool ascending)
{
    switch (field) {
    case LogField::Time:
        return RankBy<std::pair<std::int32_t, std::uint64_t>>(
            lines, ascending,
            [](const auto& line) { return std::pair(line.GetTimeVal(), line.GetId()); });
    case LogField::Size:
        return RankBy<std::uint32_t>(lines, ascending,
                                     [](const auto& line) { return line.GetSizeVal(); });
    default:
        return RankByText(lines, field, ascending);
    }
}

/// Where the lines of one key stand now; the first place is at hand.
using Places = std::priority_queue<Position, OV::Array<Position>, std::greater<Position>>;

/// Which former position each position gets. Selection takes the keys best first, and of equal ones
/// the line that stands first; the line that makes room goes to where that one was. Only the line
/// in front of all that remain ever makes room, so it is the first of its key.
OV::Array<Position> Select(const OV::Array<Position>& ranks)
{
    const std::size_t count = ranks.size();
    OV::Array<OV::Array<Position>> standing(
        count == 0 ? 0 : *std::max_element(ranks.begin(), ranks.end()) + std::size_t(1));
    for (std::size_t at = 0; at < count; ++at)
        standing[ranks[at]].push_back(static_cast<Position>(at));
    OV::Array<Places> places;
    for (auto& each : standing)
        places.emplace_back(std::greater<Position>(), std::move(each));
    OV::Array<Position> rankAt = ranks, lineAt(count);
    std::iota(lineAt.begin(), lineAt.end(), Position(0));
    std::size_t rank = 0;
    for (std::size_t front = 0; front < count; ++front) {
        while (places[rank].empty())
            ++rank;
        const Position best = places[rank].top();
        places[rank].pop();
        if (best == front)
            continue;
        Places& displaced = places[rankAt[front]];
        displaced.pop();
        displaced.push(best);
        std::swap(rankAt[front], rankAt[best]);
        std::swap(lineAt[front], lineAt[best]);
    }
    return lineAt;
}

}  // namespace

void EventLogUpdater::SortLines(OV::PagedArray<LogDataLine>& lines, LogField field, bool ascending)
{
    if (lines.size() > MostSortedLines)
        throw OV::IllegalArgumentException("Of " + std::to_string(lines.size()) +
                                           " lines at most " + std::to_string(MostSortedLines) +
                                           " can be sorted.");
    const auto order = Select(Rank(lines, field, ascending));
    OV::Array<LogDataLine> former(std::make_move_iterator(lines.begin()),
                                  std::make_move_iterator(lines.end()));
    for (std::size_t at = 0; at < order.size(); ++at)
        lines[at] = std::move(former[order[at]]);
}
