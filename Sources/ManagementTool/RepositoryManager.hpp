#pragma once

#include "OVRoot/Export.hpp"
#include "OVRoot/Secret.hpp"
#include "OVRoot/UniString.hpp"

namespace Syncra::Server::ManagementTool::Core {

/// What the connection manager asks of each of its repository managers.
class SYC_API RepositoryManager {
public:
    virtual ~RepositoryManager() = default;

    /// Connects to the repository of that server, in place of any former one; returns whether it is
    /// connected. The port is the management service's, above 32767 a negative number. Called on
    /// the thread that changes the server or brings it back, and waits by the strategy of that
    /// thread; with `mayAsk` the user is told of a failure and may try again. Copies what it keeps.
    virtual bool SetConnection(const OV::UniString& serverName, short managementPort,
                               const OV::UniString& userName, const OV::Secret& password,
                               bool mayAsk) = 0;
};

}  // namespace Syncra::Server::ManagementTool::Core
