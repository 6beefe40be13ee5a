#pragma once

#include <cstdint>

namespace SYC {

/// How much a mail matters to its sender. The numbers are those of the files.
enum class Importance : std::int32_t { Low = 1, Medium = 2, High = 3 };

}  // namespace SYC
