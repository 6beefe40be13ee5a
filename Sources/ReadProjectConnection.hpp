#pragma once

#include "OVRoot/Export.hpp"
#include "OwnClientConnection.hpp"

namespace SYC {

/// The connection for reading a project: a locked project passes its check.
class SYC_API ReadProjectConnection final : public OwnClientConnection {
public:
    /// Primary. `manager` may be null (every check then answers 1) and must outlive the connection.
    explicit ReadProjectConnection(SYCB::ProjectConnectionManagerInterface* manager)
        : OwnClientConnection(Kind::Reading, manager)
    {}
    /// Secondary, to the project of `projectLocation`; events go to `manager`.
    ReadProjectConnection(SYCB::ProjectConnectionManagerInterface* manager,
                          IO::Location projectLocation, std::shared_ptr<CachedProjectInfo> cache)
        : OwnClientConnection(Kind::Reading, manager, std::move(projectLocation), std::move(cache))
    {}
};

}  // namespace SYC
