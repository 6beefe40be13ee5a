#pragma once

#include "LogDataLine.hpp"
#include "OVRoot/Array.hpp"

namespace SYC::Detail {

/// For each line the place of its key among the different keys of the field, from 0, best first.
/// Keys that do not sort before one another count as one.
[[nodiscard]] OV::Array<std::uint32_t> RankLines(const OV::Array<const LogDataLine*>& lines,
                                                 LogDataLine::LogField field, bool ascending);

}  // namespace SYC::Detail
