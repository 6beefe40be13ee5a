#pragma once

#include "OVRoot/Exception.hpp"

namespace SYCB {

/// Writes an exception that nobody handled to the log, as an error with its name and place, and
/// those of its causes. Never throws.
void LogException(const OV::Exception& exception) noexcept;

}  // namespace SYCB
