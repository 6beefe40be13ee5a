#pragma once

#include "Store/Database.hpp"

#include <vector>

namespace Nexar {

/// Somebody who works in a project of the sample.
struct SampleLogMember {
    std::string projectId;
    std::string user;  ///< "Full Name (login)"
};

/// Fills the logs: what the members did in the last two years, in working hours, and the server's
/// load of the last week. The same for the same day.
void AddSampleLog(Database& database, const std::vector<SampleLogMember>& members,
                  std::uint32_t lines);

}  // namespace Nexar
