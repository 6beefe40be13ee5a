#pragma once

#include "OVRoot/Array.hpp"
#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Guid.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// A member of a project as its model service lists him.
struct SYC_API Member {
    std::int16_t id = 0;      ///< short number of the user in this project, 1 to 32767
    OV::UniString loginName;  ///< what he signs in with
    OV::UniString fullName;   ///< for people
    OV::Guid guid;            ///< by which the server knows the user
    std::uint32_t color = 0;  ///< 0xRRGGBB
    OV::UniString roleName;   ///< in this project
    OV::HashSet<OV::UniString> permissions;  ///< names of what the role allows

    friend bool operator==(const Member&, const Member&) = default;
};

/// A member with what others see of him besides.
struct SYC_API MemberAtWork : Member {
    OV::UniString photo;            ///< changes with his photo; empty when he has none
    OV::UniString session;          ///< the type of his session; empty when he has none
    std::int32_t workingSince = 0;  ///< seconds since 1970-01-01 UTC; 0 without a session
    OV::UniString computer;         ///< that he works on; empty when nobody knows
};

/// Who became another since a client asked last.
struct SYC_API MemberChanges {
    OV::Array<MemberAtWork> members;  ///< who became another, or all
    OV::Array<OV::Guid> gone;         ///< who are no members any more
    bool isWhole = false;             ///< `members` are all there are
    OV::UniString place;              ///< what the next request passes on
};

/// A user's photo as the management service keeps it. Type and data are empty when there is none.
struct SYC_API Photo {
    /// The most bytes of an encoded picture.
    static constexpr std::size_t MaximumSize = 4 * 1024 * 1024;

    OV::UniString type;  ///< media type: "image/png" or "image/jpeg"
    OV::String data;     ///< the encoded picture

    friend bool operator==(const Photo&, const Photo&) = default;
};

}  // namespace Syncra::Protocol
