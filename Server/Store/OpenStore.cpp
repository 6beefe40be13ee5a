#include "Store/OpenStore.hpp"

#include "Store/Postgres/PostgresStore.hpp"
#include "Store/Sqlite/SqliteStore.hpp"

namespace Nexar {

bool IsPostgresStore(const std::string& name)
{
    return name.starts_with("postgresql://") || name.starts_with("postgres://");
}

std::unique_ptr<Database> OpenStore(const std::string& name, std::size_t writers)
{
    return IsPostgresStore(name) ? OpenPostgresStore(name, writers) : OpenSqliteStore(name);
}

}  // namespace Nexar
