#pragma once

#include "OVRoot/UniString.hpp"

#include <optional>

/// Bytes as text for carriers of text: the standard alphabet with padding (RFC 4648, section 4).
namespace OV {

[[nodiscard]] String EncodeBase64(StringView bytes);

/// Nothing unless `text` is exactly what EncodeBase64 writes: no line breaks, no missing padding,
/// no stray bits before the padding.
[[nodiscard]] std::optional<String> DecodeBase64(StringView text);

}  // namespace OV
