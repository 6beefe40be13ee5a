#pragma once

#include "CachedProjectInfo.hpp"
#include "ProjectConnectionInfo.hpp"

#include <functional>
#include <memory>

/// The cache folders below a data folder. A subfolder counts when it holds a "CacheInfo.xml".
namespace SYC::CacheFolders {

/// Where a host keeps its caches unless its user chose another folder: "Projects" in the company's
/// application-data folder; not created here.
[[nodiscard]] IO::Location GetDefaultDataFolder();

/// Every cache folder directly below `dataFolder`, sorted by name; none when it does not exist.
[[nodiscard]] OV::Array<IO::Location> Find(const IO::Location& dataFolder);

/// The cache of this user's connection to this project, or null. The server name is compared
/// without regard to letter case, all else exactly. A cache that cannot be read is passed over with
/// a log line.
[[nodiscard]] std::shared_ptr<CachedProjectInfo>
FindCache(const IO::Location& dataFolder, const Inner::ProjectConnectionInfo& connection);

}  // namespace SYC::CacheFolders
