#pragma once

#include "OVRoot/UniString.hpp"

namespace SYC {

/// How much a mail matters to its sender. The numbers are those of the files.
enum class Importance : std::int32_t { Low = 1, Medium = 2, High = 3 };

/// Low for every number that is no importance.
[[nodiscard]] Importance ImportanceFromNumber(std::int32_t number) noexcept;

[[nodiscard]] OV::UniStringView ToWireWord(Importance importance) noexcept;
/// Low for every unknown word.
[[nodiscard]] Importance ImportanceFromWireWord(OV::UniStringView word) noexcept;

}  // namespace SYC
