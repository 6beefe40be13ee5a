#include "OVRoot/LetterCase.hpp"

#include <clocale>
#include <locale.h>
#include <wctype.h>

namespace OV {

namespace {

constexpr std::size_t Units = 0x10000;

struct FoldTable {
    char16_t fold[Units];

    FoldTable()
    {
        const locale_t letters = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
        for (std::size_t unit = 0; unit < Units; ++unit)
            fold[unit] = FoldOf(static_cast<char16_t>(unit), letters);
        if (letters != locale_t{})
            freelocale(letters);
    }

    /// By way of the capital, which letters with several small forms have in common.
    static char16_t FoldOf(char16_t unit, locale_t letters)
    {
        if (letters == locale_t{})
            return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A'))
                                                : unit;
        const auto folded = towlower_l(towupper_l(unit, letters), letters);
        return folded < Units ? static_cast<char16_t>(folded) : unit;
    }
};

}  // namespace

const char16_t* LetterCase::Table() noexcept
{
    static const auto& table = *new FoldTable;
    return table.fold;
}

UniString LetterCase::Fold(UniStringView text)
{
    const char16_t* table = Table();
    UniString folded(text);
    for (auto& unit : folded)
        unit = table[unit];
    return folded;
}

}  // namespace OV
