#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The pieces of a literal between its bars: a table of odd texts in a few lines.
template <class Char, std::size_t Size>
std::vector<std::basic_string<Char>> Pieces(const Char (&literal)[Size])
{
    std::vector<std::basic_string<Char>> pieces(1);
    for (std::size_t at = 0; at + 1 < Size; ++at)
        if (literal[at] == Char('|'))
            pieces.emplace_back();
        else
            pieces.back() += literal[at];
    return pieces;
}
