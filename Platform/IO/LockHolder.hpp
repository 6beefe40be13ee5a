#pragma once

#include "IO/Location.hpp"

#include <optional>

namespace IO {

/// The process that holds a file as ExclusiveFile.
struct LockHolder {
    std::int64_t processId = 0;
    OV::UniString program;  ///< empty when the system does not tell
};

/// Nothing when nobody holds it, it is not there, or the system does not tell. Takes no hold
/// itself.
[[nodiscard]] std::optional<LockHolder> FindLockHolder(const Location& file);

}  // namespace IO
