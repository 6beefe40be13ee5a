#pragma once

#include "OVRoot/UniString.hpp"

namespace Communication {

/// The most that one reading may bring over all of its answers together.
struct ReadingLimits {
    std::uint64_t bytes = 512u << 20;
    /// Lines, mails or whatever the answers hold.
    std::uint64_t elements = 4'000'000;
};

/// Bounds what a server may send over the many answers of one reading, where the limit of a single
/// answer (HttpOptions) bounds nothing. A page that says that more follows must bring something,
/// so every reading ends.
class PagedReading {
public:
    /// `what` is read, for the message: u"the log", u"the mails".
    explicit PagedReading(OV::UniString what, ReadingLimits limits = {})
        : what_(std::move(what)), limits_(limits)
    {}

    /// Counts one more page. Throws MalformedResponseException when the pages are more than the
    /// limits together, or when `moreFollows` behind a page without elements.
    void TakePage(std::uint64_t bytes, std::uint64_t elements, bool moreFollows);

private:
    OV::UniString what_;
    ReadingLimits limits_;
    ReadingLimits taken_{0, 0};
};

}  // namespace Communication
