#pragma once

#include <cstdint>

namespace Syncra::Server::ManagementTool {

/// The version of the product that this library is a part of, as major * 100 + minor, the form in
/// which servers tell theirs.
inline constexpr std::uint32_t ProductVersion = 1400;

}  // namespace Syncra::Server::ManagementTool
