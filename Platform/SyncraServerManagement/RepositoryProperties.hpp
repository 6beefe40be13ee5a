#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::Management {

/// How a repository is told where it is and who asks.
using Properties = OV::HashTable<OV::UniString, OV::UniString>;
/// The names are those of the user repository; a server's project repository stands beside it.
namespace PropertyNames {
/// "http://host:port/root/syncrav2", or with "https".
inline const OV::UniString UserRepositoryUrl = u"UserRepositoryUrl";
inline const OV::UniString UserRepositoryPrincipal = u"UserRepositoryPrincipal";  ///< login name
inline const OV::UniString UserRepositoryCredentials = u"UserRepositoryCredentials";  ///< password
}  // namespace PropertyNames

/// Those of a server named as users write it ("https://" before it asks for TLS) at the port of its
/// management service. The caller wipes the password.
[[nodiscard]] Properties MakeProperties(OV::UniStringView serverName, std::uint16_t managementPort,
                                        const OV::UniString& userName,
                                        const OV::UniString& password);

}  // namespace Syncra::Server::Management
