#include "LogIndex/Detail/IndexOrder.hpp"

#include "LogIndex/Detail/IndexSearch.hpp"
#include "OVRoot/Thread.hpp"

#include <algorithm>
#include <bit>
#include <numeric>

namespace SYC::Detail {

namespace {

/// Counts at places 0 to size - 1: their sums, and the place where a sum is reached.
class CountTree {
public:
    explicit CountTree(std::size_t size) : sums_(size + 1, 0) {}

    /// All places hold 1.
    void FillWithOnes(std::size_t size)
    {
        sums_.resize(size + 1);
        for (std::size_t at = 1; at <= size; ++at)
            sums_[at] = static_cast<std::uint32_t>(at & -at);
    }
    void Add(std::size_t place, std::uint32_t count)
    {
        for (std::size_t at = place + 1; at < sums_.size(); at += at & -at)
            sums_[at] += count;
    }
    [[nodiscard]] std::uint32_t SumBefore(std::size_t place) const
    {
        std::uint32_t sum = 0;
        for (std::size_t at = place; at > 0; at -= at & -at)
            sum += sums_[at];
        return sum;
    }
    /// The place of the one with `before` ones in front of it, which is taken away.
    std::size_t TakeOne(std::uint32_t before)
    {
        std::size_t at = 0;
        for (std::size_t step = std::bit_floor(sums_.size() - 1); step > 0; step /= 2)
            if (at + step < sums_.size() && sums_[at + step] <= before) {
                at += step;
                before -= sums_[at];
            }
        Add(at, std::uint32_t(-1));
        return at;
    }

private:
    OV::Array<std::uint32_t> sums_;
};

/// The place within its run, which stands from `begin` to `end` of `size` items, that a new item
/// of its text gets.
std::uint32_t PlaceInRun(std::uint32_t size, std::uint32_t begin, std::uint32_t end)
{
    if (size == 0)
        return 0;
    const auto compare = [&](std::uint32_t at) { return at < begin ? -1 : at < end ? 0 : 1; };
    const std::uint32_t found = SearchIndex(size, compare);
    const std::uint32_t place = found < size && compare(found) <= 0 ? found + 1 : found;
    return std::min(place, size) - begin;
}

}  // namespace

void IndexOrder::Add(const OV::String& text)
{
    const auto [found, isNew] =
        numbers_.try_emplace(text, static_cast<std::uint32_t>(texts_.size()));
    if (isNew)
        texts_.push_back(&found->first);
    rows_.push_back(found->second);
}

OV::Array<IndexOrder::Entry> IndexOrder::Sort() const
{
    // The texts in their order; malformed bytes may make equal texts of different ones.
    OV::Array<StringIndexItem::Text> decoded;
    decoded.reserve(texts_.size());
    for (const OV::String* text : texts_) {
        OV::Thread::ThrowIfInterrupted();
        decoded.push_back(std::make_shared<const OV::UniString>(OV::FromUtf8(*text)));
    }
    OV::Array<std::uint32_t> order(decoded.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        OV::Thread::ThrowIfInterrupted();
        return *decoded[a] < *decoded[b];
    });
    OV::Array<std::uint32_t> runOf(order.size());
    OV::Array<StringIndexItem::Text> texts;
    for (const std::uint32_t number : order) {
        if (texts.empty() || *texts.back() != *decoded[number])
            texts.push_back(decoded[number]);
        runOf[number] = static_cast<std::uint32_t>(texts.size() - 1);
    }

    // Forwards: each row's place in its run when it came.
    CountTree before(texts.size());
    OV::Array<std::uint32_t> sizes(texts.size(), 0), places(rows_.size());
    for (std::uint32_t row = 0; row < rows_.size(); ++row) {
        OV::Thread::ThrowIfInterrupted();
        const std::uint32_t run = runOf[rows_[row]];
        const std::uint32_t begin = before.SumBefore(run);
        places[row] = PlaceInRun(row, begin, begin + sizes[run]);
        ++sizes[run];
        before.Add(run, 1);
    }

    // The rows of each run, in the order in which they came.
    OV::Array<std::uint32_t> starts(texts.size() + 1, 0);
    std::partial_sum(sizes.begin(), sizes.end(), starts.begin() + 1);
    OV::Array<std::uint32_t> filled(starts.begin(), starts.end() - 1), rowsOfRuns(rows_.size());
    for (std::uint32_t row = 0; row < rows_.size(); ++row)
        rowsOfRuns[filled[runOf[rows_[row]]]++] = row;

    // Backwards: who came last is where it was put; each earlier one takes its place among those
    // that the later ones leave free.
    OV::Array<Entry> sorted(rows_.size());
    CountTree free(0);
    for (std::size_t run = 0; run < texts.size(); ++run) {
        free.FillWithOnes(sizes[run]);
        for (std::uint32_t left = sizes[run]; left-- > 0;) {
            OV::Thread::ThrowIfInterrupted();
            const std::uint32_t row = rowsOfRuns[starts[run] + left];
            sorted[starts[run] + free.TakeOne(places[row])] = {row, texts[run]};
        }
    }
    return sorted;
}

}  // namespace SYC::Detail
