#pragma once

#include "Store/Database.hpp"
#include "SyncraProtocol/Management/RepositoryContents.hpp"

#include <set>
#include <string>

namespace Nexar {

/// Takes over what another server's user repository holds: what has a name that is here gets the
/// fields of the other's, the rest is added, together or not at all. Returns the projects whose
/// members it concerns. Throws Refusal.
[[nodiscard]] std::set<std::string>
MergeContents(Database& database, Syncra::Server::Management::RepositoryContents contents);

}  // namespace Nexar
