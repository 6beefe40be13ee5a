#pragma once

#include "LogDataLine.hpp"
#include "OVRoot/Array.hpp"

namespace SYC::Detail {

/// What lines are ordered by.
enum class LogKey : std::int32_t {
    None,  ///< nothing: all lines are the same
    Time,
    User,
    Duration,
    Size,
    Operation,
    Project,
    Comment,  ///< byte by byte; the others as LogDataLine::Compare has them
};
[[nodiscard]] inline LogKey KeyOf(LogDataLine::LogField field) noexcept
{
    const bool isKnown =
        field >= LogDataLine::LogField::Time && field <= LogDataLine::LogField::Project;
    return isKnown ? static_cast<LogKey>(field) : LogKey::None;
}

/// One of many rows.
struct RankedRow {
    std::uint32_t rank;  ///< of its key among the different keys; they count up from 0
    std::uint32_t row;   ///< its place among the rows
};

/// The rows, which are lines of `lines`, in ascending order; rows whose keys do not sort before one
/// another have one rank and stay in their order.
[[nodiscard]] OV::Array<RankedRow> RankRows(const OV::PagedArray<LogDataLine>& lines,
                                            const OV::Array<std::uint32_t>& rows, LogKey key);

}  // namespace SYC::Detail
