#pragma once

#include <cstdint>

namespace Syncra::Protocol {

/// The version of the product that client and server are of, as major * 100 + minor.
inline constexpr std::uint32_t ProductVersion = 1400;

}  // namespace Syncra::Protocol
