#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace OV {

/// The message of `exception` and of all that led to it, for who shows it to a person: a fixed text
/// says what failed, its cause which file or server and why. A cause that its successor quotes is
/// not repeated.
[[nodiscard]] SYC_API UniString MessageWithCauses(const Exception& exception);

/// The same of the exception that is being handled, whatever its type. For the inside of a catch
/// clause.
[[nodiscard]] SYC_API UniString DescribeCurrentException();

/// Logs that as a warning of `category`. The first "%" of `format` stands for `what`, the second
/// for the text. Throws nothing, whatever is left of the memory.
SYC_API void LogCurrentException(StringView category, UniStringView format,
                                 UniStringView what) noexcept;

}  // namespace OV
