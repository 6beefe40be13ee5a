#pragma once

#include "IO/ExclusiveFile.hpp"

namespace SYC {

/// Holds the lock file against other processes, which do so for the time of one write. Waits up to
/// five seconds; throws IO::IOException after that, and OV::InterruptedException.
[[nodiscard]] IO::ExclusiveFile HoldFile(const IO::Location& lockFile);

}  // namespace SYC
