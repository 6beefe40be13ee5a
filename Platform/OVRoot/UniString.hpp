#pragma once

#include "OVRoot/Export.hpp"
#include <cstdint>
#include <string>
#include <string_view>

namespace OV {

/// A sequence of UTF-16 code units. Length, cutting and `<` count code units; a lone surrogate is a
/// legal element and survives every file of ours.
using UniString = std::u16string;
/// Such a text of somebody else's.
using UniStringView = std::u16string_view;

/// 8-bit text in the default code page of the system, which is UTF-8 here.
using String = std::string;
/// Such a text of somebody else's.
using StringView = std::string_view;

/// UTF-8 of `text`. A lone surrogate becomes its three-byte form, so that FromUtf8 gives it back.
[[nodiscard]] SYC_API String ToUtf8(UniStringView text);

/// UTF-16 of `bytes`. Accepts the three-byte form of a lone surrogate; every other malformed byte
/// becomes one U+FFFD, so the call never fails and never reads past the end.
[[nodiscard]] SYC_API UniString FromUtf8(StringView bytes);

/// The same into a text that may have room for it already.
SYC_API void AssignUtf8(UniString& text, StringView bytes);

/// Whether FromUtf8(bytes) would lose nothing.
[[nodiscard]] SYC_API bool IsWellFormedUtf8(StringView bytes) noexcept;

/// Text that any line-based, XML or JSON carrier brings through unchanged: control characters other
/// than tab and line feed, carriage returns, lone surrogates and the two non-characters U+FFFE and
/// U+FFFF become `\uXXXX` (a backslash, "u", four capital hexadecimal digits), and so does a
/// backslash that stands before a "u". All other text, other backslashes included, stays as it is.
[[nodiscard]] SYC_API UniString EscapeForCarrier(UniStringView text);

/// The exact inverse of EscapeForCarrier. `\u` without four hexadecimal digits stays as it is.
[[nodiscard]] SYC_API UniString UnescapeFromCarrier(UniStringView text);

/// Decimal text of a number.
[[nodiscard]] SYC_API UniString ToText(std::int64_t number);

}  // namespace OV
