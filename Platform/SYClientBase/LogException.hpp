#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Export.hpp"

namespace SYCB {

/// Writes an exception that nobody handled to the log, as an error with its name and place, and
/// those of its causes. Never throws.
SYC_API void LogException(const OV::Exception& exception) noexcept;

}  // namespace SYCB
