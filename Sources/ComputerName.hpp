#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace SYC {

/// Empties `out`, then fills it with the name of this computer, at most 512 code units. It stays
/// empty when the system has none. Sessions are held against this name.
SYC_API void GetClientComputerName(OV::UniString& out);

}  // namespace SYC
