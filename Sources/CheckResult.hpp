#pragma once

#include <cstdint>

namespace SYC {

/// Outcome of a project connection's check; Failure.hpp has its words. The numbers are fixed; 4 is
/// not in use.
enum class CheckResult : std::int32_t {
    Passed = 0,
    Offline = 1,       ///< no manager, no client, no server, no session, or an unexpected error
    AccessDenied = 2,  ///< not a member, or the server refused the credentials
    SessionInUse = 3,  ///< the project session is in use on another computer
    /// A project of that name exists and the user cannot see it, or the cached session ended
    /// elsewhere; then a check with a new session (CheckOptions::newSession) is the cure.
    ProjectMismatch = 5,
    ProjectNotFound = 6,      ///< no such project, or another one carries its name now
    ForbiddenByState = 7,     ///< locked (writing), or under maintenance: no event tells the latter
    IncompatibleVersion = 8,  ///< the server's version does not go with this client
};

/// What a check posts to the host for each failure that its user must hear about.
enum class HostEvent : std::int32_t {
    SessionInUse =
        8,  ///< the text is the other computer's name; every other event has an empty text
    ProjectMismatch = 9,
    AccessDenied = 11,
    ProjectNotFound = 12,
    ForbiddenByState = 13,
    IncompatibleVersion = 14,
};

}  // namespace SYC
