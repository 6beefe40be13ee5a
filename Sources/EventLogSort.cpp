#include "Detail/LogRank.hpp"
#include "EventLogUpdater.hpp"
#include "OVRoot/Exception.hpp"

#include <algorithm>
#include <functional>
#include <numeric>
#include <queue>

namespace {

using Position = std::uint32_t;

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

void EventLogUpdater::SortLines(OV::PagedArray<LogDataLine>& lines, LogDataLine::LogField field,
                                bool ascending)
{
    if (lines.size() > MostSortedLines)
        throw OV::IllegalArgumentException("Of " + std::to_string(lines.size()) +
                                           " lines at most " + std::to_string(MostSortedLines) +
                                           " can be sorted.");
    const auto order = Select(SYC::Detail::RankLines(lines, field, ascending));
    OV::Array<LogDataLine> former(std::make_move_iterator(lines.begin()),
                                  std::make_move_iterator(lines.end()));
    for (std::size_t at = 0; at < order.size(); ++at)
        lines[at] = std::move(former[order[at]]);
}
