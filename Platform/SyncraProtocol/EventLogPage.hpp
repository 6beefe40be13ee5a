#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// A part of a server's log.
struct SYC_API EventLogPage {
    /// UTF-8, oldest line first, each with a line feed behind it.
    OV::String text;
    /// Stands between the fields of a line, and never in one.
    OV::String separator;
    /// The number of the last line; what follows is asked for with it.
    std::uint64_t next = 0;
    /// How many lines follow.
    std::uint64_t left = 0;

    friend bool operator==(const EventLogPage&, const EventLogPage&) = default;
};

/// What a user did in a project, as his client tells the server.
struct SYC_API LoggedEvent {
    OV::UniString action;       ///< one that servers know by that name
    std::uint32_t size = 0;     ///< bytes
    OV::UniString comment;      ///< for people; may be empty
    std::uint32_t seconds = 0;  ///< how long it took

    friend bool operator==(const LoggedEvent&, const LoggedEvent&) = default;
};

}  // namespace Syncra::Protocol
