#pragma once

#include "OVRoot/UniString.hpp"

namespace SYC {

/// What the exception that is being handled says to people, whatever its type. For the inside of a
/// catch clause.
[[nodiscard]] OV::UniString MessageOfCurrentException();

/// Logs it as a warning. The first "%" of `format` stands for `what`, the second for the message.
/// Throws nothing, whatever is left of the memory.
void LogCurrentException(OV::UniStringView format, OV::UniStringView what) noexcept;

}  // namespace SYC
