#pragma once

#include "Store/Database.hpp"

namespace Nexar {

/// What the sample team's projects and people refer to: roles, permission sets, custom properties,
/// categories, modules, and the users' addresses. The users are there already.
void AddSampleRecords(Database& database);

}  // namespace Nexar
