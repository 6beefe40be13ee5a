#pragma once

#include "LogDataLine.hpp"
#include "OVRoot/Array.hpp"
#include "SyncraProtocol/EventLogPage.hpp"
#include "SyncraProtocol/Project.hpp"

namespace SYC {

/// Makes lines of the text of a project's activity log. Fields: time, "Full Name (login)", action,
/// bytes, comment, seconds, version of the log; a line without a version is of version 13. The
/// lines of a page share one block of memory.
[[nodiscard]] OV::Array<LogDataLine> ReadLogLines(const Syncra::Protocol::EventLogPage& page,
                                                  const Syncra::Protocol::Project& project);

}  // namespace SYC
