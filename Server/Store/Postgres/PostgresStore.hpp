#pragma once

#include "Store/Database.hpp"

namespace Nexar {

/// The store in a PostgreSQL database, whose tables it makes or brings up to date; one process at a
/// time does. `url` is postgresql://..., as libpq takes it.
[[nodiscard]] std::unique_ptr<Database> OpenPostgresStore(const std::string& url,
                                                          std::size_t writers);

}  // namespace Nexar
