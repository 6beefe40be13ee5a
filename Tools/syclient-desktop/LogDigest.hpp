#pragma once

#include "LogDataLine.hpp"

#include <QDateTime>
#include <QString>

#include <utility>
#include <vector>

/// What the charts tell of a log: a few numbers, however many lines it has.
struct LogDigest {
    /// A text and what counts for it, the largest first; what is beyond the first few counts
    /// together.
    using Amounts = std::vector<std::pair<QString, double>>;
    /// Lines from a time on, which is midnight here.
    struct Span {
        QDateTime begin;
        int lines = 0;
    };

    std::size_t lines = 0;
    /// Up to the last line, those without a line as well: days, a week of them or more, or weeks
    /// when those would be many.
    std::vector<Span> spans;
    bool isByWeeks = false;
    Amounts byAction, byUser;
    Amounts sizes;  ///< bytes by project
};

/// In one pass, for any thread. Throws OV::InterruptedException when the calling OV::Thread is
/// interrupted.
[[nodiscard]] LogDigest Digest(const OV::PagedArray<LogDataLine>& lines);
