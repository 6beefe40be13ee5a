#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Protocol {

/// A user's working session in a project, with what the server grants him in it.
struct SYC_API Session {
    OV::UniString id;          ///< the server's identifier
    OV::UniString projectId;   ///< the server's identifier of the project
    OV::UniString userId;      ///< the server's identifier of the user
    OV::UniString loginName;   ///< what he signed in with
    OV::UniString userName;    ///< display name
    std::int32_t logonId = 0;  ///< short number of the user in this project, 1 to 32767
    OV::UniString roleName;    ///< in this project
    OV::HashSet<OV::UniString> permissions;  ///< names of what the role allows
    std::int32_t startTime = 0;              ///< seconds since 1970-01-01 UTC

    friend bool operator==(const Session&, const Session&) = default;
};

/// A session as those see it who may end it.
struct SYC_API SessionAtWork {
    OV::UniString id;            ///< the server's identifier
    OV::UniString projectId;     ///< the server's identifier of the project
    OV::UniString projectName;   ///< for people
    OV::UniString loginName;     ///< what its owner signed in with
    OV::UniString userName;      ///< display name
    OV::UniString roleName;      ///< of its owner in the project
    std::int32_t startTime = 0;  ///< seconds since 1970-01-01 UTC
    OV::UniString computer;      ///< empty when the client did not tell
    OV::UniString type;          ///< NormalSessionType for a person at work

    friend bool operator==(const SessionAtWork&, const SessionAtWork&) = default;
};

/// What the owner of a session is told that somebody else ended.
struct SYC_API SessionEnd {
    OV::UniString endedBy;      ///< login name
    OV::UniString endedByName;  ///< display name
    OV::UniString reason;       ///< for people; may be empty
    std::int32_t time = 0;      ///< seconds since 1970-01-01 UTC
};

/// Names of the attributes that clients keep with a session; values are 8-bit strings (UTF-8).
namespace SessionAttributeNames {
/// The computer that the session's owner works on.
inline constexpr OV::UniStringView ComputerName = u"ComputerName";
/// Empty or NormalSessionType for a person at work; anything else for a session that a service
/// holds.
inline constexpr OV::UniStringView SessionType = u"SessionType";
}  // namespace SessionAttributeNames

/// The type of the session of a person at work.
inline constexpr OV::UniStringView NormalSessionType = u"Normal";

}  // namespace Syncra::Protocol
