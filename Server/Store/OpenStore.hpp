#pragma once

#include "Store/Database.hpp"

namespace Nexar {

/// Whether the name of a store is the URL of a PostgreSQL database, and not a path.
[[nodiscard]] bool IsPostgresStore(const std::string& name);
/// Opens the store, makes it when there is none, and brings its tables up to date. `writers` is how
/// many threads may write to one in PostgreSQL.
[[nodiscard]] std::unique_ptr<Database> OpenStore(const std::string& name, std::size_t writers);

}  // namespace Nexar
