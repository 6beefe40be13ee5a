#pragma once

#include "Store/Database.hpp"

namespace Nexar {

/// The store as one SQLite file in WAL mode. Opens or creates it, readable by its user alone, and
/// brings its tables up to date.
[[nodiscard]] std::unique_ptr<Database> OpenSqliteStore(const std::string& path);

}  // namespace Nexar
