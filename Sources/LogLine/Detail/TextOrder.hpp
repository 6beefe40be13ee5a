#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/Thread.hpp"
#include "OVRoot/UniString.hpp"

#include <algorithm>
#include <cstring>

/// The order of many texts, byte by byte.
namespace SYC::Detail::TextOrder {

struct Place {
    /// Of a sorted place: where the first one of its text stands.
    std::uint64_t key;
    std::uint32_t number;  ///< of the text
};

/// Bytes of a text that a key holds, the first one highest; how many more there are, up to one too
/// many, stands below them.
inline constexpr std::size_t KeyBytes = 7;

[[nodiscard]] inline std::uint64_t KeyOf(OV::StringView text, std::size_t from) noexcept
{
    const std::size_t left = text.size() - std::min(from, text.size());
    std::uint64_t key = 0;
    for (std::size_t at = 0; at < std::min(left, KeyBytes); ++at)
        key |= std::uint64_t(static_cast<unsigned char>(text[from + at])) << (56 - 8 * at);
    return key | std::min(left, KeyBytes + 1);
}

/// How many bytes two texts begin with in common, of which one mostly begins with the other.
[[nodiscard]] inline std::size_t CommonBytes(OV::StringView text, OV::StringView other) noexcept
{
    if (other.starts_with(text))
        return text.size();
    const auto end = text.begin() + std::min(text.size(), other.size());
    return static_cast<std::size_t>(std::mismatch(text.begin(), end, other.begin()).first -
                                    text.begin());
}

/// Sorts the numbers 0 to `count` - 1 by their texts, which `textOf` gives; those of one text stay
/// in their order. Texts are not compared with one another again and again: a key of their bytes
/// is, and the bytes behind those that they have in common count among equal ones only. Throws
/// OV::InterruptedException when the calling thread is interrupted.
template <class TextOf>
[[nodiscard]] OV::Array<Place> Sort(std::uint32_t count, TextOf&& textOf)
{
    /// Places of texts that are the same up to `from`.
    struct Stretch {
        std::size_t first, end, from;
    };
    const auto isLess = [](const Place& left, const Place& right) {
        return left.key != right.key ? left.key < right.key : left.number < right.number;
    };
    OV::Array<Place> places(count);
    for (std::uint32_t number = 0; number < count; ++number)
        places[number].number = number;
    OV::Array<Stretch> open{{0, count, 0}};
    while (!open.empty()) {
        OV::Thread::ThrowIfInterrupted();
        const auto [first, end, from] = open.back();
        open.pop_back();
        const auto begin = places.begin() + static_cast<std::ptrdiff_t>(first);
        const auto behind = places.begin() + static_cast<std::ptrdiff_t>(end);
        for (auto each = begin; each != behind; ++each)
            each->key = KeyOf(textOf(each->number), from);
        if (!std::is_sorted(begin, behind, isLess))
            std::sort(begin, behind, isLess);
        for (std::size_t at = first; at < end;) {
            const std::uint64_t key = places[at].key;
            const OV::StringView text = textOf(places[at].number);
            std::size_t next = at + 1;
            // What a key holds whole needs no look at the texts.
            std::size_t common = text.size();
            bool isOneText = true;
            for (; next < end && places[next].key == key; ++next)
                if (common > from + KeyBytes) {
                    const OV::StringView other = textOf(places[next].number);
                    common = CommonBytes(text.substr(0, common), other);
                    isOneText = isOneText && common == text.size() && common == other.size();
                }
            if (!isOneText)
                open.push_back({at, next, common});
            else
                for (std::size_t each = at; each < next; ++each)
                    places[each].key = at;
            at = next;
        }
    }
    return places;
}

}  // namespace SYC::Detail::TextOrder
