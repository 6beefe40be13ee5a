#include "Log/Detail/LogRank.hpp"

#include <algorithm>
#include <numeric>
#include <unordered_map>

namespace SYC::Detail {

namespace {

using LogField = LogDataLine::LogField;

/// For each position the place of its key among the different keys, from 0, best first. Keys that
/// do not sort before one another count as one.
template <class IsBetter>
OV::Array<std::uint32_t> RankKeys(std::size_t count, IsBetter&& isBetter)
{
    OV::Array<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), isBetter);
    OV::Array<std::uint32_t> ranks(count);
    std::uint32_t rank = 0;
    for (std::size_t at = 1; at < count; ++at) {
        if (isBetter(order[at - 1], order[at]))
            ++rank;
        ranks[order[at]] = rank;
    }
    return ranks;
}

/// What of a line is compared, made once and not with every comparison.
template <class Key, class MakeKey>
OV::Array<std::uint32_t> RankBy(const OV::Array<const LogDataLine*>& lines, bool ascending,
                                MakeKey&& makeKey)
{
    OV::Array<Key> keys;
    keys.reserve(lines.size());
    for (const LogDataLine* line : lines)
        keys.push_back(makeKey(*line));
    return RankKeys(keys.size(), [&](std::uint32_t a, std::uint32_t b) {
        return ascending ? keys[a] < keys[b] : keys[b] < keys[a];
    });
}

/// The text that a field compares; empty for a field that compares none.
OV::StringView TextOf(const SYC::LogRecord& record, LogField field)
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
OV::Array<std::uint32_t> RankByText(const OV::Array<const LogDataLine*>& lines, LogField field,
                                    bool ascending)
{
    std::unordered_map<OV::StringView, std::uint32_t> known;
    OV::Array<const LogDataLine*> examples;
    OV::Array<std::uint32_t> texts;
    texts.reserve(lines.size());
    for (const LogDataLine* line : lines) {
        const auto [text, isNew] = known.try_emplace(TextOf(line->Record(), field),
                                                     static_cast<std::uint32_t>(examples.size()));
        if (isNew)
            examples.push_back(line);
        texts.push_back(text->second);
    }
    const auto ranks = RankKeys(examples.size(), [&](std::uint32_t a, std::uint32_t b) {
        return ascending ? LogDataLine::Compare(*examples[a], *examples[b], field)
                         : LogDataLine::Compare(*examples[b], *examples[a], field);
    });
    for (std::uint32_t& text : texts)
        text = ranks[text];
    return texts;
}

}  // namespace

OV::Array<std::uint32_t> RankLines(const OV::Array<const LogDataLine*>& lines, LogField field,
                                   bool ascending)
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

}  // namespace SYC::Detail
