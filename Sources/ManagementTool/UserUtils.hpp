#pragma once

#include "OVRoot/Containers.hpp"
#include "OVRoot/Export.hpp"
#include "OVRoot/UniString.hpp"

#include <cstdint>

namespace Communication {
class ResponseContentException;
}
namespace Syncra::Client {
class SyncraClient;
}

namespace Syncra::Server::ManagementTool::Core {

/// What the tool tells about users.
namespace UserUtils {

/// How long ago a user did something: "1 minute ago", "3 weeks ago". `time` is in seconds since
/// 1970-01-01 UTC; one that is still to come counts as now, 0 is never and gives an empty text.
[[nodiscard]] SYC_API OV::UniString GetLastActivityText(std::int32_t time);

/// Whether the server refused because the user may not see the object, or because it is gone.
[[nodiscard]] SYC_API bool
IsOutOfReach(const Communication::ResponseContentException& refusal) noexcept;

/// Login name and role of each member of the project; none when the user of the client may not see
/// them. Throws as the other requests of SyncraClient do, any other refusal included.
[[nodiscard]] SYC_API OV::Array<OV::Pair<OV::UniString, OV::UniString>>
GetMemberList(Client::SyncraClient& client, const OV::UniString& projectId);

}  // namespace UserUtils
}  // namespace Syncra::Server::ManagementTool::Core
