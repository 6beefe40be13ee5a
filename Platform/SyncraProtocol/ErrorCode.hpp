#pragma once

#include <cstdint>

namespace Syncra::Protocol {

/// Numeric codes of a refused request, as the body of the answer carries them. A client that meets
/// a code it does not know treats it like a failed request.
enum class ErrorCode : std::int32_t {
    BadRequest = 1,            ///< the request is malformed; HTTP 400
    InternalError = 2,         ///< the server failed; HTTP 500
    NoSuchRoute = 3,           ///< unknown path or method; HTTP 404 or 405
    TooLarge = 4,              ///< a body or a field is over its limit; HTTP 413
    BadCredentials = 10,       ///< wrong user name or password; HTTP 401
    NotFound = 12,             ///< the object does not exist; HTTP 404
    AccessDenied = 13,         ///< the user has no right to it; HTTP 403
    TokenExpired = 15,         ///< the token is unknown or too old: sign in again; HTTP 401
    UserDisabled = 16,         ///< the account is switched off; HTTP 403
    SessionExists = 17,        ///< the user has a session in this project already; HTTP 409
    NameAlreadyExists = 18,    ///< HTTP 409
    ObjectInUse = 19,          ///< HTTP 409
    RuleBroken = 20,           ///< a record or a change that a rule forbids; HTTP 422
    ProjectUnavailable = 24,   ///< the project is under maintenance; HTTP 423
    StoreUnavailable = 25,     ///< the store is locked or has no room: try again; HTTP 503
    TooManyRequests = 26,      ///< try again after "Retry-After" seconds; HTTP 429
    IncompatibleVersion = 30,  ///< the client speaks another version of the protocol; HTTP 426
};

/// Whether the server refuses the user, not the request: asking again does not help before he did
/// something about it.
[[nodiscard]] constexpr bool RefusesUser(std::int32_t code)
{
    const auto refusal = static_cast<ErrorCode>(code);
    return refusal == ErrorCode::BadCredentials || refusal == ErrorCode::AccessDenied ||
           refusal == ErrorCode::UserDisabled;
}

}  // namespace Syncra::Protocol
