#pragma once

#include "OVRoot/EventSource.hpp"
#include "OVRoot/Export.hpp"
namespace Syncra::Server::ManagementTool::Core {

/// Hears of the management tool's current server, on the thread that changed it.
class SYC_API ServerConnectionObserver : public OV::ObserverBase {
public:
    virtual ~ServerConnectionObserver() = default;
    /// There is another current server, or a new connection to the same one. The repository
    /// managers are connected after this, not yet.
    virtual void ServerChanged() {}
    /// The host said that the server is out of reach (SendServerLostNotification).
    virtual void ServerLost() {}
};

}  // namespace Syncra::Server::ManagementTool::Core
