#pragma once

#include "SyncraClient/SyncraClient.hpp"
#include "SyncraServerManagement/RepositoryProperties.hpp"

namespace Syncra::Server::Management::Detail {

/// The path of the management service on a server.
inline constexpr const char* RootPath = "/root/syncrav2";
/// The one kind of repository there is.
inline constexpr OV::UniStringView FactoryName = u"WBEM";

/// What a repository of that factory signs in with. Throws OV::IllegalArgumentException as the
/// factories do.
[[nodiscard]] Client::SignInData SignInOf(OV::UniStringView factoryName,
                                          const Properties& properties);

}  // namespace Syncra::Server::Management::Detail
