#pragma once

#include "IO/Location.hpp"
#include "OVRoot/Export.hpp"
#include "ProjectConnectionInfo.hpp"

namespace SYC {

/// "syncra", the scheme of project URLs.
[[nodiscard]] SYC_API OV::UniString GetSyncraURLScheme();

/// Whether the location is a project URL: a legal URL of exactly this scheme, with a host, a port
/// other than 0 and the project name as its only component.
[[nodiscard]] SYC_API bool IsSyncraURL(const IO::Location& location);

/// The location as URL text, or "Error in URL conversion" when it is not one that can be written.
/// Never throws. The text of a project URL holds its coded password.
[[nodiscard]] SYC_API OV::UniString ToUrl(const IO::Location& location);

/// The project URL of the project cached in that folder. The cache holds no password, and so the
/// URL has none. Throws as CachedProjectInfo does when the cache cannot be read.
[[nodiscard]] SYC_API IO::Location GetSyncraURL(const IO::Location& cacheFolder);

/// The two forms of a connection. The URL carries the password coded by SYCB::CodePassword, and
/// reading decodes it: both throw SYCB::PasswordCodingException. The flag of the info is not
/// carried.
[[nodiscard]] SYC_API IO::Location ToSyncraLocation(const Inner::ProjectConnectionInfo& info);
/// See ToSyncraLocation. For a location that is a project URL.
[[nodiscard]] SYC_API Inner::ProjectConnectionInfo ToConnectionInfo(const IO::Location& location);
/// The same for a location that need not be a project URL: OV::IllegalArgumentException then.
[[nodiscard]] SYC_API Inner::ProjectConnectionInfo
ToCheckedConnectionInfo(const IO::Location& location);

}  // namespace SYC
