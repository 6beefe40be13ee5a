#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// A mail as the project server keeps it for one user. The server reads nothing of header and body.
struct SYC_API Message {
    /// The most bytes of body data that a message may carry.
    static constexpr std::size_t MaximumBodySize = 8 * 1024 * 1024;

    OV::UniString mailId;        ///< the server's identifier
    bool read = false;           ///< whether the user has read it
    bool copy = false;           ///< the sender's copy of what he sent
    bool historical = false;     ///< whether the user has put it aside
    std::int32_t timeStamp = 0;  ///< the server's, in seconds since 1970-01-01 UTC
    /// keys and texts; those that the library knows stand in Docs/Formats.md
    OV::HashTable<OV::UniString, OV::UniString> header;
    OV::String bodyData;  ///< what the mail brings along, in the sender's form

    friend bool operator==(const Message&, const Message&) = default;
};

}  // namespace Syncra::Protocol
