#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"

namespace Syncra::Server::Management {

/// How a repository is told where it is and who asks.
using Properties = OV::HashTable<OV::UniString, OV::UniString>;
/// The names are those of the user repository; a server's project repository stands beside it.
/// Never destroyed.
namespace PropertyNames {
/// "http://host:port/root/syncrav2", or with "https".
inline const OV::UniString& UserRepositoryUrl = *new OV::UniString(u"UserRepositoryUrl");
/// The login name.
inline const OV::UniString& UserRepositoryPrincipal =
    *new OV::UniString(u"UserRepositoryPrincipal");
/// The password.
inline const OV::UniString& UserRepositoryCredentials =
    *new OV::UniString(u"UserRepositoryCredentials");
/// Whether it is there, whatever it holds: takes a server of another version of the protocol (see
/// Client::SignInData).
inline const OV::UniString& WithoutVersionCheck = *new OV::UniString(u"WithoutVersionCheck");
}  // namespace PropertyNames

/// Those of a server named as users write it ("https://" before it asks for TLS) at the port of its
/// management service. The caller wipes the password.
[[nodiscard]] SYC_API Properties MakeProperties(OV::UniStringView serverName,
                                                std::uint16_t managementPort,
                                                const OV::UniString& userName,
                                                const OV::Secret& password);

}  // namespace Syncra::Server::Management
