#pragma once

#include "Store/Database.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace Nexar {

/// What was copied of a table.
struct CopiedTable {
    std::string name;
    std::uint64_t rows = 0;
    std::string digest;  ///< of all its rows, in hexadecimal digits
};

/// Fills an empty store with all that another one holds at one moment, whatever dialect each of
/// them has, and reads it back: the digest of each table is that of both. All of it happens or
/// nothing. Throws std::runtime_error when the target is in use or what it holds is not the same.
[[nodiscard]] std::vector<CopiedTable> CopyStore(Database& from, Database& to);

}  // namespace Nexar
