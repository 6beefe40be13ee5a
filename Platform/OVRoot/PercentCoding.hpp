#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <optional>

namespace OV {

/// One component of a URL: every byte but letters, digits and "-._~" as "%XX" (RFC 3986).
[[nodiscard]] SYC_API String PercentEncode(StringView bytes);

/// The inverse, for whatever a stranger may have written: nothing when a percent sign stands
/// without two hexadecimal digits or the bytes are no UTF-8.
[[nodiscard]] SYC_API std::optional<String> PercentDecode(StringView text);

}  // namespace OV
