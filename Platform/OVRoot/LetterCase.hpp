#pragma once

#include "OVRoot/UniString.hpp"

namespace OV {

/// Texts in the form in which letters that differ in their case alone are the same, in every script
/// whose letters are single code units. Nothing here depends on the locale of the host or the user.
/// Safe on any thread.
class LetterCase {
public:
    [[nodiscard]] static char16_t Fold(char16_t unit) noexcept { return Table()[unit]; }
    [[nodiscard]] static UniString Fold(UniStringView text);
    /// The fold of each code unit, for loops.
    [[nodiscard]] static const char16_t* Table() noexcept;
};

}  // namespace OV
