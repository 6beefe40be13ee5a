#pragma once

#include "OVRoot/UniString.hpp"

#include <cstdint>
#include <optional>

namespace SYC {

/// Values that the dialogs keep for a user from one opening to the next, in "Preferences.xml" in
/// his roaming folder. They are a convenience: what cannot be read is not there, what cannot be
/// written is logged.
namespace Preferences {

[[nodiscard]] std::optional<std::int32_t> GetLong(OV::StringView key);
void SetLong(OV::StringView key, std::int32_t value);

}  // namespace Preferences
}  // namespace SYC
