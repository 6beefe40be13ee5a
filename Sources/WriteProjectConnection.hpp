#pragma once

#include "OVRoot/Export.hpp"
#include "OwnClientConnection.hpp"

namespace SYC {

/// The connection for sending changes: a locked project does not pass its check.
class SYC_API WriteProjectConnection final : public OwnClientConnection {
public:
    /// Primary. `manager` may be null (every check then answers 1) and must outlive the connection.
    explicit WriteProjectConnection(SYCB::ProjectConnectionManagerInterface* manager)
        : OwnClientConnection(Kind::Writing, manager)
    {}
    /// Secondary, to the project of `projectLocation`; events go to `manager`.
    WriteProjectConnection(SYCB::ProjectConnectionManagerInterface* manager,
                           IO::Location projectLocation, std::shared_ptr<CachedProjectInfo> cache)
        : OwnClientConnection(Kind::Writing, manager, std::move(projectLocation), std::move(cache))
    {}
};

}  // namespace SYC
