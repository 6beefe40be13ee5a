#include "LogIndex/Detail/IndexOrder.hpp"

#include "LogIndex/Detail/IndexSearch.hpp"
#include "LogLine/Detail/TextOrder.hpp"
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

/// The texts of a log, row by row, in UTF-8.
class Texts {
public:
    Texts(OV::StringView bytes, const OV::Array<std::size_t>& ends) : bytes_(bytes), ends_(ends) {}
    [[nodiscard]] std::uint32_t GetCount() const
    {
        return static_cast<std::uint32_t>(ends_.size() - 1);
    }
    [[nodiscard]] OV::StringView operator()(std::uint32_t row) const
    {
        return bytes_.substr(ends_[row], ends_[row + 1] - ends_[row]);
    }

private:
    OV::StringView bytes_;
    const OV::Array<std::size_t>& ends_;
};

bool IsAscii(OV::StringView bytes)
{
    unsigned char all = 0;
    for (const char each : bytes)
        all |= static_cast<unsigned char>(each);
    return all < 0x80;
}

/// One behind the other into `decoded`, which has room for them.
OV::UniStringView Decode(OV::StringView text, OV::Array<char16_t>& decoded)
{
    const std::size_t before = decoded.size();
    if (IsAscii(text))
        decoded.insert(decoded.end(), text.begin(), text.end());
    else {
        const OV::UniString units = OV::FromUtf8(text);
        decoded.insert(decoded.end(), units.begin(), units.end());
    }
    return {decoded.data() + before, decoded.size() - before};
}

/// Rows by text: those of one text stand together, in the order in which they came.
IndexOrder::Sorted SortByText(const Texts& texts, std::size_t bytes)
{
    const auto places = TextOrder::Sort(texts.GetCount(), texts);
    IndexOrder::Sorted sorted;
    sorted.rows.reserve(places.size());
    sorted.texts.reserve(bytes);  // no text has more code units than bytes
    for (std::uint32_t at = 0; at < places.size(); ++at) {
        const auto& [first, row] = places[at];
        if (first == at)
            sorted.runs.push_back({Decode(texts(row), sorted.texts), at});
        sorted.rows.push_back(row);
        sorted.runs.back().end = at + 1;
    }
    return sorted;
}

/// Runs in the order of the decoded texts, where that of their bytes is another one; malformed
/// bytes may make equal texts of different ones.
void SortRuns(IndexOrder::Sorted& sorted)
{
    const auto isOrdered = [](const IndexOrder::Run& left, const IndexOrder::Run& right) {
        return left.text < right.text;
    };
    auto& runs = sorted.runs;
    const auto isNoMore = [&](const auto& left, const auto& right) {
        return !isOrdered(left, right);
    };
    if (std::adjacent_find(runs.begin(), runs.end(), isNoMore) == runs.end())
        return;
    OV::Array<std::uint32_t> order(runs.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return isOrdered(runs[a], runs[b]); });
    OV::Array<std::uint32_t> rows;
    OV::Array<IndexOrder::Run> ordered;
    rows.reserve(sorted.rows.size());
    for (const std::uint32_t run : order) {
        const auto begin = run == 0 ? 0 : runs[run - 1].end;
        const bool isSame = !ordered.empty() && ordered.back().text == runs[run].text;
        const auto first = isSame ? ordered.size() > 1 ? ordered[ordered.size() - 2].end : 0
                                  : static_cast<std::uint32_t>(rows.size());
        rows.insert(rows.end(), sorted.rows.begin() + begin, sorted.rows.begin() + runs[run].end);
        if (isSame)
            std::sort(rows.begin() + first, rows.end());
        else
            ordered.push_back({runs[run].text, 0});
        ordered.back().end = static_cast<std::uint32_t>(rows.size());
    }
    sorted.rows.swap(rows);
    runs.swap(ordered);
}

/// Each row's place in its run when it came. Rows of a run come in their order.
OV::Array<std::uint32_t> FindPlaces(const IndexOrder::Sorted& sorted)
{
    const auto& [rows, runs, texts] = sorted;
    OV::Array<std::uint32_t> places(rows.size(), 0);
    if (runs.size() == rows.size())
        return places;
    if (std::is_sorted(rows.begin(), rows.end())) {
        std::uint32_t begin = 0;
        for (const auto& run : runs) {
            for (std::uint32_t row = begin; row < run.end; ++row)
                places[row] = PlaceInRun(row, begin, row);
            begin = run.end;
        }
        return places;
    }
    OV::Array<std::uint32_t> runOf(rows.size()), sizes(runs.size(), 0);
    std::uint32_t at = 0;
    for (std::uint32_t run = 0; run < runs.size(); ++run)
        for (; at < runs[run].end; ++at)
            runOf[rows[at]] = run;
    CountTree before(runs.size());
    for (std::uint32_t row = 0; row < rows.size(); ++row) {
        OV::Thread::ThrowIfInterrupted();
        const std::uint32_t run = runOf[row];
        if (sizes[run] > 0) {
            const std::uint32_t begin = before.SumBefore(run);
            places[row] = PlaceInRun(row, begin, begin + sizes[run]);
        }
        ++sizes[run];
        before.Add(run, 1);
    }
    return places;
}

/// Backwards: who came last is where it was put; each earlier one takes its place among those that
/// the later ones leave free.
void PlaceRows(IndexOrder::Sorted& sorted, const OV::Array<std::uint32_t>& places)
{
    CountTree free(0);
    OV::Array<std::uint32_t> former;
    std::uint32_t begin = 0;
    for (const auto& run : sorted.runs) {
        const std::uint32_t size = run.end - begin;
        if (size > 1) {
            former.assign(sorted.rows.begin() + begin, sorted.rows.begin() + run.end);
            free.FillWithOnes(size);
            for (std::uint32_t left = size; left-- > 0;) {
                OV::Thread::ThrowIfInterrupted();
                sorted.rows[begin + free.TakeOne(places[former[left]])] = former[left];
            }
        }
        begin = run.end;
    }
}

}  // namespace

IndexOrder::Sorted IndexOrder::Sort() const
{
    Sorted sorted = SortByText({bytes_, ends_}, bytes_.size());
    if (!IsAscii(bytes_))
        SortRuns(sorted);
    PlaceRows(sorted, FindPlaces(sorted));
    return sorted;
}

}  // namespace SYC::Detail
