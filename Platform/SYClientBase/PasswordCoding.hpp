#pragma once

#include "OVRoot/Exception.hpp"
#include "OVRoot/Secret.hpp"

namespace SYCB {

/// A coded password cannot be turned back: it was coded for another user or machine, or was
/// changed.
class PasswordCodingException : public OV::Exception {
public:
    using Exception::Exception;
    OV_EXCEPTION_IDENTITY(PasswordCodingException)
};

/// Keeps a password out of clear text in URLs and files. The result holds letters, digits, "-" and
/// "_" only, is the same for the same password (so that equal logins give equal URLs), can be read
/// back on this machine by this user alone, and cannot be changed unnoticed. An empty password
/// stays empty. The key is made on first use, in a file that only the user can read; a key file
/// that is damaged or cannot be made throws PasswordCodingException naming it. Safe on any thread.
[[nodiscard]] OV::UniString CodePassword(const OV::Secret& password);

/// The exact inverse; makes no key. Throws PasswordCodingException for anything that CodePassword
/// did not return, and for everything while the key is not there.
[[nodiscard]] OV::Secret DecodePassword(OV::UniStringView coded);

}  // namespace SYCB
