#pragma once

#include "LogDataLine.hpp"
#include "OVRoot/Array.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/PagedArray.hpp"

#include <limits>
#include <optional>

namespace SYC {

/// Which lines of a log are wanted. Texts count to the letter; what is not set keeps every line.
struct SYC_API LogFilter {
    std::optional<OV::UniString> projectId;  ///< the server's identifier
    /// Seconds since 1970-01-01 UTC, both included.
    std::int64_t from = std::numeric_limits<std::int64_t>::min();
    /// See `from`.
    std::int64_t to = std::numeric_limits<std::int64_t>::max();
    std::optional<OV::UniString> user;  ///< the full name
    /// as it is shown, see LogDataLine::GetOperationText
    std::optional<OV::UniString> operationText;
    std::uint32_t smallestSize = 0;  ///< bytes

    /// The numbers of the lines that are wanted, in their order, in one pass over the lines.
    [[nodiscard]] OV::Array<std::uint32_t> Select(const OV::PagedArray<LogDataLine>& lines) const;
};

}  // namespace SYC
