#pragma once

#include "OVRoot/UniString.hpp"

#include <algorithm>

/// Letters, digits and surrogates told by their numbers: the locale takes no part, for what a
/// server, a file or an address says means the same on every machine.
namespace OV {

template <class Char>
[[nodiscard]] constexpr bool IsLetter(Char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
template <class Char>
[[nodiscard]] constexpr bool IsDigit(Char c) noexcept
{
    return c >= '0' && c <= '9';
}

/// Marks that nobody sees and that turn the direction of what follows: with one of them a name
/// reads as another.
[[nodiscard]] constexpr bool IsDirectionMark(char16_t c) noexcept
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

/// Marks without a width: a name that holds one looks like another name.
[[nodiscard]] constexpr bool IsInvisibleMark(char16_t c) noexcept
{
    return c == 0x200B || c == 0x2060 || c == 0xFEFF;
}

/// The letters A to Z in small ones, everything else as it is.
template <class Char>
[[nodiscard]] constexpr Char Fold(Char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<Char>(c - 'A' + 'a') : c;
}
[[nodiscard]] inline UniString Folded(UniStringView text)
{
    UniString folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), Fold<char16_t>);
    return folded;
}

/// Equality with the letters A to Z and a to z taken as equal; every other code unit exactly.
/// Host names and URL schemes need no more.
[[nodiscard]] inline bool EqualsIgnoreCase(UniStringView left, UniStringView right) noexcept
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char16_t a, char16_t b) { return Fold(a) == Fold(b); });
}

/// The value of a hexadecimal digit in either case, or -1.
template <class Char>
[[nodiscard]] constexpr int HexValue(Char digit) noexcept
{
    if (IsDigit(digit))
        return digit - '0';
    const Char small = Fold(digit);
    return small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}
/// The digit, a capital, of the lowest four bits.
[[nodiscard]] constexpr char HexDigit(unsigned bits) noexcept
{
    return "0123456789ABCDEF"[bits & 0xF];
}

/// The first and the second half of a pair.
[[nodiscard]] constexpr bool IsHighSurrogate(char16_t unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}
[[nodiscard]] constexpr bool IsLowSurrogate(char16_t unit) noexcept
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace OV
