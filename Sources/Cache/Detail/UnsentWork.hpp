#pragma once

#include "IO/Location.hpp"

namespace SYC {

/// Throws UnsentWorkException for the folder of a cache that HasUnsentWork, or that cannot be read.
void RefuseUnsentWork(const IO::Location& folder);

}  // namespace SYC
