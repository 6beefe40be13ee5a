#pragma once

#include "OVRoot/UniString.hpp"

#include <optional>

namespace OV {

/// One component of a URL: every byte but letters, digits and "-._~" as "%XX" (RFC 3986).
[[nodiscard]] String PercentEncode(StringView bytes);

/// The inverse, for whatever a stranger may have written: nothing when a percent sign stands
/// without two hexadecimal digits or the bytes are no UTF-8.
[[nodiscard]] std::optional<String> PercentDecode(StringView text);

}  // namespace OV
